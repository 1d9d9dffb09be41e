#include "document/LogicalLine.h"

#include <algorithm>
#include <cstring>

#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

bool isLineEnd(char c) {
  return c == '\n' || c == '\r';
}

/// The backslash at `text` is followed by a line end that belongs to the line: it is a continuation.
bool isContinuation(const char* text, const char* end) {
  return *text == '\\' && text + 1 < end && isLineEnd(text[1]);
}

}  // namespace

const char* physicalLineEnd(const char* begin, const char* end) {
  // In pieces, so that a file without line feeds is not searched to its end for each of its lines.
  constexpr std::ptrdiff_t kPiece = 128;
  while (begin < end) {
    const auto bytes = static_cast<std::size_t>(std::min(end - begin, kPiece));
    const void* const lineFeed = std::memchr(begin, '\n', bytes);
    const std::size_t before =
        lineFeed != nullptr ? static_cast<std::size_t>(static_cast<const char*>(lineFeed) - begin) : bytes;
    const void* const carriageReturn = std::memchr(begin, '\r', before);
    if (carriageReturn != nullptr) return static_cast<const char*>(carriageReturn);
    if (lineFeed != nullptr) return static_cast<const char*>(lineFeed);
    begin += bytes;
  }
  return end;
}

const char* behindLineEnd(const char* lineEnd, const char* end) {
  if (lineEnd == end) return end;
  const bool both = *lineEnd == '\r' && lineEnd + 1 < end && lineEnd[1] == '\n';
  return lineEnd + (both ? 2 : 1);
}

const char* logicalLineEnd(const char* begin, const char* end) {
  const char* lineEnd = physicalLineEnd(begin, end);
  if (lineEnd == begin || lineEnd[-1] != '\\') return lineEnd;
  const char* const first = std::find_if_not(begin, lineEnd, isSpace);
  if (*first == '#') return lineEnd;
  while (lineEnd != begin && lineEnd[-1] == '\\') {
    if (lineEnd == end) return lineEnd - 1;
    begin = behindLineEnd(lineEnd, end);
    lineEnd = physicalLineEnd(begin, end);
  }
  return lineEnd;
}

std::uint64_t countLineEnds(const char* begin, const char* end) {
  std::uint64_t count = 0;
  while (begin < end) {
    const char* const lineEnd = physicalLineEnd(begin, end);
    if (lineEnd == end) break;
    ++count;
    begin = behindLineEnd(lineEnd, end);
  }
  return count;
}

bool hasControls(const char* begin, const char* end) {
  std::uint8_t odd = 0;
  for (; begin < end; ++begin) {
    const auto byte = static_cast<std::uint8_t>(*begin);
    odd |= static_cast<std::uint8_t>((byte < ' ' && byte != '\n') || byte == 0x7F);
  }
  return odd != 0;
}

LineWords::LineWords(const char* begin, const char* end) : position_(begin), end_(end) {
  const void* const nul =
      begin == end ? nullptr : std::memchr(begin, '\0', static_cast<std::size_t>(end - begin));
  if (nul != nullptr) end_ = static_cast<const char*>(nul);
}

const char* LineWords::skip(const char* text) const {
  // A line end inside the line stands behind a backslash.
  while (text < end_ && (isSpace(*text) || isContinuation(text, end_))) ++text;
  return text;
}

std::string_view LineWords::next() {
  const char* const begin = skip(position_);
  const char* text = begin;
  while (text < end_ && !isSpace(*text) && !isContinuation(text, end_)) ++text;
  position_ = text;
  return {begin, static_cast<std::size_t>(text - begin)};
}

std::string_view LineWords::nextValue() {
  const std::string_view word = next();
  if (word.empty() || word[0] != '#') return word;
  position_ = word.data();
  return {};
}

std::string_view LineWords::rest() const {
  const char* const begin = skip(position_);
  const char* end = end_;
  while (end > begin && (isSpace(end[-1]) || isContinuation(end - 1, end_))) --end;
  return {begin, static_cast<std::size_t>(end - begin)};
}

std::string joinedText(std::string_view text) {
  const std::string_view trimmed = LineWords(text).rest();
  std::string joined;
  joined.reserve(trimmed.size());
  const char* const end = trimmed.data() + trimmed.size();
  for (const char* c = trimmed.data(); c < end; ++c) {
    if (isContinuation(c, end)) {
      c = behindLineEnd(c + 1, end) - 1;
      joined += ' ';
    } else {
      joined += *c;
    }
  }
  return joined;
}

}  // namespace WavefrontOBJ
