#include "obj/internal/OBJReader.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <system_error>
#include <utility>

#include "ThreadCount.h"
#include "obj/OBJAssert.h"
#include "obj/text/ScanFloats.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

/// Group names kept for the fast path; a file may have one for every face.
constexpr std::size_t kMaxKnownGroups = 1U << 16;

/// Materials that a library reader has handed over, deleted with their holder.
struct OwnedMaterials {
  std::vector<OBJMaterial*> list;

  OwnedMaterials() = default;
  OwnedMaterials(const OwnedMaterials&) = delete;
  OwnedMaterials& operator=(const OwnedMaterials&) = delete;
  ~OwnedMaterials() {
    for (const OBJMaterial* material : list) delete material;
  }
};

[[noreturn]] void smoothingTableFull(std::uint32_t count, const char* line) {
  if (OBJAnsweredAssertions::areAnswered()) OBJAssertionFailed("read", "OBJModel", 976, "0");
  std::FILE* log = std::fopen("error_objmodel_read.txt", "a");
  // The test is the wrong way round by the host's contract: the file is made and stays empty. Where it cannot
  // be made there is no stream to write to either.
  if (log == nullptr) {
    std::fprintf(stderr, "ERROR: _smoothingGroupCount = %d\nline = %s\n", static_cast<int>(count), line);
  } else {
    static_cast<void>(std::fclose(log));
  }
  OBJAssertionFailed("read", "OBJModel", 976, "0");
}

bool readFrom(OBJModel& model, const OBJByteSource* source, std::string& path, bool strict) try {
  OBJReadOptions options;
  options.threads = threadsAsked();
  return OBJReader(model, std::move(path), strict, options).read(source);
} catch (const std::bad_alloc&) {
  // Short enough to need no memory of its own.
  model._errorMessage = "Out of memory.";
  return false;
}

}  // namespace

bool OBJModel::read(std::string path, bool strict) {
  return readFrom(*this, nullptr, path, strict);
}

bool OBJModel::read(const OBJByteSource& source, std::string name, bool strict) {
  return readFrom(*this, &source, name, strict);
}

bool OBJModel::readBytes(std::string_view bytes, std::string name, bool strict) {
  return read(
      [&bytes](char* buffer, std::size_t room) {
        const std::size_t got = bytes.copy(buffer, room);
        bytes.remove_prefix(got);
        return got;
      },
      std::move(name), strict);
}

std::string OBJModel::getPath(const std::string& path) {
  const std::size_t separator = path.find_last_of("\\/");
  return separator == std::string::npos ? std::string() : path.substr(0, separator + 1);
}

bool OBJModel::readVertexInfo(const std::string& token, bool hasTexture, bool hasNormal, std::int32_t& v,
                              std::int32_t& vt, std::int32_t& vn) {
  OBJTokenStream stream(token);
  char separator = 0;
  stream.extract(v);
  if (hasTexture || hasNormal) {
    stream.extract(separator);
    if (!stream.good()) return false;
  }
  if (hasTexture) stream.extract(vt);
  if (hasNormal) {
    stream.extract(separator);
    if (!stream.good()) return false;
    stream.extract(vn);
  }
  return stream.atEnd();
}

OBJReader::OBJReader(OBJModel& model, std::string path, bool strict, const OBJReadOptions& options)
    : model_(model),
      path_(std::move(path)),
      directory_(OBJModel::getPath(path_)),
      strict_(strict),
      options_(options),
      source_(std::max<std::size_t>(options.blockBytes, 1), kMaxLineCharacters + 1) {
  for (std::size_t i = 0; i < model._materials.size(); ++i) {
    materials_.emplace(model._materials[i].name, static_cast<std::int32_t>(i));
  }
}

