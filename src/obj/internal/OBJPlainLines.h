#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "obj/OBJFaceBlock.h"
#include "obj/text/DigitScan.h"
#include "obj/text/FastNumber.h"
#include "obj/text/PlainFloats.h"

// For this folder alone: not part of the library's interface.

namespace WavefrontOBJ {

/// Longest line; the rest of a longer one is read as the next line.
inline constexpr std::size_t kMaxLineCharacters = 1024;

/// The fast path of the OBJ reader: plain lines straight from the file's bytes, no copy, no allocation. It
/// either takes in the whole line, with the outcome of the exact path, or leaves everything as it was.
///
/// The target has `positions()`, `normals()` and `textures()`, what is to `add` a vector to each, and the
/// `limitOf` each, past all indices that corners may have; `cornerRoom()` and `addFace(face, inPlace)`, see
/// `OBJFaceArray` and `OBJModel::appendFace`; and `readGroup(line)`, which is to "g" lines as `read`.
template <class Target>
class OBJPlainLines {
 public:
  explicit OBJPlainLines(Target& target) : target_(target) {}

  /// Lines stand in `size` characters at `text` from now on, which have a line feed behind them and the room
  /// around that `OBJDigitMap` asks for.
  void setText(const char* text, std::size_t size) { digits_.build(text, size); }
  /// Reads a line that stands in the text as a whole. Answers the line feed that ends it, or null with
  /// everything as it was.
  const char* read(const char* line);
  /// The line feed that ends the line which begins at `line`, looked for from `text` on; null when the line
  /// is longer than a line may be. At the end of the file the byte behind the last stands for it.
  static const char* lineEnd(const char* line, const char* text);

  OBJVector lastVector;        ///< that was read
  std::string_view lastToken;  ///< the last corner or group name that was read, where it stands in the text

 private:
  template <class Array>
  const char* addVector(const char* line, const char* next, const OBJVector& vector, Array& array);
  template <bool kTwoSuffice, class Array>
  const char* readVector(const char* line, const char* text, Array& array);
  const char* readFace(const char* line);
  template <bool kTexture, bool kNormal>
  const char* readCorners(const char* line, const char* text);
  using ReadCorners = const char* (OBJPlainLines::*)(const char* line, const char* text);

  static const char* skipBlanks(const char* text) {
    while (*text == ' ') ++text;
    return text;
  }
  static bool atLineEnd(const char* text) { return *text == '\n' || (*text == '\r' && text[1] == '\n'); }
  static const char* scanFloats(const char* text, float (&values)[3], bool twoSuffice);

