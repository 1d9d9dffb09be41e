#pragma once

#include <cstddef>
#include <cstdint>

namespace host {

/// A memory area that crosses no 4 GiB boundary of the address space. The pointer fields of the host's
/// records are 32 bits wide: they hold the low half of an address, and the upper half is that of the record
/// that holds the field. On 32-bit machines they are plain pointers.
class Arena {
 public:
  /// What records and blocks are aligned to, and the least distance between two of them.
  static constexpr std::size_t kAlignment = 16;
  /// What every byte holds that nobody has written: a field taken for another is a far number.
  static constexpr std::uint8_t kPattern = 0xA5;

  /// Room for `capacity` bytes. Throws std::bad_alloc.
  explicit Arena(std::size_t capacity);
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;
  ~Arena();

  /// Where in an area of 2 x `bytes` bytes from address `first` on there are `bytes` without such a boundary
  /// between them.
  static std::uint64_t placeIn(std::uint64_t first, std::uint64_t bytes);
  /// The room that `allocate` takes for `bytes`.
  static std::size_t roomFor(std::size_t bytes);
  /// `bytes` bytes filled with the pattern, and at least as many of it behind them as the alignment has;
  /// valid while the arena lives. Never at an address whose low half is 0. Throws std::bad_alloc when the
  /// arena is full.
  std::uint8_t* allocate(std::size_t bytes);

  /// All bytes handed out so far, gaps included.
  std::uint8_t* begin() const { return base_; }
  std::uint8_t* end() const { return base_ + used_; }

  /// What a pointer field holds for `address`.
  static std::uint32_t pointerField(const void* address);

 private:
  void* mapping_;
  std::size_t mappingBytes_;
  std::uint8_t* base_;
  std::size_t capacity_;
  std::size_t used_;
};

}  // namespace host