bool OBJReader::read(const OBJByteSource* source) {
  model_._errorMessage.clear();
  model_._readNotes = {};
  if (source != nullptr) {
    source_.open(*source);
  } else if (!source_.open(path_)) {
    model_._errorMessage = "OBJ file not found: " + path_;
    return false;
  }
  showText();
  // Threads do not come cheaper than so much text.
  constexpr int kBlocksAlone = 8;
  const bool alone = options_.threads <= 1 || !options_.fastPath || !comesAtOnce(source);
  for (int blocks = 1;; ++blocks) {
    if (!readShown()) return false;
    if (!source_.needsFill()) {
      model_._readNotes.isCutShort = source_.isCutShort();
      return true;
    }
    if (!alone && blocks >= kBlocksAlone) return readPieces();
    fillSource();
  }
}

/// The text does not keep its reader waiting, as a pipe does that others write to: who waits for more of it
/// would keep back what there is.
bool OBJReader::comesAtOnce(const OBJByteSource* source) const {
  std::error_code ignored;
  return source != nullptr || std::filesystem::is_regular_file(path_, ignored);
}

/// Reads the lines that the source shows as a whole.
bool OBJReader::readShown() {
  for (;;) {
    if (options_.fastPath) readFastLines();
    if (source_.needsFill() || source_.begin() == source_.end()) return true;
    copyLine();
    if (readLine() == Outcome::readFailed) return false;
  }
}

void OBJReader::fillSource() {
  token();
  source_.fill();
  showText();
}

/// Has the fast path work on what the source shows.
void OBJReader::showText() {
  if (!options_.fastPath) return;
  plain_.setText(source_.begin(), static_cast<std::size_t>(source_.end() - source_.begin()));
}

/// The shared token, with a corner that the fast path left in the file's bytes copied in.
std::string& OBJReader::token() {
  if (!plain_.lastToken.empty()) {
    token_.assign(plain_.lastToken);
    plain_.lastToken = {};
  }
  return token_;
}

void OBJReader::note(OBJReadNote::Kind kind, std::string_view text) {
  model_._readNotes.add(kind, lineNumber_, text);
}

/// Copies the next line to `line_`: at most 1,024 characters, the rest of a longer one is the next line.
void OBJReader::copyLine() {
  const char* const begin = source_.begin();
  const char* const limit = begin + std::min<std::ptrdiff_t>(source_.end() - begin, kMaxLineCharacters);
  const void* const found = std::memchr(begin, '\n', static_cast<std::size_t>(limit - begin));
  const char* const end = found != nullptr ? static_cast<const char*>(found) : limit;
  lineNumber_ = nextLineNumber_;
  // After 1,024 characters the line feed is left to stand for an empty line of its own.
  const bool lineFeed = end != limit;
  if (lineFeed) ++nextLineNumber_;
  // Only the first blank ends the lower-casing, a tab does not: "usemtl<tab>Red" asks for "red".
  line_.assign(begin, std::find(begin, end, '\0'));
  const auto keywordEnd = std::find(line_.begin(), line_.end(), ' ');
  std::transform(line_.begin(), keywordEnd, line_.begin(), lowerCase);
  token();
  source_.advanceTo(lineFeed ? end + 1 : end);
}

std::string_view OBJReader::textAfter(std::size_t characters) const {
  return std::string_view(line_).substr(characters);
}

OBJReader::Outcome OBJReader::readLine() {
  if (line_.empty()) return Outcome::nextLine;
  switch (line_[0]) {
    case 'v':
      readVector();
      return Outcome::nextLine;
    case 'g':
      readGroups();
      return Outcome::nextLine;
    case 'f':
      return readFace();
    case 's':
      readSmoothingGroup();
      return Outcome::nextLine;
    case '#':
    case 'o':
    case ' ':
      return Outcome::nextLine;
    default:
      break;
  }
  if (line_.starts_with("mtllib")) return readMaterialLibrary();
  if (line_.starts_with("usemtl")) return readMaterialName();
  return readUnknownLine();
}

OBJReader::Outcome OBJReader::readUnknownLine() {
  model_._errorMessage += "Line \"" + line_ + "\" in " + path_ + " has error.";
  note(OBJReadNote::Kind::unknownLine, line_);
  return strict_ ? Outcome::readFailed : Outcome::nextLine;
}

