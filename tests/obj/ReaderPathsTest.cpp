// Every way to read a file: the exact path against a plain reader, the fast path in blocks of all sizes
// against the exact one.
#include <algorithm>
#include <sstream>

#include "RandomModel.h"
#include "TestSupport.h"
#include "obj/internal/OBJReader.h"

using namespace WavefrontOBJ;

namespace {

/// The host's rules with nothing but `sscanf` and string streams, and without material libraries.
struct Witness {
  OBJModel& model;
  std::string path;
  bool strict;
  std::string line, token;
  std::vector<std::string> groups{"default"};
  std::int32_t material = -1;
  std::uint32_t smoothing = 0;
  float scratch[3] = {0, 0, 0};

  bool read() {
    std::ifstream file(path, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t length = std::min(text.find('\n', at), text.size()) - at;
      line = text.substr(at, std::min<std::size_t>(length, 1024)).c_str();
      at += length < 1024 ? length + 1 : 1024;
      for (char& c : line) {
        if (c == ' ') break;
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
      }
      if (!readLine()) return false;
    }
    return true;
  }

  /// Streams of today store something where there is no number.
  template <class Number>
  static void extract(std::istream& stream, Number& target) {
    Number value{};
    if (stream >> value) target = value;
  }
  bool error(const std::string& text) {
    model._errorMessage += text;
    return !strict;
  }

  bool readLine() {
    std::istringstream rest(line.substr(line.empty() ? 0 : 1));
    switch (line.empty() ? '#' : line[0]) {
      case '#':
      case 'o':
      case ' ':
        return true;
      case 'v': {
        const char kind = line[1];
        const bool two = kind == 'n' || kind == 't';
        float* const s = scratch;
        if (std::sscanf(line.c_str() + (two ? 2 : 1), "%f %f %f", s, s + 1, s + 2) == 2 && kind == 't')
          s[2] = 0;
        (kind == 'n'   ? model._normals
         : kind == 't' ? model._textureCoords
                       : model._vertices)
            ->push_back({s[0], s[1], s[2]});
        return true;
      }
      case 'g':
        groups.clear();
        rest >> token;
        if (token.empty()) groups.push_back("default");
        for (bool end = token.empty(); !end; rest >> token) {
          end = rest.eof();
          groups.push_back(token);
        }
        return true;
      case 's': {
        rest >> token;
        for (char& c : token) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        std::istringstream number(token);
        std::uint32_t* const known = model._smoothingGroups;
        if (token == "off") return smoothing = 0, true;
        extract(number, smoothing);
        if (std::count(known, known + model._smoothingGroupCount, smoothing) == 0) {
          known[model._smoothingGroupCount++] = smoothing;
        }
        return true;
      }
      case 'f':
        return readFace(rest);
      default:
        if (line.compare(0, 6, "usemtl") != 0)
          return error("Line \"" + line + "\" in " + path + " has error.");
        std::istringstream(line.substr(6)) >> token;
        material = model.getMaterialIndex(token);
        return material != -1 || !strict || error("Material " + token + " in " + path + " not found.");
    }
  }