  Target& target_;
  OBJDigitMap digits_;
  ReadCorners readCorners_ = &OBJPlainLines::readCorners<true, true>;  ///< for the form of the last face
};

template <class Target>
inline const char* OBJPlainLines<Target>::lineEnd(const char* line, const char* text) {
  if (*text != '\n') {
    const auto left = line + kMaxLineCharacters + 1 - text;
    if (left <= 0) return nullptr;
    text = static_cast<const char*>(std::memchr(text, '\n', static_cast<std::size_t>(left)));
    if (text == nullptr) return nullptr;
  }
  return text - line <= static_cast<std::ptrdiff_t>(kMaxLineCharacters) ? text : nullptr;
}

/// Three numbers, or two, as `fastFloat` reads them.
template <class Target>
const char* OBJPlainLines<Target>::scanFloats(const char* text, float (&values)[3], bool twoSuffice) {
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

/// Adds a vector whose numbers end before `next`.
template <class Target>
template <class Array>
inline const char* OBJPlainLines<Target>::addVector(const char* line, const char* next,
                                                    const OBJVector& vector, Array& array) {
  // Whatever stands behind three numbers is passed over.
  const char* const end = lineEnd(line, next);
  if (end == nullptr) return nullptr;
  target_.add(array, vector);
  lastVector = vector;
  return end;
}

template <class Target>
template <bool kTwoSuffice, class Array>
const char* OBJPlainLines<Target>::readVector(const char* line, const char* text, Array& array) {
  text = skipBlanks(text);
#if defined(__SSE2__)
  OBJPlainFloats plain;
  const OBJDigitMap::Bits bits = digits_.at(text);
  if ((kTwoSuffice && readPlainFloats<2>(text, bits, plain) && atLineEnd(plain.end)) ||
      (readPlainFloats<3>(text, bits, plain) && static_cast<unsigned char>(*plain.end) <= ' ')) {
    return addVector(line, plain.end, std::bit_cast<OBJVector>(plain.vector), array);
  }
#endif
  float values[3] = {0.0F, 0.0F, 0.0F};
  const char* const next = scanFloats(text, values, kTwoSuffice);
  if (next == nullptr) return nullptr;
  return addVector(line, next, OBJVector(values[0], values[1], values[2]), array);
}

template <class Target>
template <bool kTexture, bool kNormal>
const char* OBJPlainLines<Target>::readCorners(const char* line, const char* text) {
  constexpr std::uint32_t kStride = 1 + (kTexture ? 1 : 0) + (kNormal ? 1 : 0);
  // The corners go straight to their place, and are of no effect there until the face is added.
  std::uint32_t elsewhere[OBJFaceBlock::kCornerRoom];
  std::uint32_t* const room = target_.cornerRoom();
  std::uint32_t* const corners = room != nullptr ? room : elsewhere;
  const std::uint32_t vertexLimit = target_.limitOf(target_.positions());
  const std::uint32_t textureLimit = target_.limitOf(target_.textures());
  const std::uint32_t normalLimit = target_.limitOf(target_.normals());
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
  const char* const lineFeed = lineEnd(line, rest);
  if (lineFeed == nullptr) return nullptr;

  OBJFaceView face = OBJFaceView::ofCorners(corners, count, kTexture, kNormal);
  target_.addFace(face, room != nullptr);
  lastToken = std::string_view(corner, static_cast<std::size_t>(end - corner));
  return lineFeed;
}

/// Tries the form of the last face first: most files have but one.
template <class Target>
inline const char* OBJPlainLines<Target>::readFace(const char* line) {
  const char* const first = skipBlanks(line + 2);
  const char* const lineFeed = (this->*readCorners_)(line, first);
  if (lineFeed != nullptr) return lineFeed;
  const ReadCorners last = readCorners_;
  OBJDigitScan scan(digits_, first);
  const char* const slash = scan.next();
  const char* const second = *slash == '/' ? scan.next() : slash;
  readCorners_ = *slash != '/'         ? &OBJPlainLines::readCorners<false, false>
                 : *second != '/'      ? &OBJPlainLines::readCorners<true, false>
                 : second == slash + 1 ? &OBJPlainLines::readCorners<false, true>
                                       : &OBJPlainLines::readCorners<true, true>;
  return readCorners_ == last ? nullptr : (this->*readCorners_)(line, first);
}

template <class Target>
inline const char* OBJPlainLines<Target>::read(const char* line) {
  switch (line[0]) {
    case 'v': {
      if (line[1] == 't') {
        return line[2] == ' ' ? readVector<true>(line, line + 3, target_.textures()) : nullptr;
      }
      const bool normal = line[1] == 'n';
      const char* const text = line + (normal ? 3 : 2);
      if (text[-1] != ' ') return nullptr;
      return readVector<false>(line, text, normal ? target_.normals() : target_.positions());
    }
    case 'f':
      return line[1] == ' ' ? readFace(line) : nullptr;
    case 'g':
      return line[1] == ' ' ? target_.readGroup(line) : nullptr;
    case '#':
      return lineEnd(line, line);
    case '\n':
      return line;
    default:
      return nullptr;
  }
}

}  // namespace WavefrontOBJ
