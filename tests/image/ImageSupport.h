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
  OwnedBitMap(std::int32_t w, std::int32_t h, std::int32_t d) { Allocate(w, h, d); }
  OwnedBitMap(OwnedBitMap&& other) noexcept : ABitMap(other) { other.Reset(); }
  OwnedBitMap& operator=(OwnedBitMap&&) = delete;
  ~OwnedBitMap() { Free(); }

  Bytes bytes() const { return {buffer, buffer + BufferBytes()}; }
  std::string text() const { return {buffer, buffer + BufferBytes()}; }
};

inline OwnedBitMap copyOf(const ABitMap& map) {
  OwnedBitMap copy;
  static_cast<ABitMap&>(copy) = map;
  copy.buffer = static_cast<unsigned char*>(MY_MEM_MALLOC(map.BufferBytes(), "copy"));
  std::memcpy(copy.buffer, map.buffer, static_cast<std::size_t>(map.BufferBytes()));
  return copy;
}

/// The four margins and the stored size of a test image.
struct Geometry {
  std::int32_t width, height, left = 0, top = 0, right = 0, bottom = 0;
};

/// One pixel, one row, one column, odd sizes, cropped on every side, in one axis, stored outside the image;
/// and images of which the work is done in more than one piece, be it of rows or of all pixels.
inline const std::vector<Geometry> kGeometries = {{1, 1},
                                                  {17, 1},
                                                  {1, 19},
                                                  {13, 11},
                                                  {7, 5, 3, 2, 1, 4},
                                                  {5, 9, 0, 0, 6, 0},
                                                  {12, 3, 0, 7, 0, 0},
                                                  {15, 13, -2, -3, -1, -4},
                                                  {9, 8, 4, -2, -3, 5},
                                                  {1100, 5},
                                                  {70, 70}};
/// Without a pixel, but with a buffer.
inline const std::vector<Geometry> kEmptyGeometries = {{0, 0}, {0, 4}, {5, 0}};

/// What all pixels are looked at one by one of.
inline std::vector<Geometry> smallGeometries() {
  std::vector<Geometry> small(kGeometries.begin(), kGeometries.end() - 2);
  small.insert(small.end(), kEmptyGeometries.begin(), kEmptyGeometries.end());
  return small;
}

inline std::string describe(const ABitMap& map) {
  return std::to_string(map.width) + "x" + std::to_string(map.height) + "x" + std::to_string(map.depth) +
         " l" + std::to_string(map.left) + " t" + std::to_string(map.top) + " r" + std::to_string(map.right) +
         " b" + std::to_string(map.bottom);
}

/// An image of random bytes, of which only the bits of `mask` vary, so that values repeat.
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

/// The 32-bit pixel at a byte position, put together by hand, and back.
inline std::uint32_t word(const unsigned char* at) {
  return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
}
inline void put(ABitMap& map, std::int32_t index, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) map.buffer[4 * index + i] = static_cast<unsigned char>(value >> (24 - 8 * i));
}

/// The index of the stored pixel of a logical image, by the definition; -1 for none.
inline std::int32_t storedIndex(const ABitMap& map, std::int64_t x, std::int64_t y) {
  const std::int64_t dx = x - map.left;
  const std::int64_t dy = y - map.top;
  const bool inside = x >= 0 && y >= 0 && x < map.fullWidth && y < map.fullHeight;
  const bool stored = inside && dx >= 0 && dy >= 0 && dx < map.width && dy < map.height;
  return stored ? static_cast<std::int32_t>(dy * map.width + dx) : -1;
}
/// The value of a pixel of a logical image of depth 32, or 8.
inline std::uint32_t logical(const ABitMap& map, std::int32_t x, std::int32_t y) {
  const std::int32_t index = storedIndex(map, x, y);
  if (map.depth == 8) return index >= 0 ? map.buffer[index] : map.fillValue & 0xFF;
  return index >= 0 ? word(map.buffer + 4 * index) : map.fillValue;
}
