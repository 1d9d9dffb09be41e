#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "image/BitMap.h"

/// Channel planes out of pixels and pixels out of channel planes.
namespace psd {

/// The byte that pixels outside a bitmap have at `offset` (0 to 3) of a 32-bit pixel.
inline unsigned char fillByte(const ABitMap& map, std::int32_t offset) {
  return static_cast<unsigned char>(map.fillValue >> (24 - 8 * offset));
}

/// One plane to be made: byte `offset` (0 to 3) of each pixel goes to `to`.
struct Plane {
  std::int32_t offset;
  unsigned char* to;
};

/// Makes planes of `count` pixels of `map` from pixel `first` of the buffer on, in one pass. Pixels lie 4
/// bytes apart whatever the depth: the files that the host reads back were always made so. Bytes past the
/// buffer's end read as the fill byte.
void splitPlanes(const ABitMap& map, std::size_t first, std::size_t count, std::span<const Plane> planes);

/// 255 for each of the first `count` pixels of `mask` whose 32-bit value, signed, is less than `threshold`,
/// else 0. Pixels past the buffer's end have the fill value.
void thresholdPlane(const ABitMap& mask, std::int32_t threshold, std::size_t count, unsigned char* to);

/// Makes `count` 32-bit pixels, every byte of them, of the planes that go to their bytes 1, 2, 3 and 0. A
/// null plane is all 0.
void joinPlanes(const unsigned char* const (&planes)[4], std::size_t count, unsigned char* pixels);

}  // namespace psd
