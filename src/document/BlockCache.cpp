#include "document/BlockCache.h"

#include <algorithm>

#include "LargePages.h"
#include "obj/text/FastNumber.h"

namespace WavefrontOBJ {

BlockCache::BlockCache(const Source& source, std::size_t capacity) : source_(source), capacity_(capacity) {}

Result BlockCache::block(std::uint64_t offset, std::string_view& bytes) {
  if (bytes_ == nullptr) makeRoom();
  const std::uint64_t number = offset / kBlockBytes;
  if (placeOf_[number] == kNowhere) {
    Result result = load(number);
    if (!result) return result;
  }
  bytes = {bytesOf(placeOf_[number]), length(number)};
  return {};
}

/// Bytes of block `number` and what is read behind it.
std::size_t BlockCache::length(std::uint64_t number) const {
  return static_cast<std::size_t>(
      std::min<std::uint64_t>(kPlaceBytes, source_.size() - number * kBlockBytes));
}

void BlockCache::makeRoom() {
  const std::uint64_t blocks = source_.size() / kBlockBytes + 1;
  const std::uint64_t places = std::clamp<std::uint64_t>(capacity_ / kPlaceBytes, 1, blocks);
  placeOf_.assign(static_cast<std::size_t>(blocks), kNowhere);
  blockIn_.resize(static_cast<std::size_t>(places));
  const std::size_t size = blockIn_.size() * kPlaceBytes + kFastNumberOverread;
  bytes_ = std::make_unique_for_overwrite<char[]>(size);
  preferLargePages(bytes_.get(), size);
}

Result BlockCache::load(std::uint64_t number) {
  std::size_t place = taken_;
  if (taken_ == blockIn_.size()) {
    random_ = random_ * 1664525 + 1013904223;
    place = static_cast<std::size_t>(std::uint64_t{random_} * taken_ >> 32);
    placeOf_[blockIn_[place]] = kNowhere;
  }
  Result result = source_.read(number * kBlockBytes, bytesOf(place), length(number));
  if (!result) return result;
  taken_ = std::max(taken_, place + 1);
  blockIn_[place] = number;
  placeOf_[number] = static_cast<std::uint32_t>(place);
  return result;
}

}  // namespace WavefrontOBJ
