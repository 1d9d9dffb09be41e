#pragma once

#include <cstddef>
#include <cstdint>

#include "image/BitMapRegion.h"
#include "image/PixelBytes.h"
#include "system/Host.h"

// Row loops for 32-bit pixels, for the compiler to vectorise: kernels take and give pixels as they lie in
// memory (`pixelbytes::turned` of their values).

/// p = kernel(p) for `count` pixels.
template <class Kernel>
void mapWords(unsigned char* pixels, std::size_t count, Kernel kernel) {
  for (std::size_t i = 0; i < count; ++i) {
    unsigned char* const at = pixels + 4 * i;
    pixelbytes::storeTurned<std::uint32_t>(at, kernel(pixelbytes::loadTurned<std::uint32_t>(at)));
  }
}

/// p = kernel(p, q) for `count` pixels of two images, which may be the same one.
template <class Kernel>
void mapWords(unsigned char* pixels, const unsigned char* others, std::size_t count, Kernel kernel) {
  for (std::size_t i = 0; i < count; ++i) {
    unsigned char* const at = pixels + 4 * i;
    pixelbytes::storeTurned<std::uint32_t>(at, kernel(pixelbytes::loadTurned<std::uint32_t>(at),
                                                      pixelbytes::loadTurned<std::uint32_t>(others + 4 * i)));
  }
}

/// Breaks to the debugger for a bitmap of another depth.
inline void expectDepth32(const ABitMap& map) {
  if (map.depth != 32) Sys_BreakToDebugger();
}

/// work(pixels, count) for each row of the rectangle that a 32-bit bitmap stores in its image, or once for
/// all rows where they follow one another directly.
template <class Work>
void forRowsOf(const ABitMap& map, const PixelRect& rect, Work work) {
  const StoredRows rows(map, 4);
  const PixelRect part = intersection(rect, rows.visible());
  if (part.empty()) return;
  if (part.w == rows.rect().w)
    return work(rows.at(part.x, part.y), static_cast<std::size_t>(part.w * part.h));
  for (std::int64_t y = part.y; y < part.y + part.h; ++y) {
    work(rows.at(part.x, y), static_cast<std::size_t>(part.w));
  }
}
