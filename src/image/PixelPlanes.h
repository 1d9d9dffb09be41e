#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "image/BitMap.h"

/// Channel planes out of pixels and pixels out of channel planes.
namespace planes {

/// One plane to be made: the byte `offset` from the beginning of each pixel goes to `to`.
struct Plane {
  std::int32_t offset;  ///< one outside 0 to 3 lies in a neighbour
  unsigned char* to;
  unsigned char outside;  ///< stands for bytes outside the buffer
};

/// The byte that pixels outside a bitmap have at `offset`, modulo 4, of a 32-bit pixel.
inline unsigned char fillByte(const ABitMap& map, std::int32_t offset) {
  return static_cast<unsigned char>(map.fillValue >> (24 - 8 * (offset & 3)));
}

/// Makes planes of `count` pixels of `map` from pixel `first` of the buffer on, in one pass. Pixels lie 4
/// bytes apart whatever the depth: fixed by the host's contract.
void split(const ABitMap& map, std::size_t first, std::size_t count, std::span<const Plane> planes);

/// 255 for each of `count` 32-bit pixels whose value, signed, is less than `threshold`, else 0.
void compare(unsigned char* to, const unsigned char* pixels, std::int64_t threshold, std::size_t count);

/// Makes `count` 32-bit pixels, every byte of them, of the planes that go to their bytes 1, 2, 3 and 0. A
/// null plane is all 0.
void join(const unsigned char* const (&planes)[4], std::size_t count, unsigned char* pixels);

}  // namespace planes
