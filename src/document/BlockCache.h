#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "KSmthExport.h"
#include "document/Result.h"
#include "document/Source.h"

namespace WavefrontOBJ {

/// Blocks of a source that were read before, for places that lie scattered and are asked for again. Each
/// block has one place in memory, which it shares with those that lie a multiple of the capacity away: a walk
/// round more than there is room for still finds part of it. Memory is taken as blocks are read.
class KSMTH_API BlockCache {
 public:
  static constexpr std::size_t kBlockBytes = 4096;
  /// What of the next block is read with each: room for most lines that begin in a block and end in the next.
  static constexpr std::size_t kOverlapBytes = 128;

  /// `source` must outlive it. At most `capacity` bytes are kept.
  BlockCache(const Source& source, std::size_t capacity);

  /// The block that `offset`, which lies within the source, is in, and the overlap. Valid until the next
  /// call; as many bytes as a number is read past its end may be read behind it. May throw std::bad_alloc.
  Result block(std::uint64_t offset, std::string_view& bytes);
  /// Tells the processor that the bytes at `offset` are wanted soon.
  void prefetch(std::uint64_t offset) const {
    if (bytes_ != nullptr) __builtin_prefetch(placeOf(offset) + offset % kBlockBytes);
  }

 private:
  static constexpr std::size_t kPlaceBytes = kBlockBytes + kOverlapBytes;

  char* placeOf(std::uint64_t offset) const {
    return bytes_.get() + static_cast<std::size_t>(offset / kBlockBytes % held_.size()) * kPlaceBytes;
  }

  const Source& source_;
  std::size_t capacity_;
  std::vector<std::uint64_t> held_;  ///< number + 1 of the block in each place, 0 for none
  std::unique_ptr<char[]> bytes_;
};

}  // namespace WavefrontOBJ
