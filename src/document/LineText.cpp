#include "document/LineText.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "document/LogicalLine.h"
#include "obj/text/FastNumber.h"

namespace WavefrontOBJ {
namespace {

/// The first piece where lines begin to follow one another.
constexpr std::size_t kSmallPiece = 1024;
/// A line that begins so many bytes behind what was read, or less, follows it.
constexpr std::uint64_t kNear = 256;
/// Blocks of lines that lie scattered are kept up to this.
constexpr std::size_t kCacheBytes = std::size_t{64} << 20;
constexpr std::size_t kIncomplete = static_cast<std::size_t>(-1);

}  // namespace

LineText::LineText(const Source& source, std::size_t mostBytes)
    : source_(source),
      mostBytes_(std::max<std::size_t>(mostBytes, 1)),
      pieceBytes_(std::min(mostBytes_, 4 * kSmallPiece)),
      blocks_(source, kCacheBytes) {}

Result LineText::loadBlock(std::uint64_t offset) {
  text_ = {};
  begin_ = offset - offset % BlockCache::kBlockBytes;
  try {
    return blocks_.block(offset, text_);
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, source_.name() + ": out of memory"};
  }
}

Result LineText::loadPiece(std::uint64_t offset, std::size_t bytes) {
  bytes = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, source_.size() - offset));
  text_ = {};
  if (piece_.size() < bytes + kFastNumberOverread) {
    try {
      piece_.resize(bytes + kFastNumberOverread);
    } catch (const std::bad_alloc&) {
      return {Status::outOfMemory, source_.name() + ": out of memory"};
    }
  }
  Result result = source_.read(offset, piece_.data(), bytes);
  if (!result) return result;
  // A number that ends with the bytes ends at a blank.
  std::memset(piece_.data() + bytes, ' ', kFastNumberOverread);
  begin_ = offset;
  text_ = {piece_.data(), bytes};
  return result;
}

/// Whether the line at `offset` is, or follows, what was read.
bool LineText::follows(std::uint64_t offset) const {
  return text_.empty() || (offset >= begin_ && offset < begin_ + text_.size() + kNear);
}

/// Length of the line that begins `at` bytes into the text, if its end is there. That of the file is known by
/// the pieces alone, which have blanks behind it.
std::size_t LineText::lineLength(std::size_t at) const {
  const char* const line = text_.data() + at;
  const char* const end = text_.data() + text_.size();
  const char* const lineEnd = logicalLineEnd(line, end);
  const bool fileEnds = text_.data() == piece_.data() && begin_ + text_.size() == source_.size();
  if ((lineEnd == end || *lineEnd == '\\') && !fileEnds) return kIncomplete;
  return static_cast<std::size_t>(lineEnd - line);
}

std::string_view LineText::at(std::uint64_t offset) {
  const bool inside = offset - begin_ < text_.size();
  if (!inside) {
    if (follows(offset) || offset >= source_.size()) return {};
    pieceBytes_ = kSmallPiece;
    if (!loadBlock(offset)) return {};
  }
  return text_.substr(static_cast<std::size_t>(offset - begin_));
}

Result LineText::fetch(std::uint64_t offset, std::string_view& line) {
  line = {};
  if (offset >= source_.size()) return {};
  const std::uint64_t end = begin_ + text_.size();
  const bool inside = offset >= begin_ && offset < end;
  const bool follows = this->follows(offset);
  std::size_t length = kIncomplete;
  if (!follows) {
    pieceBytes_ = kSmallPiece;
    Result result = loadBlock(offset);
    if (!result) return result;
  }
  if (inside || !follows) length = lineLength(static_cast<std::size_t>(offset - begin_));
  if (length == kIncomplete) {
    pieceBytes_ = std::min(mostBytes_, 2 * pieceBytes_);
    for (std::size_t bytes = pieceBytes_;; bytes *= 2) {
      Result result = loadPiece(offset, bytes);
      if (!result) return result;
      length = lineLength(0);
      if (length != kIncomplete) break;
    }
  }
  line = {text_.data() + (offset - begin_), length};
  return {};
}

}  // namespace WavefrontOBJ