  bool readFace(std::istringstream& rest) {
    static const char* const kTexts[][2] = {
        {"Vertex 0 invalid at (", "Vertex not found at ("},
        {"Coordinate of texture 0 invalid at (", "Coordinate of texture invalid at ("},
        {"Normal of vertex 0 invalid at ", "Usage of non valid normal for vertex at ("}};
    const OBJVectorArray* const arrays[] = {&*model._vertices, &*model._textureCoords, &*model._normals};
    rest >> token;
    const auto slashes = std::count(token.begin(), token.end(), '/');
    const bool has[] = {true, slashes == 1 || (slashes > 1 && token.find("//") != token.find('/')),
                        slashes > 1};
    ZeroedFace face;
    int numbers[3] = {0, 0, 0};
    for (bool end = false; !end; rest >> token) {
      end = rest.eof();
      std::istringstream corner(token);
      char separator = 0;
      bool good = true;
      extract(corner, numbers[0]);
      if (slashes > 0) good = (corner >> separator).good();
      if (good && has[1]) extract(corner, numbers[1]);
      if (good && has[2]) good = (corner >> separator).good();
      if (good && has[2]) extract(corner, numbers[2]);
      if (!good || !corner.eof()) return error("Error for vertex at (" + line + ")\n");
      std::uint32_t indices[3] = {0, 0, 0};
      for (int i = 0; i < 3; ++i) {
        const std::int64_t number = numbers[i];
        const std::int64_t count = arrays[i]->count;
        if (has[i] && (number == 0 || std::abs(number) > count)) {
          model._errorMessage += kTexts[i][number == 0 ? 0 : 1] + line + ") in " + path + "\n";
          return false;
        }
        if (has[i]) indices[i] = static_cast<std::uint32_t>((number < 0 ? count - number : number) - 1);
      }
      face.addVertex(indices[0], indices[1], indices[2], has[1], has[2]);
    }
    face.smoothingGroup = smoothing;
    face.materialIndex = material;
    model.addFace(face);
    for (const std::string& group : groups) model.addFaceToGroup(group, model._faces->count - 1);
    return true;
  }
};

/// A line as exporters write it, or an odd one, or a damaged one. "#" stands for an index, "%" for a number.
std::string randomLine(Random& random, std::uint32_t vertices) {
  static const std::vector<std::string> forms = [] {
    std::istringstream text(
        "v % % %|v % % %|v % % %|v % % % |V % % % %|v\t% %|v|vp % x|vn % % %|vn %|vt % %|vt  % % %|vt %|f # "
        "# #|"
        "v 0x1p3 inf nan|v 1e40 1e-5 +2|f # # # #|f #|f # # |F #/# #/# #/#|f|f #//# #//# #//#|f #/#/# #/#/# "
        "#/#/#|"
        "f # #/# #|f #/# # #|f -1 -# #|f 01 +# #|f # 99999999999 #|f 0 1 #|f 1/0 #/#|f # #x|g|g a|g a b|G "
        "arm |g a\t|"
        "group c|g # #|s #|s off|S OFF|s 2 3|s x|s -1|s 4294967296|s\t7x|s||o x| v 1 2 3|\t|usemtl "
        "red|usemtl\tRed|"
        "usemtl|l 1 2|xyz|f #//# #/# #|f # # # # # # # # #");
    std::vector<std::string> list{"# x"};
    while (std::getline(text, list.emplace_back(), '|')) continue;
    return list;
  }();
  std::string line;
  for (const char c : forms[below(random, static_cast<std::uint32_t>(forms.size()))]) {
    char number[40];
    std::snprintf(number, sizeof number, below(random, 2) == 0 ? "%.6f" : "%.9g",
                  (static_cast<double>(random()) - 2e9) / 7e7);
    const std::uint32_t index = 1 + below(random, vertices + (below(random, 60) == 0 ? 3 : 0));
    line += c == '%' ? number : c == '#' && !line.empty() ? std::to_string(index) : std::string(1, c);
  }
  while (below(random, 40) == 0 && line.size() < 600) line += line;
  if (below(random, 12) == 0 && line.size() < 1010) {
    line.append(1018 + below(random, 12) - line.size(), ' ');
    if (below(random, 2) == 0) line += "v 7 8 9";
  }
  if (below(random, 40) == 0 && !line.empty()) {
    line[below(random, static_cast<std::uint32_t>(line.size()))] = static_cast<char>(below(random, 256));
  }
  const std::uint32_t end = below(random, 8);
  return line + (end == 0 ? "\r\n" : end == 1 ? " \n" : "\n");
}

std::string randomFile(Random& random) {
  std::string text;
  const std::uint32_t vertices = 5 + below(random, 10);
  for (std::uint32_t i = 0; i < vertices; ++i) {
    const std::string n = std::to_string(i);
    text += "v " + n + " 0.5 -1\nvt 0." + n + " 1\nvn 0 1 0." + n + "\n";
  }
  for (std::uint32_t n = below(random, 40); n > 0; --n) text += randomLine(random, vertices);
  if (below(random, 3) == 0) text.resize(text.size() - below(random, 20));
  return text;
}

template <class Reader>
std::string outcome(const std::string& path, bool strict, const Reader& read, bool notes = true) {
  OBJModel model(true);
  OBJMaterial material;
  for (const char* name : {"red", "Red"}) model.addMaterial((material.name = name, material));
  bool success = false;
  const std::string assertion = failedAssertion([&] { success = read(model, path, strict); });
  std::string text = (success ? "read " : "failed ") + assertion + "\n" + describe(model);
  for (const OBJReadNote& note : model._readNotes.kept) {
    if (notes) text += std::to_string(note.lineNumber) + " " + note.text + "\n";
  }
  return text;
}

}  // namespace

TEST(ReaderPaths, AgreeOnGeneratedAndMutatedFiles) {
#if defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__)
  constexpr int kFiles = 500;
#else
  constexpr int kFiles = 150;
#endif
  const TempFolder folder;
  Random random(6);
  int read = 0;
  for (int i = 0; i < kFiles; ++i) {
    const std::string text = randomFile(random);
    const std::string path = folder.write("m.obj", text);
    const auto with = [&](bool fast, std::size_t block, bool notes = true) {
      const auto reader = [=](OBJModel& model, const std::string& file, bool strict) {
        return OBJReader(model, file, strict, {fast, block}).read();
      };
      return outcome(path, i % 4 == 0, reader, notes);
    };
    const auto witness = [](OBJModel& model, const std::string& file, bool strict) {
      return Witness{model, file, strict, {}, {}}.read();
    };
    const std::string expected = outcome(path, i % 4 == 0, witness);
    ASSERT_EQ(with(false, 262144, false), expected) << text;
    const std::string exact = with(false, 1);
    for (const std::size_t block :
         {std::size_t{1}, std::size_t{1} + below(random, 40), std::size_t{262144}}) {
      ASSERT_EQ(with(true, block), exact) << "blocks of " << block << "\n" << text;
    }
    read += expected.starts_with("read") ? 1 : 0;
  }
  EXPECT_GT(read, kFiles / 4) << "files that read to their end are among them";
}
