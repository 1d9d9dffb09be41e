#include "document/LineText.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "document/LogicalLine.h"
#include "obj/text/FastNumber.h"

namespace WavefrontOBJ {
namespace {

/// Read where lines lie scattered.
constexpr std::size_t kSmallPiece = 1024;
constexpr std::size_t kIncomplete = static_cast<std::size_t>(-1);

}  // namespace

LineText::LineText(const Source& source, std::size_t mostBytes)
    : source_(source),
      mostBytes_(std::max<std::size_t>(mostBytes, 1)),
      pieceBytes_(std::min(mostBytes_, 4 * kSmallPiece)) {}

Result LineText::load(std::uint64_t offset, std::size_t bytes) {
  bytes = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, source_.size() - offset));
  held_ = 0;
  if (buffer_.size() < bytes + kFastNumberOverread) {
    try {
      buffer_.resize(bytes + kFastNumberOverread);
    } catch (const std::bad_alloc&) {
      return {Status::outOfMemory, source_.name() + ": out of memory"};
    }
  }
  Result result = source_.read(offset, buffer_.data(), bytes);
  if (!result) return result;
  // A number that ends with the bytes ends at a blank.
  std::memset(buffer_.data() + bytes, ' ', kFastNumberOverread);
  begin_ = offset;
  held_ = bytes;
  return result;
}

/// Length of the line that begins `at` bytes into the buffer, if its end is there.
std::size_t LineText::lineLength(std::size_t at) const {
  const char* const line = buffer_.data() + at;
  const char* const end = buffer_.data() + held_;
  const char* const lineEnd = logicalLineEnd(line, end);
  if (lineEnd == end && begin_ + held_ < source_.size()) return kIncomplete;
  return static_cast<std::size_t>(lineEnd - line);
}

Result LineText::fetch(std::uint64_t offset, std::string_view& line) {
  line = {};
  if (offset >= source_.size()) return {};
  std::size_t length = kIncomplete;
  if (offset >= begin_ && offset < begin_ + held_) {
    length = lineLength(static_cast<std::size_t>(offset - begin_));
  }
  if (length == kIncomplete) {
    const bool near = offset >= begin_ && offset - begin_ <= held_ + pieceBytes_;
    pieceBytes_ = std::min(mostBytes_, near ? 2 * pieceBytes_ : kSmallPiece);
    for (std::size_t bytes = pieceBytes_;; bytes *= 2) {
      Result result = load(offset, bytes);
      if (!result) return result;
      length = lineLength(0);
      if (length != kIncomplete) break;
    }
  }
  line = {buffer_.data() + (offset - begin_), length};
  return {};
}

}  // namespace WavefrontOBJ
