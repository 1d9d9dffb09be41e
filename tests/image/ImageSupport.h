#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "image/BitMap.h"
#include "system/Memory.h"

using Bytes = std::vector<unsigned char>;

/// A bitmap with a buffer of its own.
struct OwnedBitMap : ABitMap {
  OwnedBitMap() = default;
  OwnedBitMap(std::int32_t w, std::int32_t h, std::int32_t d) { Allocate(w, h, d); }
  OwnedBitMap(const OwnedBitMap& other) : ABitMap(other) {
    if (buffer == nullptr) return;
    buffer = static_cast<unsigned char*>(MY_MEM_MALLOC(BufferBytes(), "copy"));
    std::memcpy(buffer, other.buffer, static_cast<std::size_t>(BufferBytes()));
  }
  OwnedBitMap& operator=(const OwnedBitMap&) = delete;
  ~OwnedBitMap() { Free(); }

  Bytes bytes() const { return {buffer, buffer + BufferBytes()}; }
  std::string text() const { return {buffer, buffer + BufferBytes()}; }
};

inline std::int32_t between(Random& random, std::int32_t least, std::int32_t end) {
  return least + static_cast<std::int32_t>(below(random, static_cast<std::uint32_t>(end - least)));
}

/// The four margins and the stored size of a test image.
struct Geometry {
  std::int32_t width, height, left = 0, top = 0, right = 0, bottom = 0;
};

/// Three without a pixel, but with a buffer; one pixel, one row, one column, odd sizes, cropped on every
/// side, in one axis, stored outside the image; and two of which the work is done in more than one piece, be
/// it of rows or of all pixels.
inline constexpr Geometry kEveryGeometry[] = {{0, 0},
                                              {0, 4},
                                              {5, 0},
                                              {1, 1},
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
inline constexpr std::span kGeometries = std::span(kEveryGeometry).subspan<3>();
inline constexpr std::span kSmallGeometries = std::span(kEveryGeometry).first<12>();

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

/// The index of the pixel stored for a position, be it outside the image; -1 for none.
inline std::int32_t placeOf(const ABitMap& map, std::int64_t x, std::int64_t y) {
  const std::int64_t dx = x - map.left;
  const std::int64_t dy = y - map.top;
  const bool stored = dx >= 0 && dy >= 0 && dx < map.width && dy < map.height;
  return stored ? static_cast<std::int32_t>(dy * map.width + dx) : -1;
}
/// The same for a position of the image alone.
inline std::int32_t storedIndex(const ABitMap& map, std::int64_t x, std::int64_t y) {
  return x >= 0 && y >= 0 && x < map.fullWidth && y < map.fullHeight ? placeOf(map, x, y) : -1;
}
/// A stored pixel of depth 8, 16 or 32; the fill value for index -1.
inline std::uint32_t pixel(const ABitMap& map, std::int32_t index) {
  std::uint32_t value = map.fillValue;
  const std::int32_t size = map.depth / 8;
  for (std::int32_t i = 0; index >= 0 && i < size; ++i) value = value << 8 | map.buffer[index * size + i];
  return map.depth < 32 ? value & ((1U << map.depth) - 1) : value;
}
inline std::uint32_t logical(const ABitMap& map, std::int64_t x, std::int64_t y) {
  return pixel(map, storedIndex(map, x, y));
}
