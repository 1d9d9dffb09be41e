#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "image/BitMap.h"

/// Channel planes out of pixels and pixels out of channel planes.
namespace psd {

/// The byte that pixels outside a bitmap have at `offset` of a 32-bit pixel; one outside 0 to 3 lies in a
/// neighbour.
inline unsigned char fillByte(const ABitMap& map, std::int32_t offset) {
  return static_cast<unsigned char>(map.fillValue >> (24 - 8 * (offset & 3)));
}

/// The buffer of a bitmap by byte positions, of which those outside read as the fill byte at `offset`.
class PaddedBytes {
 public:
  PaddedBytes(const ABitMap& map, std::int32_t offset)
      : buffer_(map.buffer), size_(map.BufferBytes()), fill_(fillByte(map, offset)) {}
  unsigned char operator[](std::int64_t at) const { return at >= 0 && at < size_ ? buffer_[at] : fill_; }

 private:
  const unsigned char* buffer_;
  std::int64_t size_;
  unsigned char fill_;
};

/// One plane to be made: the byte `offset` from the beginning of each pixel goes to `to`.
struct Plane {
  std::int32_t offset;
  unsigned char* to;
};

/// Makes planes of `count` pixels of `map` from pixel `first` of the buffer on, in one pass. Pixels lie 4
/// bytes apart whatever the depth: the files that the host reads back were always made so. Bytes outside
/// the buffer read as the fill byte.
void splitPlanes(const ABitMap& map, std::size_t first, std::size_t count, std::span<const Plane> planes);

/// 255 for each of the first `count` pixels of `mask` whose 32-bit value, signed, is less than `threshold`,
/// else 0. Pixels past the buffer's end have the fill value.
void thresholdPlane(const ABitMap& mask, std::int32_t threshold, std::size_t count, unsigned char* to);

/// Makes `count` 32-bit pixels, every byte of them, of the planes that go to their bytes 1, 2, 3 and 0. A
/// null plane is all 0.
void joinPlanes(const unsigned char* const (&planes)[4], std::size_t count, unsigned char* pixels);

}  // namespace psd
