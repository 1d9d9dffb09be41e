#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/BitMapRegion.h"
#include "image/PixelBytes.h"
#include "image/RowKernels.h"
#include "system/Host.h"

// Row loops for 32-bit pixels, for the compiler to vectorise: kernels take and give pixels as they lie in
// memory (`pixelbytes::turned` of their values).

/// The pixels of a line of the cache, which compilers keep in registers.
struct PixelBlock {
  alignas(4 * pixelbytes::kLinePixels) std::uint32_t words[pixelbytes::kLinePixels];
};

/// word(i) of each pixel from `first` on.
template <class Word>
[[gnu::always_inline]] inline PixelBlock blockOf(std::size_t first, Word word) {
  PixelBlock block;
  for (std::size_t k = 0; k < pixelbytes::kLinePixels; ++k) block.words[k] = word(first + k);
  return block;
}

/// Each of `count` pixels becomes word(i), which may look at pixel i as it was. By lines of the cache, and in
/// vectors to either end: what the first and the last line's worth come to is found out before anything is
/// stored, and stored when the lines between them are done.
template <class Word>
[[gnu::always_inline]] inline void setWords(unsigned char* pixels, std::size_t count, Word word) {
  constexpr std::size_t kStep = pixelbytes::kLinePixels;
  if (count < kStep) {
    for (std::size_t i = 0; i < count; ++i) pixelbytes::storeTurned<std::uint32_t>(pixels + 4 * i, word(i));
    return;
  }
  const PixelBlock first = blockOf(0, word);
  const PixelBlock last = blockOf(count - kStep, word);
  const std::size_t lead = pixelbytes::pixelsToLine(pixels);
  const std::size_t end = lead + (count - lead) / kStep * kStep;
  for (std::size_t i = lead; i < end; ++i) pixelbytes::storeTurned<std::uint32_t>(pixels + 4 * i, word(i));
  std::memcpy(pixels, &first, sizeof first);
  std::memcpy(pixels + 4 * (count - kStep), &last, sizeof last);
}

/// p = kernel(p) for `count` pixels.
template <class Kernel>
[[gnu::always_inline]] inline void mapWords(unsigned char* pixels, std::size_t count, Kernel kernel) {
  setWords(pixels, count, [pixels, kernel](std::size_t i) {
    return kernel(pixelbytes::loadTurned<std::uint32_t>(pixels + 4 * i));
  });
}

/// p = kernel(p, q) for `count` pixels of two images, which may be the same pixels, but none that overlap
/// otherwise.
template <class Kernel>
[[gnu::always_inline]] inline void mapWords(unsigned char* pixels, const unsigned char* others,
                                            std::size_t count, Kernel kernel) {
  setWords(pixels, count, [pixels, others, kernel](std::size_t i) {
    return kernel(pixelbytes::loadTurned<std::uint32_t>(pixels + 4 * i),
                  pixelbytes::loadTurned<std::uint32_t>(others + 4 * i));
  });
}

/// Breaks to the debugger for a bitmap of another depth.
inline void expectDepth32(const ABitMap& map) {
  if (map.depth != 32) Sys_BreakToDebugger();
}

/// The rows of the rectangle that a 32-bit bitmap stores in its image; one of all pixels where they follow
/// one another directly.
inline rowkernels::Rows rowsOf(const ABitMap& map, const PixelRect& rect) {
  const StoredRows rows(map, 4);
  const PixelRect part = intersection(rect, rows.visible());
  const rowkernels::Rows found = rows.rowsOf(part);
  if (part.empty() || part.w != rows.rect().w) return found;
  return {found.at, found.bytes * found.count, 1, found.bytes * found.count};
}

/// work(pixels, count) for each of them.
template <class Work>
void forRowsOf(const ABitMap& map, const PixelRect& rect, Work work) {
  const rowkernels::Rows rows = rowsOf(map, rect);
  for (std::size_t y = 0; y < rows.count; ++y) work(rows.at + y * rows.stride, rows.bytes / 4);
}