/// A value missing from the line keeps that of the previous vector of any kind: fixed by the host's contract.
void OBJReader::readVector() {
  const char kind = line_.size() > 1 ? line_[1] : '\0';
  const bool normal = kind == 'n';
  const bool texture = kind == 't';
  float values[3] = {plain_.lastVector.x, plain_.lastVector.y, plain_.lastVector.z};
  const int converted = scanThreeFloats(textAfter(normal || texture ? 2 : 1), values);
  if (texture && converted == 2) values[2] = 0.0F;
  plain_.lastVector = OBJVector(values[0], values[1], values[2]);
  add(normal ? normals() : texture ? textures() : positions(), plain_.lastVector);
}

void OBJReader::readGroups() {
  OBJTokenStream stream(textAfter(1));
  groupNames_.clear();
  groupLists_.clear();
  stream.extract(token_);
  // Without a name on the line the token is that of an earlier line: fixed by the host's contract.
  if (token_.empty()) {
    groupNames_.emplace_back("default");
    return;
  }
  // White space at the end of the line, a carriage return included, lists the last name twice, and each face
  // joins that group twice: fixed by the host's contract.
  bool last = false;
  while (!last) {
    last = stream.atEnd();
    groupNames_.push_back(token_);
    stream.extract(token_);
  }
}

OBJReader::Outcome OBJReader::dropFace() {
  model_._errorMessage += "Error for vertex at (" + line_ + ")\n";
  note(OBJReadNote::Kind::malformedCorner, line_);
  return strict_ ? Outcome::readFailed : Outcome::nextLine;
}

OBJReader::Outcome OBJReader::endRead(OBJReadNote::Kind kind) {
  model_._readNotes.end = {kind, lineNumber_, line_};
  return Outcome::readFailed;
}

/// Turns a file's index into one from 0. False, with the message, when it is 0 or beyond `count`.
bool OBJReader::resolve(std::int32_t fileIndex, std::uint32_t count, const char* zeroText,
                        const char* beyondText, std::uint32_t& index) {
  const std::int64_t wide = fileIndex;
  const std::int64_t magnitude = wide < 0 ? -wide : wide;
  if (wide == 0 || magnitude > count) {
    model_._errorMessage += (wide == 0 ? zeroText : beyondText) + line_ + ") in " + path_ + "\n";
    return false;
  }
  // A negative index is added to the count, not taken from it: -1 names the position past the last. Fixed by
  // the host's contract.
  const std::int64_t fromOne = wide < 0 ? count + magnitude : wide;
  index = static_cast<std::uint32_t>(fromOne - 1);
  return true;
}

OBJReader::Outcome OBJReader::readFace() {
  OBJTokenStream stream(textAfter(1));
  stream.extract(token_);
  const std::size_t slash = token_.find('/');
  const std::size_t secondSlash = slash == std::string::npos ? slash : token_.find('/', slash + 1);
  const bool hasNormal = secondSlash != std::string::npos;
  const bool hasTexture = slash != std::string::npos && secondSlash != slash + 1;

  OBJFace face;
  std::int32_t v = 0;
  std::int32_t vt = 0;
  std::int32_t vn = 0;
  bool last = false;
  while (!last) {
    last = stream.atEnd();
    if (!OBJModel::readVertexInfo(token_, hasTexture, hasNormal, v, vt, vn)) return dropFace();
    std::uint32_t vertex = 0;
    std::uint32_t texture = 0;
    std::uint32_t normal = 0;
    if (!resolve(v, model_._vertices->count, "Vertex 0 invalid at (", "Vertex not found at (", vertex)) {
      return endRead(v == 0 ? OBJReadNote::Kind::vertexZero : OBJReadNote::Kind::vertexMissing);
    }
    if (hasTexture && !resolve(vt, model_._textureCoords->count, "Coordinate of texture 0 invalid at (",
                               "Coordinate of texture invalid at (", texture)) {
      return endRead(vt == 0 ? OBJReadNote::Kind::textureZero : OBJReadNote::Kind::textureMissing);
    }
    // The missing parenthesis is part of the text.
    if (hasNormal && !resolve(vn, model_._normals->count, "Normal of vertex 0 invalid at ",
                              "Usage of non valid normal for vertex at (", normal)) {
      return endRead(vn == 0 ? OBJReadNote::Kind::normalZero : OBJReadNote::Kind::normalMissing);
    }
    if (!face.addVertex(vertex, texture, normal, hasTexture, hasNormal)) {
      model_._errorMessage += "ERROR: Max face vertex count of 8 exceeded.\n";
      return Outcome::readFailed;
    }
    stream.extract(token_);
  }
  OBJFaceView view = OBJFaceView::of(face);
  if (!hasTexture) view.textureIndex = {};
  if (!hasNormal) view.normalIndex = {};
  // Nothing has been written behind the corners.
  view.spareEntries = 0;
  addFace(view, false);
  return Outcome::nextLine;
}

