#include "document/DocumentPiece.h"

#include <algorithm>
#include <cstring>
#include <exception>

#include "document/LogicalLine.h"
#include "obj/text/DigitScan.h"

namespace WavefrontOBJ {
namespace {

/// What is read at first of a piece's last line, and how much longer than a piece it may be.
constexpr std::size_t kAhead = 4096;
constexpr std::size_t kMostPieces = 16;
/// Bytes before a place that tell whether a line surely begins there.
constexpr std::uint64_t kBefore = 3;

/// The first place from `text` on where a line surely begins, whatever stands before `begin`: behind a line
/// feed without a backslash in front of it or of its carriage return. Null when there is none up to `end`.
const char* lineBegin(const char* text, const char* begin, const char* end) {
  if (text > begin) --text;
  while (text < end) {
    const void* const found = std::memchr(text, '\n', static_cast<std::size_t>(end - text));
    if (found == nullptr) return nullptr;
    const char* const lineFeed = static_cast<const char*>(found);
    const char* lineEnd = lineFeed;
    if (lineEnd > begin && lineEnd[-1] == '\r') --lineEnd;
    if (lineEnd == begin || lineEnd[-1] != '\\') return lineFeed + 1;
    text = lineFeed + 1;
  }
  return nullptr;
}

}  // namespace

void DocumentPiece::read(std::uint64_t number, std::uint64_t first) {
  for (auto& offsets : vectors_) offsets.truncate(0);
  faces_.clear();
  plain_.forget();
  leftLines_.clear();
  lineCount_ = 0;
  try {
    outcome_ = loadText(number, first);
    if (outcome_ == Outcome::read) takeLines();
  } catch (const std::exception&) {
    outcome_ = Outcome::outOfMemory;
  }
}

DocumentPiece::Outcome DocumentPiece::loadText(std::uint64_t number, std::uint64_t first) {
  const std::uint64_t size = source_.size();
  const std::uint64_t from = number * bytes_;
  const std::uint64_t to = std::min(from + bytes_, size);
  const std::uint64_t textOffset = from - std::min(from, kBefore);
  const std::size_t most = kMostPieces * bytes_;
  std::size_t held = 0;
  for (std::size_t ahead = std::min(kAhead, bytes_);; ahead = std::min(4 * ahead, most)) {
    const std::uint64_t textEnd = std::min(to + ahead, size);
    const auto bytes = static_cast<std::size_t>(textEnd - textOffset);
    const std::size_t room = OBJDigitMap::kUnderread + bytes + OBJDigitMap::kOverread;
    if (buffer_.size() < room) buffer_.resize(room);
    char* const text = buffer_.data() + OBJDigitMap::kUnderread;
    failure_ = source_.read(textOffset + held, text + held, bytes - held);
    if (!failure_) return Outcome::failed;
    held = bytes;
    const auto lineAt = [&](std::uint64_t place) {
      const char* const searched = text + (place - textOffset);
      const auto left = static_cast<std::size_t>(textEnd - place);
      const char* const found = lineBegin(searched, text, searched + std::min(left, most));
      return found == nullptr && left <= most && textEnd == size ? text + bytes : found;
    };
    end_ = lineAt(to);
    if (end_ == nullptr && ahead < most) continue;
    begin_ = number == 0 ? text + first : lineAt(from);
    if (begin_ == nullptr || end_ == nullptr) return Outcome::uncut;
    offset_ = textOffset + static_cast<std::uint64_t>(begin_ - text);
    return Outcome::read;
  }
}

void DocumentPiece::takeLines() {
  plain_.setText(begin_, end_, offset_);
  for (const char* line = begin_;;) {
    line = plain_.take(line, lineCount_);
    if (line == end_) return;
    const char* const nameEnd = plain_.groupEnd(line);
    const char* const lineEnd = nameEnd != nullptr ? nameEnd : logicalLineEnd(line, end_);
    const char* const next = behindLineEnd(lineEnd, end_);
    leftLines_.push_back({line, lineEnd, next, nameEnd != nullptr, lineCount_, counts()});
    lineCount_ += nameEnd != nullptr ? 1 : countLineEnds(line, next);
    line = next;
  }
}

DocumentPiece::Counts DocumentPiece::counts() const {
  Counts counts;
  for (std::size_t kind = 0; kind < PlainLines::kKinds; ++kind)
    counts.vectors[kind] = static_cast<std::uint32_t>(vectors_[kind].size());
  counts.faces = faces_.size();
  return counts;
}

}  // namespace WavefrontOBJ
