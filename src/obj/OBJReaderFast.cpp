// The fast path of the OBJ reader: plain lines straight from the file's bytes, no copy, no allocation.
#include <bit>
#include <cstring>
#include <new>

#include "obj/internal/OBJReader.h"
#include "obj/text/DigitScan.h"
#include "obj/text/FastNumber.h"
#include "obj/text/PlainFloats.h"

namespace WavefrontOBJ {
namespace {

const char* skipBlanks(const char* text) {
  while (*text == ' ') ++text;
  return text;
}

bool atLineEnd(const char* text) {
  return *text == '\n' || (*text == '\r' && text[1] == '\n');
}

/// Three numbers, or two, as `fastFloat` reads them.
const char* scanFastFloats(const char* text, float (&values)[3], bool twoSuffice) {
  for (int i = 0; i < 3; ++i) {
    text = skipBlanks(text);
    const char* const next = fastFloat(text, values[i]);
    if (next == nullptr) {
      values[2] = 0.0F;
      return i == 2 && twoSuffice && atLineEnd(text) ? text : nullptr;
    }
    text = next;
  }
  return text;
}

}  // namespace

/// The line feed that ends the line which begins at `line`, looked for from `text` on; null when the line is
/// longer than a line may be. At the end of the file the byte behind the last stands for it.
const char* OBJReader::fastLineEnd(const char* line, const char* text) {
  if (*text != '\n') {
    const auto left = line + kMaxLineCharacters + 1 - text;
    if (left <= 0) return nullptr;
    text = static_cast<const char*>(std::memchr(text, '\n', static_cast<std::size_t>(left)));
    if (text == nullptr) return nullptr;
  }
  return text - line <= static_cast<std::ptrdiff_t>(kMaxLineCharacters) ? text : nullptr;
}

/// Adds a vector whose numbers end before `next`.
inline const char* OBJReader::addVector(const char* line, const char* next, const OBJVector& vector,
                                        OBJVectorArray& target) {
  // Whatever stands behind three numbers is passed over.
  const char* const end = fastLineEnd(line, next);
  if (end == nullptr) return nullptr;
  if (!target.push_back(vector)) throw std::bad_alloc();
  scratch_ = vector;
  return end;
}

template <bool kTwoSuffice>
const char* OBJReader::readFastVector(const char* line, const char* text, OBJVectorArray& target) {
  text = skipBlanks(text);
#if defined(__SSE2__)
  OBJPlainFloats plain;
  const OBJDigitMap::Bits bits = digits_.at(text);
  if ((kTwoSuffice && readPlainFloats<2>(text, bits, plain) && atLineEnd(plain.end)) ||
      (readPlainFloats<3>(text, bits, plain) && static_cast<unsigned char>(*plain.end) <= ' ')) {
    return addVector(line, plain.end, std::bit_cast<OBJVector>(plain.vector), target);
  }
#endif
  float values[3] = {0.0F, 0.0F, 0.0F};
  const char* const next = scanFastFloats(text, values, kTwoSuffice);
  if (next == nullptr) return nullptr;
  return addVector(line, next, OBJVector(values[0], values[1], values[2]), target);
}

template <bool kTexture, bool kNormal>
const char* OBJReader::readFastCorners(const char* line, const char* text) {
  constexpr std::uint32_t kStride = 1 + (kTexture ? 1 : 0) + (kNormal ? 1 : 0);
  // The corners go straight to their place, and are of no effect there until the face is added.
  std::uint32_t elsewhere[OBJFaceBlock::kCornerRoom];
  std::uint32_t* const room = model_._faces->cornerRoom();
  std::uint32_t* const corners = room != nullptr ? room : elsewhere;
  const std::uint32_t vertexLimit = model_._vertices->count;
  const std::uint32_t textureLimit = model_._textureCoords->count;
  const std::uint32_t normalLimit = model_._normals->count;
  // What is wrong with a corner is gathered and looked at once: such lines are rare and read anew.
  bool wrong = false;
  OBJDigitScan scan(digits_, text);
  const auto pass = [&text, &wrong](const char* slash) {
    wrong |= *slash != '/';
    text = slash + 1;
  };
  const auto digitsTo = [&text, &wrong](const char* end) {
    const auto length = static_cast<std::uint64_t>(end - text);
    wrong |= length - 1 > 7;
    return OBJDigits{end, length};
  };
  std::uint32_t count = 0;
  const char* corner = text;
  const char* end = text;
  do {
    if (count == OBJFace::kMaxVertexCount) return nullptr;
    corner = text;
    end = scan.next();
    const OBJDigits vertex = digitsTo(end);
    OBJDigits texture = vertex;
    OBJDigits normal = vertex;
    if constexpr (kTexture) {
      pass(end);
      end = scan.next();
      texture = digitsTo(end);
    }
    if constexpr (kNormal) {
      pass(end);
      if constexpr (!kTexture) {
        const char* const second = scan.next();
        wrong |= second != text;
        pass(second);
      }
      end = scan.next();
      normal = digitsTo(end);
    }
    std::uint32_t* const indices = corners + kStride * count;
    storeIndices(indices, vertex, kTexture ? texture : normal, normal, normal);
    // A 0 in the file has wrapped round and is past every limit.
    wrong |= indices[0] >= vertexLimit;
    if constexpr (kTexture) wrong |= indices[1] >= textureLimit;
    if constexpr (kNormal) wrong |= indices[kStride - 1] >= normalLimit;
    // A vertex that comes again is absorbed, by the exact path.
    for (std::uint32_t i = 0; i < count; ++i) wrong |= corners[kStride * i] == indices[0];
    if (wrong) return nullptr;
    ++count;
    text = end + 1;
  } while (*end == ' ' && *text >= '0' && *text <= '9');
  // Blanks and a carriage return at the end make the exact path read the last corner twice, to no effect.
  const char* const rest = skipBlanks(end);
  if (!atLineEnd(rest)) return nullptr;
  const char* const lineFeed = fastLineEnd(line, rest);
  if (lineFeed == nullptr) return nullptr;

  OBJFaceView face;
  face.vertexIndex = OBJCornerIndices(corners, kStride);
  if (kTexture) face.textureIndex = OBJCornerIndices(corners + 1, kStride);
  if (kNormal) face.normalIndex = OBJCornerIndices(corners + kStride - 1, kStride);
  face.vertexCount = count;
  face.hasTexture = kTexture;
  face.hasNormal = kNormal;
  addFace(face, room != nullptr);
  fastToken_ = std::string_view(corner, static_cast<std::size_t>(end - corner));
  return lineFeed;
}

/// Tries the form of the last face first: most files have but one.
inline const char* OBJReader::readFastFace(const char* line) {
  const char* const first = skipBlanks(line + 2);
  const char* const lineFeed = (this->*readCorners_)(line, first);
  if (lineFeed != nullptr) return lineFeed;
  const ReadCorners last = readCorners_;
  OBJDigitScan scan(digits_, first);
  const char* const slash = scan.next();
  const char* const second = *slash == '/' ? scan.next() : slash;
  readCorners_ = *slash != '/'         ? &OBJReader::readFastCorners<false, false>
                 : *second != '/'      ? &OBJReader::readFastCorners<true, false>
                 : second == slash + 1 ? &OBJReader::readFastCorners<false, true>
                                       : &OBJReader::readFastCorners<true, true>;
  return readCorners_ == last ? nullptr : (this->*readCorners_)(line, first);
}

/// Reads a line of one name that an earlier line had, with nothing behind it: files that change the group at
/// every face have millions of them.
const char* OBJReader::readFastGroup(const char* line) {
  const char* const begin = line + 2;
  const char* end = begin;
  while (static_cast<unsigned char>(*end) > ' ') ++end;
  if (end == begin || *end != '\n') return nullptr;
  const char* const lineFeed = fastLineEnd(line, end);
  if (lineFeed == nullptr) return nullptr;
  const std::string_view name(begin, static_cast<std::size_t>(end - begin));
  const auto known = knownGroups_.find(name);
  if (known == knownGroups_.end()) return nullptr;
  groupNames_.clear();
  groupLists_.assign(1, known->second);
  fastToken_ = name;
  return lineFeed;
}

inline const char* OBJReader::readFastLine(const char* line) {
  OBJVectorArray& vertices = *model_._vertices;
  OBJVectorArray& normals = *model_._normals;
  OBJVectorArray& textures = *model_._textureCoords;
  switch (line[0]) {
    case 'v': {
      if (line[1] == 't') return line[2] == ' ' ? readFastVector<true>(line, line + 3, textures) : nullptr;
      const bool normal = line[1] == 'n';
      const char* const text = line + (normal ? 3 : 2);
      return text[-1] == ' ' ? readFastVector<false>(line, text, normal ? normals : vertices) : nullptr;
    }
    case 'f':
      return line[1] == ' ' ? readFastFace(line) : nullptr;
    case 'g':
      return line[1] == ' ' ? readFastGroup(line) : nullptr;
    case '#':
      return fastLineEnd(line, line);
    default:
      return nullptr;
  }
}

/// Reads lines up to the first that is not plain, or to where the source's window must be moved on.
void OBJReader::readFastLines() {
  const char* line = source_.begin();
  std::size_t lines = 0;
  while (source_.showsLineAt(line)) {
    const char* const lineFeed = readFastLine(line);
    if (lineFeed == nullptr) break;
    line = lineFeed == source_.end() ? lineFeed : lineFeed + 1;
    ++lines;
  }
  source_.advanceTo(line);
  nextLineNumber_ += lines;
}

}  // namespace WavefrontOBJ
