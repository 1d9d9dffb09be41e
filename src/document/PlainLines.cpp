#include "document/PlainLines.h"

#include <algorithm>
#include <cstring>

#include "document/LogicalLine.h"

namespace WavefrontOBJ {
namespace {

constexpr std::ptrdiff_t kMaxPlainLine = 1024;
/// Past every index of up to eight digits.
constexpr std::uint32_t kIndexLimit = 100'000'000;

const char* skipBlanks(const char* text) {
  while (*text == ' ') ++text;
  return text;
}

}  // namespace

void PlainLines::setText(const char* begin, const char* end, std::uint64_t offset) {
  begin_ = begin;
  end_ = end;
  offset_ = offset;
  digitsMade_ = false;
  lastEnd_ = end;
  while (lastEnd_ > begin && lastEnd_[-1] != '\n') --lastEnd_;
  oddBytes_ = hasControls(begin, lastEnd_);
}

void PlainLines::forget() {
  needs_ = {};
  returns_.clear();
  returnCount_ = 0;
}

const char* PlainLines::take(const char* line, std::uint64_t& number) {
  while (line < lastEnd_) {
    const auto left = static_cast<std::size_t>(lastEnd_ - line);
    const char* const lineFeed = static_cast<const char*>(std::memchr(line, '\n', left));
    if (!takeLine(line, lineFeed, number)) break;
    line = lineFeed + 1;
    ++number;
  }
  return line;
}

bool PlainLines::takeLine(const char* line, const char* lineFeed, std::uint64_t number) {
  const char* end = lineFeed;
  if (line == end) return true;
  if (oddBytes_) {
    if (end[-1] == '\r') --end;
    if (line == end || hasControls(line, end)) return false;
  }
  if (end[-1] == '\\' || end - line > kMaxPlainLine) return false;
  if (line[0] == 'f') {
    if (line[1] != ' ' || !takeFace(line, end)) return false;
  } else if (line[0] == 'v') {
    auto kind = VectorKind::position;
    if (line[1] != ' ') {
      kind = line[1] == 't' ? VectorKind::texture : VectorKind::normal;
      if ((kind == VectorKind::normal && line[1] != 'n') || line[2] != ' ') return false;
    }
    vectors_[static_cast<std::size_t>(kind)].push_back(offsetOf(line));
  } else {
    return false;
  }
  anyTaken_ = true;
  if (end != lineFeed) {
    if (returns_.size() < placesKept_) returns_.push_back({offsetOf(line), number});
    ++returnCount_;
  }
  return true;
}

/// The vector lines up to `greatest` are there before the face in work, or have to be before the tables.
inline bool PlainLines::isThere(VectorKind kind, std::uint32_t greatest) {
  const std::size_t count = vectors_[static_cast<std::size_t>(kind)].size();
  if (greatest < count) return true;
  // A 0 in the file has wrapped round.
  if (before_ == Before::nothing || greatest >= kIndexLimit) return false;
  std::uint32_t& needed = needs_[static_cast<std::size_t>(kind)];
  needed = std::max(needed, greatest + 1 - static_cast<std::uint32_t>(count));
  return true;
}

template <bool kTexture, bool kNormal>
bool PlainLines::takeCorners(const char* line, const char* text, const char* end) {
  constexpr std::uint32_t kStride = 1 + (kTexture ? 1 : 0) + (kNormal ? 1 : 0);
  PlainArray<std::int32_t>& textures = faces_.textures_;
  PlainArray<std::int32_t>& normals = faces_.normals_;
  const std::size_t before = faces_.vertices_.size();
  faces_.vertices_.reserve(kMostCorners);
  // A column may have to begin.
  if (kTexture) textures.reserve(before - textures.size() + kMostCorners);
  if (kNormal) normals.reserve(before - normals.size() + kMostCorners);
  std::int32_t* const vertexOut = faces_.vertices_.data() + before;
  // What is wrong with a corner is gathered and looked at once: such lines are rare and read anew.
  bool wrong = false;
  std::uint32_t greatest[3] = {0, 0, 0};
  OBJDigitScan scan(digits_, text);
  const auto digitsTo = [&text, &wrong](const char* numberEnd) {
    const auto length = static_cast<std::uint64_t>(numberEnd - text);
    wrong |= length - 1 > 7;
    return OBJDigits{numberEnd, length};
  };
  const auto part = [&](const char* slash) {
    wrong |= *slash != '/';
    text = slash + 1;
  };
  std::uint32_t count = 0;
  const char* numberEnd = text;
  do {
    if (count == kMostCorners) return false;
    numberEnd = scan.next();
    const OBJDigits vertex = digitsTo(numberEnd);
    OBJDigits texture = vertex;
    OBJDigits normal = vertex;
    if constexpr (kTexture) {
      part(numberEnd);
      numberEnd = scan.next();
      texture = digitsTo(numberEnd);
    }
    if constexpr (kNormal) {
      part(numberEnd);
      if constexpr (!kTexture) {
        const char* const second = scan.next();
        wrong |= second != text;
        part(second);
      }
      numberEnd = scan.next();
      normal = digitsTo(numberEnd);
    }
    // Four numbers are stored at a time.
    std::uint32_t indices[4];
    storeIndices(indices, vertex, kTexture ? texture : normal, normal, normal);
    greatest[0] = std::max(greatest[0], indices[0]);
    if constexpr (kTexture) greatest[1] = std::max(greatest[1], indices[1]);
    if constexpr (kNormal) greatest[2] = std::max(greatest[2], indices[kStride - 1]);
    const auto index = static_cast<std::int32_t>(indices[0]);
    for (std::uint32_t i = 0; i < count; ++i) wrong |= vertexOut[i] == index;
    vertexOut[count] = index;
    if constexpr (kTexture) textures.data()[before + count] = static_cast<std::int32_t>(indices[1]);
    if constexpr (kNormal) normals.data()[before + count] = static_cast<std::int32_t>(indices[kStride - 1]);
    if (wrong) return false;
    ++count;
    text = numberEnd + 1;
  } while (*numberEnd == ' ' && *text >= '0' && *text <= '9');
  if (count < 3 || skipBlanks(numberEnd) != end) return false;
  if (!isThere(VectorKind::position, greatest[0])) return false;
  if (kTexture && !isThere(VectorKind::texture, greatest[1])) return false;
  if (kNormal && !isThere(VectorKind::normal, greatest[2])) return false;
  faces_.addRow(offsetOf(line), count);
  faces_.vertices_.extend(count);
  const auto finish = [&](PlainArray<std::int32_t>& column, bool written) {
    if (written) {
      if (column.size() < before) column.resize(before, kNoIndex);
      column.extend(count);
    } else if (!column.empty()) {
      column.resize(before + count, kNoIndex);
    }
  };
  finish(textures, kTexture);
  finish(normals, kNormal);
  return true;
}

/// Tries the form of the last face first: most files have but one.
bool PlainLines::takeFace(const char* line, const char* end) {
  if (!digitsMade_) {
    digitsMade_ = true;
    digits_.build(line, static_cast<std::size_t>(end_ - line));
  }
  const char* const first = skipBlanks(line + 2);
  if ((this->*takeCorners_)(line, first, end)) return true;
  const auto last = takeCorners_;
  OBJDigitScan scan(digits_, first);
  const char* const slash = scan.next();
  const char* const second = *slash == '/' ? scan.next() : slash;
  takeCorners_ = *slash != '/'         ? &PlainLines::takeCorners<false, false>
                 : *second != '/'      ? &PlainLines::takeCorners<true, false>
                 : second == slash + 1 ? &PlainLines::takeCorners<false, true>
                                       : &PlainLines::takeCorners<true, true>;
  return takeCorners_ != last && (this->*takeCorners_)(line, first, end);
}

const char* PlainLines::groupEnd(const char* line) const {
  if (line >= lastEnd_ || line[0] != 'g' || line[1] != ' ') return nullptr;
  const char* end = line + 2;
  while (static_cast<unsigned char>(*end) > ' ' && static_cast<unsigned char>(*end) <= '~') ++end;
  if (end == line + 2 || end[-1] == '\\' || end - line > kMaxPlainLine) return nullptr;
  return *end == '\n' || (*end == '\r' && end[1] == '\n') ? end : nullptr;
}

}  // namespace WavefrontOBJ
