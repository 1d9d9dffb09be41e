// The fast path of the OBJ reader: plain lines straight from the file's bytes, no copy, no allocation.
#include <algorithm>
#include <cfloat>
#include <cstring>
#include <new>

#include "obj/OBJReader.h"
#include "obj/text/DigitScan.h"
#include "obj/text/FastNumber.h"

namespace WavefrontOBJ {
namespace {

const char* skipBlanks(const char* text) {
  while (*text == ' ') ++text;
  return text;
}

bool atLineEnd(const char* text) {
  return *text == '\n' || (*text == '\r' && text[1] == '\n');
}

/// `kCount` numbers of the plainest form, "-12.345678" with one blank between two, up to seven digits before
/// the point and eight behind it, all within 64 characters. `bits` are those from `text` on. True with the
/// numbers and with `next` at the character behind the last; false for any other text.
///
/// Where a number ends comes from the bits alone, and what is wrong with the text is gathered and looked at
/// once. Nothing that follows waits for the numbers, so that several lines are worked on at a time.
template <int kCount>
[[gnu::always_inline]] inline bool scanPlainFloats(const char* text, OBJDigitMap::Bits bits,
                                                   OBJVector& vector, const char*& next) {
  std::uint64_t separators = bits.others & ~bits.minuses;
  // Bits that run out give positions of 64, which the lengths refuse.
  const auto nextSeparator = [&separators] {
    const auto position = static_cast<std::uint64_t>(std::countr_zero(separators));
    separators &= separators - 1;
    return position;
  };
  OBJDigits whole[4] = {};
  OBJDigits part[4] = {};
  std::uint64_t negative[3];
  std::uint64_t signs = 0;
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  std::uint64_t lengths = 0;          // all lengths or-ed, and all lengths less 1 or-ed:
  std::uint64_t lengthsFromZero = 0;  // lengths of 1 to 7 leave the upper bits of both clear
  int otherText = 0;
#pragma GCC unroll 3
  for (int i = 0; i < kCount; ++i) {
    const std::uint64_t point = nextSeparator();
    end = nextSeparator();
    negative[i] = bits.minuses >> (start & 63) & 1;
    signs |= negative[i] << (start & 63);
    whole[i] = {text + point, point - start - negative[i]};
    part[i] = {text + end, end - point - 1};
    lengths |= whole[i].length;
    lengthsFromZero |= (whole[i].length - 1) | (part[i].length - 1);
    otherText |= text[point] ^ '.';
    if (i + 1 < kCount) otherText |= text[end] ^ ' ';
    start = end + 1;
  }
  // A "-" anywhere but before a number would count as a digit.
  const std::uint64_t misplaced = (bits.minuses & ((std::uint64_t{2} << (end & 63)) - 1)) ^ signs;
  if (((lengths | lengthsFromZero) >> 3 | end >> 6 | misplaced | static_cast<unsigned>(otherText)) != 0)
    return false;

  for (int i = kCount; i < 4; ++i) whole[i] = part[i] = part[0];
  const auto wholes = digitsValues(whole[0], whole[1], whole[2], whole[3]);
  const auto parts = digitsValues(part[0], part[1], part[2], part[3]);
  bool between = false;
  const auto value = [&](int i) {
    // At most 15 digits: all of this is exact but for the rounding of the division.
    const double power = fastNumber::kDoublePowerOfTen[part[i].length];
    const double scaled = (static_cast<std::int32_t>(wholes[static_cast<std::size_t>(i)]) * power +
                           static_cast<std::int32_t>(parts[static_cast<std::size_t>(i)])) /
                          power;
    between |= liesBetweenFloats(scaled);
    return withSign(static_cast<float>(scaled), static_cast<std::uint32_t>(negative[i]));
  };
  vector.x = value(0);
  vector.y = value(1);
  vector.z = kCount == 3 ? value(2) : 0.0F;
  next = text + end;
  return !between;
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

template <bool kTwoSuffice>
const char* OBJReader::takeFastVector(const char* line, const char* text, OBJVectorArray& target) {
  // Kept in registers on the common path: numbers stored one by one and read back together stall the
  // processor.
  OBJVector vector;
  text = skipBlanks(text);
  const char* next = nullptr;
  const OBJDigitMap::Bits bits = digits_.at(static_cast<std::size_t>(text - digitsStart_));
  const bool plain =
      FLT_EVAL_METHOD == 0 &&
      ((kTwoSuffice && scanPlainFloats<2>(text, bits, vector, next) && atLineEnd(next)) ||
       (scanPlainFloats<3>(text, bits, vector, next) && static_cast<unsigned char>(*next) <= ' '));
  if (!plain) {
    float values[3] = {0.0F, 0.0F, 0.0F};
    next = scanFastFloats(text, values, kTwoSuffice);
    if (next == nullptr) return nullptr;
    vector = OBJVector(values[0], values[1], values[2]);
  }
  // Whatever stands behind three numbers is passed over.
  const char* const end = fastLineEnd(line, next);
  if (end == nullptr) return nullptr;
  if (!target.push_back(vector)) throw std::bad_alloc();
  scratch_[0] = vector.x;
  scratch_[1] = vector.y;
  scratch_[2] = vector.z;
  return end;
}

const char* OBJReader::takeFastFace(const char* line) {
  const char* const first = skipBlanks(line + 2);
  OBJDigitScan scan(digits_, first, static_cast<std::size_t>(first - digitsStart_));
  const char* const slash = scan.next();
  if (*slash != '/') return takeFastCorners<false, false>(line, first);
  const char* const second = scan.next();
  if (*second != '/') return takeFastCorners<true, false>(line, first);
  return second == slash + 1 ? takeFastCorners<false, true>(line, first)
                             : takeFastCorners<true, true>(line, first);
}

template <bool kTexture, bool kNormal>
const char* OBJReader::takeFastCorners(const char* line, const char* text) {
  std::uint32_t vertices[OBJFace::kMaxVertexCount];
  std::uint32_t textures[OBJFace::kMaxVertexCount];
  std::uint32_t normals[OBJFace::kMaxVertexCount];
  const std::uint32_t vertexLimit = model_._vertices->count;
  const std::uint32_t textureLimit = model_._textureCoords->count;
  const std::uint32_t normalLimit = model_._normals->count;
  // What is wrong with a corner is gathered and looked at once: such lines are rare and read anew.
  bool wrong = false;
  OBJDigitScan scan(digits_, text, static_cast<std::size_t>(text - digitsStart_));
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
      if constexpr (!kTexture) pass(scan.next());
      end = scan.next();
      normal = digitsTo(end);
    }
    const auto numbers = digitsValues(vertex, texture, normal, normal);
    vertices[count] = numbers[0] - 1;
    textures[count] = numbers[1] - 1;
    normals[count] = numbers[2] - 1;
    // A 0 in the file has wrapped round and is past every limit.
    wrong |= vertices[count] >= vertexLimit;
    if constexpr (kTexture) wrong |= textures[count] >= textureLimit;
    if constexpr (kNormal) wrong |= normals[count] >= normalLimit;
    // A vertex that comes again is absorbed, by the exact path.
    for (std::uint32_t i = 0; i < count; ++i) wrong |= vertices[i] == vertices[count];
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
  face.vertexIndex = vertices;
  face.textureIndex = kTexture ? textures : nullptr;
  face.normalIndex = kNormal ? normals : nullptr;
  face.vertexCount = count;
  face.hasTexture = kTexture;
  face.hasNormal = kNormal;
  addFace(face);
  fastToken_ = std::string_view(corner, static_cast<std::size_t>(end - corner));
  return lineFeed;
}

inline const char* OBJReader::takeFastLine(const char* line) {
  switch (line[0]) {
    case 'v':
      if (line[1] == ' ') return takeFastVector<false>(line, line + 2, *model_._vertices);
      if (line[1] == 'n' && line[2] == ' ') return takeFastVector<false>(line, line + 3, *model_._normals);
      if (line[1] == 't' && line[2] == ' ')
        return takeFastVector<true>(line, line + 3, *model_._textureCoords);
      return nullptr;
    case 'f':
      return line[1] == ' ' ? takeFastFace(line) : nullptr;
    case '#':
      return fastLineEnd(line, line);
    default:
      return nullptr;
  }
}

/// Takes lines up to the first that is not plain, or to where the source's window must be moved on.
void OBJReader::takeFastLines() {
  const char* line = source_.begin();
  std::size_t taken = 0;
  while (source_.showsLineAt(line)) {
    const char* const lineFeed = takeFastLine(line);
    if (lineFeed == nullptr) break;
    line = lineFeed == source_.end() ? lineFeed : lineFeed + 1;
    ++taken;
  }
  source_.take(line);
  nextLineNumber_ += taken;
}

}  // namespace WavefrontOBJ
