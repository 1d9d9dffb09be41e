#include <algorithm>
#include <filesystem>
#include <fstream>
#include <istream>
#include <iterator>
#include <locale>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "obj/OBJModel.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

struct ScalarKeyword {
  const char* keyword;
  double OBJMaterial::*field;
};
constexpr ScalarKeyword kScalars[] = {{"ns", &OBJMaterial::Ns},
                                      {"d", &OBJMaterial::d},
                                      {"illum", &OBJMaterial::illum},
                                      {"ni", &OBJMaterial::Ni}};

struct ColourKeyword {
  const char* keyword;
  double (OBJMaterial::*field)[3];
};
constexpr ColourKeyword kColours[] = {
    {"kd", &OBJMaterial::Kd}, {"ka", &OBJMaterial::Ka}, {"ks", &OBJMaterial::Ks}};

struct MapKeyword {
  const char* keyword;
  std::string OBJMaterial::*field;
  bool inFolder;  ///< the library's folder is put in front
};
constexpr MapKeyword kMaps[] = {{"map_kd", &OBJMaterial::map_Kd, true},
                                {"map_ks", &OBJMaterial::map_Ks, true},
                                {"map_ka", &OBJMaterial::map_Ka, false},  // fixed by the host's contract
                                {"map_bump", &OBJMaterial::map_bump, true},
                                {"map_d", &OBJMaterial::map_d, true}};

template <class Table>
auto findKeyword(const Table& table, const std::string& keyword) {
  const auto* const found = std::find_if(std::begin(table), std::end(table),
                                         [&](const auto& row) { return keyword == row.keyword; });
  return found == std::end(table) ? nullptr : found;
}

/// Stores what the lines of one library say. Values are extracted into scratch that lines share, so that one
/// that cannot be extracted repeats that of an earlier line.
class MaterialLines {
 public:
  explicit MaterialLines(std::string directory) : directory_(std::move(directory)) {}

  std::string nextName(OBJTokenStream& line) {
    line.extract(name_);
    return name_;
  }

  /// False for a keyword that materials do not have.
  bool store(OBJMaterial& material, const std::string& keyword, OBJTokenStream& line) {
    if (const ScalarKeyword* scalar = findKeyword(kScalars, keyword)) {
      line.extract(scalar_);
      material.*scalar->field = scalar_;
    } else if (const ColourKeyword* colour = findKeyword(kColours, keyword)) {
      for (double& component : colour_) line.extract(component);
      std::copy_n(colour_, 3, material.*colour->field);
    } else if (const MapKeyword* map = findKeyword(kMaps, keyword)) {
      material.*map->field = (map->inFolder ? directory_ : std::string()) + nextName(line);
    } else {
      return false;
    }
    return true;
  }

 private:
  std::string directory_;
  std::string name_;
  double scalar_ = 0.0;
  double colour_[3] = {0.0, 0.0, 0.0};
};

/// False at the end of the file, and where it cannot be read further. Throws std::bad_alloc.
bool nextLine(std::istream& file, std::string& line) {
  try {
    return static_cast<bool>(std::getline(file, line));
  } catch (const std::ios::failure&) {
    return false;
  }
}

/// `stream >> target` as in the C locale. What is no number leaves `target` as it was.
template <class Number>
void extractOrKeep(std::istream& stream, Number& target) {
  if (!std::istream::sentry(stream)) return;
  std::ios format(nullptr);
  format.imbue(std::locale::classic());
  std::ios::iostate state = std::ios::goodbit;
  Number value{};
  const std::istreambuf_iterator<char> text(stream);
  std::use_facet<std::num_get<char>>(std::locale::classic()).get(text, {}, format, state, value);
  stream.setstate(state);
  if (!stream.fail()) target = value;
}

}  // namespace

bool OBJModel::readMaterialFile(std::string path, std::vector<OBJMaterial*>& materials, bool strict) {
  // The OBJ file names its libraries itself: one that points at a device or a pipe must not hang the host.
  std::error_code ignored;
  std::ifstream file;
  if (std::filesystem::is_regular_file(path, ignored)) file.open(path);
  if (!file.is_open()) {
    _errorMessage += "Materials file missing: " + path;
    return false;
  }
  // Lets a failed allocation out, which a stream would otherwise show as the end of the file.
  file.exceptions(std::ios::badbit);
  MaterialLines lines(getPath(path));
  OBJMaterial* current = nullptr;
  std::string line;
  std::string keyword;
  for (std::size_t lineNumber = 1; nextLine(file, line); ++lineNumber) {
    OBJTokenStream stream(line);
    if (!stream.extract(keyword) || keyword[0] == '#') continue;
    std::transform(keyword.begin(), keyword.end(), keyword.begin(), lowerCase);
    if (keyword == "newmtl") {
      if (_materials.size() + materials.size() >= kMaxMaterials) throw std::bad_alloc();
      auto material = std::make_unique<OBJMaterial>();
      materials.push_back(material.get());
      current = material.release();
      current->name = lines.nextName(stream);
      continue;
    }
    if (current == nullptr) {
      _errorMessage += " line \"" + line + "\" for newmtl in " + path;
      return false;
    }
    if (lines.store(*current, keyword, stream)) continue;
    _errorMessage += " line \"" + line + "\" in " + path + " in not valid.\n";
    _readNotes.add(OBJReadNote::Kind::unknownMtlKeyword, lineNumber, path + ": " + line);
    if (strict) return false;
  }
  return true;
}

void OBJModel::readThreeDouble(double* values, std::istream& stream) {
  for (int i = 0; i < 3; ++i) extractOrKeep(stream, values[i]);
}

void OBJModel::readOBJVector(OBJVector& vector, std::istream& stream) {
  for (float* component : {&vector.x, &vector.y, &vector.z, &vector.w}) {
    *component = 0.0F;
    extractOrKeep(stream, *component);
  }
}

}  // namespace WavefrontOBJ
