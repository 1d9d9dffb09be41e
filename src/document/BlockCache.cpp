#include "document/BlockCache.h"

#include <algorithm>

#include "obj/text/FastNumber.h"

namespace WavefrontOBJ {

BlockCache::BlockCache(const Source& source, std::size_t capacity) : source_(source), capacity_(capacity) {}

Result BlockCache::block(std::uint64_t offset, std::string_view& bytes) {
  if (bytes_ == nullptr) {
    const std::uint64_t blocks =
        std::min<std::uint64_t>(capacity_ / kPlaceBytes, source_.size() / kBlockBytes) + 1;
    held_.assign(static_cast<std::size_t>(blocks), 0);
    bytes_ = std::make_unique_for_overwrite<char[]>(held_.size() * kPlaceBytes + kFastNumberOverread);
  }
  const std::uint64_t number = offset / kBlockBytes;
  const auto place = static_cast<std::size_t>(number % held_.size());
  char* const data = placeOf(offset);
  const std::uint64_t begin = number * kBlockBytes;
  const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(kPlaceBytes, source_.size() - begin));
  if (held_[place] != number + 1) {
    held_[place] = 0;
    Result result = source_.read(begin, data, length);
    if (!result) return result;
    held_[place] = number + 1;
  }
  bytes = {data, length};
  return {};
}

}  // namespace WavefrontOBJ
