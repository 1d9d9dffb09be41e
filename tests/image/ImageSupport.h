#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "image/BitMap.h"
#include "system/Memory.h"

using Bytes = std::vector<unsigned char>;

/// A bitmap that frees its buffer.
struct OwnedBitMap : ABitMap {
  OwnedBitMap() = default;
  OwnedBitMap(OwnedBitMap&& other) noexcept : ABitMap(other) { other.Reset(); }
  OwnedBitMap& operator=(OwnedBitMap&&) = delete;
  ~OwnedBitMap() { Free(); }

  Bytes bytes() const { return {buffer, buffer + BufferBytes()}; }
};

/// Debugging stops so far (StopsTest.cpp).
extern int gStops;

/// The four margins and the stored size of a test image.
struct Geometry {
  std::int32_t width, height, left = 0, top = 0, right = 0, bottom = 0;
};

/// One pixel, one row, one column, odd sizes, cropped on every side, stored outside the image.
inline const Geometry kGeometries[] = {{1, 1},
                                       {17, 1},
                                       {1, 19},
                                       {13, 11},
                                       {64, 5},
                                       {7, 5, 3, 2, 1, 4},
                                       {5, 9, 0, 0, 6, 0},
                                       {12, 3, 0, 7, 0, 0},
                                       {15, 13, -2, -3, -1, -4},
                                       {9, 8, 4, -2, -3, 5},
                                       {6, 6, -2, 0, 2, 0}};
/// Images of which the work is done in more than one piece, be it of rows or of all pixels.
inline const Geometry kLargeGeometries[] = {{1100, 5}, {70, 70}};
/// Without a pixel, but with a buffer.
inline const Geometry kEmptyGeometries[] = {{0, 0}, {0, 4}, {5, 0}};

/// The lists one after the other.
template <std::size_t... kCounts>
std::vector<Geometry> joined(const Geometry (&... lists)[kCounts]) {
  std::vector<Geometry> all;
  (all.insert(all.end(), lists, lists + kCounts), ...);
  return all;
}

inline std::string describe(const ABitMap& map) {
  return std::to_string(map.width) + "x" + std::to_string(map.height) + "x" + std::to_string(map.depth) +
         " l" + std::to_string(map.left) + " t" + std::to_string(map.top) + " r" + std::to_string(map.right) +
         " b" + std::to_string(map.bottom);
}

/// An image with pixels of random bytes of which the highest bits vary little, so that values repeat.
inline OwnedBitMap randomBitMap(Random& random, const Geometry& g, std::int32_t depth,
                                std::uint32_t mask = 0xFF) {
  OwnedBitMap map;
  map.AllocateCropped(g.left + g.width + g.right, g.top + g.height + g.bottom, g.top, g.left,
                      g.top + g.height, g.left + g.width, depth);
  if (map.buffer == nullptr) map.Allocate(map.fullWidth, map.fullHeight, depth);
  for (std::int32_t i = 0; i < map.BufferBytes(); ++i)
    map.buffer[i] = static_cast<unsigned char>(random() & mask);
  map.fillValue = static_cast<std::uint32_t>(random());
  return map;
}

/// Gives a bitmap the margins that `Allocate` leaves behind in one that was cropped.
inline void setStaleMargins(ABitMap& map) {
  map.left = 3;
  map.top = -2;
  map.right = 1;
  map.bottom = 7;
}
inline void clearMargins(ABitMap& map) {
  map.left = map.top = map.right = map.bottom = 0;
}

/// The 32-bit pixel at a byte position, put together by hand.
inline std::uint32_t word(const unsigned char* at) {
  return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
}

/// The value of a pixel of a logical image of depth 32, or 8: from the buffer by the definition, else the
/// fill.
inline std::uint32_t logical(const ABitMap& map, std::int32_t x, std::int32_t y) {
  const std::int32_t dx = x - map.left;
  const std::int32_t dy = y - map.top;
  const bool inside = x >= 0 && y >= 0 && x < map.fullWidth && y < map.fullHeight;
  const bool stored = inside && dx >= 0 && dy >= 0 && dx < map.width && dy < map.height;
  const std::int32_t index = dy * map.width + dx;
  if (map.depth == 8) return stored ? map.buffer[index] : map.fillValue & 0xFF;
  return stored ? word(map.buffer + 4 * index) : map.fillValue;
}