/// Adds a face with the material, smoothing group and groups in force.
void OBJReader::addFace(OBJFaceView& face, bool inPlace) {
  enterState(face);
  if (!model_.appendFace(face, inPlace)) throw std::bad_alloc();
  enterGroups();
}

/// Gives a face the material and smoothing group in force.
void OBJReader::enterState(OBJFaceView& face) const {
  face.smoothingGroup = smoothingGroup_;
  face.materialIndex = materialIndex_;
}

/// Adds the last face to the groups in force.
void OBJReader::enterGroups() {
  if (groupLists_.empty()) {
    for (const std::string& name : groupNames_) groupLists_.push_back(&model_.groupList(name));
    if (groupNames_.size() == 1 && knownGroups_.size() < kMaxKnownGroups) {
      knownGroups_.emplace(groupNames_.front(), groupLists_.front());
    }
  }
  for (OBJElementList* list : groupLists_) list->addFace(model_._faces->count - 1);
}

OBJReader::Outcome OBJReader::readMaterialName() {
  OBJTokenStream(textAfter(6)).extract(token_);
  const auto found = materials_.find(token_);
  materialIndex_ = found == materials_.end() ? -1 : found->second;
  if (materialIndex_ != -1) return Outcome::nextLine;
  note(OBJReadNote::Kind::unknownMaterial, token_);
  if (!strict_) return Outcome::nextLine;
  model_._errorMessage += "Material " + token_ + " in " + path_ + " not found.";
  return Outcome::readFailed;
}

void OBJReader::readSmoothingGroup() {
  OBJTokenStream(textAfter(1)).extract(token_);
  std::transform(token_.begin(), token_.end(), token_.begin(), lowerCase);
  if (token_ == "off") {
    smoothingGroup_ = 0;
    return;
  }
  OBJTokenStream(token_).extract(smoothingGroup_);
  std::uint32_t& count = model_._smoothingGroupCount;
  // A full table is fatal even for a number that it holds.
  if (count >= kMaxSmoothingGroups) smoothingTableFull(count, line_.c_str());
  std::uint32_t* const end = model_._smoothingGroups + count;
  if (std::find(model_._smoothingGroups, end, smoothingGroup_) == end) {
    model_._smoothingGroups[count++] = smoothingGroup_;
  }
}

OBJReader::Outcome OBJReader::readMaterialLibrary() {
  OBJTokenStream(textAfter(6)).extract(token_);
  OwnedMaterials materials;
  if (!model_.readMaterialFile(directory_ + token_, materials.list, strict_)) {
    note(OBJReadNote::Kind::failedLibrary, directory_ + token_);
    if (strict_) return Outcome::readFailed;
    // The messages of earlier lines go, too.
    model_._errorMessage.clear();
    return Outcome::nextLine;
  }
  for (const OBJMaterial* material : materials.list) {
    model_.addMaterial(*material);
    materials_.emplace(material->name, static_cast<std::int32_t>(model_._materials.size() - 1));
  }
  return Outcome::nextLine;
}

}  // namespace WavefrontOBJ
