#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "KSmthExport.h"
#include "document/Prefetch.h"
#include "document/Result.h"
#include "document/Source.h"

namespace WavefrontOBJ {

/// Blocks of a source that were read before, for places that lie scattered and are asked for again. Where no
/// room is left, a block picked as if at random makes way: a walk round more than there is room for still
/// finds part of it. Memory is taken as blocks are read.
class KSMTH_API BlockCache {
 public:
  static constexpr std::size_t kBlockBytes = 4096;
  /// What of the next block is read with each: room for most lines that begin in a block and end in the next.
  static constexpr std::size_t kOverlapBytes = 128;

  /// `source` must outlive it. At most `capacity` bytes are kept, beside 4 for each block of the source.
  BlockCache(const Source& source, std::size_t capacity);

  /// The block that `offset`, which lies within the source, is in, and the overlap. Valid until the next
  /// call; as many bytes as a number is read past its end may be read behind it. May throw std::bad_alloc.
  Result block(std::uint64_t offset, std::string_view& bytes);
  /// Tells the processor that the bytes at `offset` are wanted soon.
  void prefetch(std::uint64_t offset) const {
    if (bytes_ == nullptr) return;
    const std::uint32_t place = placeOf_[offset / kBlockBytes];
    if (place != kNowhere) WavefrontOBJ::prefetch(bytesOf(place) + offset % kBlockBytes);
  }

 private:
  static constexpr std::size_t kPlaceBytes = kBlockBytes + kOverlapBytes;
  static constexpr std::uint32_t kNowhere = 0xFFFFFFFFU;

  char* bytesOf(std::size_t place) const { return bytes_.get() + place * kPlaceBytes; }
  std::size_t length(std::uint64_t number) const;
  void makeRoom();
  Result load(std::uint64_t number);

  const Source& source_;
  std::size_t capacity_;
  std::vector<std::uint32_t> placeOf_;  ///< of each block of the source
  std::vector<std::uint64_t> blockIn_;  ///< each place
  std::size_t taken_ = 0;               ///< places that a block was read into
  std::uint32_t random_ = 0;
  std::unique_ptr<char[]> bytes_;
};

}  // namespace WavefrontOBJ
