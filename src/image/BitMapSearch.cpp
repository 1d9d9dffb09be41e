#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "image/BitMap.h"
#include "image/LogicalPixels.h"
#include "image/VectorClones.h"
#include "image/WordKernels.h"

namespace {

KSMTH_VECTOR_CLONES
std::int32_t leastOf(const unsigned char* pixels, std::size_t count, std::int32_t start) {
  std::int32_t least = start;
  for (std::size_t i = 0; i < count; ++i) {
    least = std::min(least, static_cast<std::int32_t>(pixelbytes::load<std::uint32_t>(pixels + 4 * i)));
  }
  return least;
}

// The least height where the colour's high-order byte is not 0 and wanted(color, other), of pixels as they
// lie in memory, holds; the greatest number there is without any.
template <class Wanted>
inline std::int32_t leastWhere(const unsigned char* heights, const unsigned char* colors,
                               const unsigned char* others, std::int64_t count, Wanted wanted) {
  constexpr std::uint32_t kAlphaBits = pixelbytes::turned(std::uint32_t{0xFF000000});
  std::int32_t least = INT32_MAX;
  for (std::int64_t i = 0; i < count; ++i) {
    const auto height = pixelbytes::load<std::uint32_t>(heights + 4 * i);
    const auto color = pixelbytes::loadTurned<std::uint32_t>(colors + 4 * i);
    const auto other = pixelbytes::loadTurned<std::uint32_t>(others + 4 * i);
    // All ones where the height counts: a choice would be compiled to a jump for every pixel.
    const auto covered = static_cast<std::uint32_t>((color & kAlphaBits) != 0);
    const std::uint32_t counts = 0U - (covered & static_cast<std::uint32_t>(wanted(color, other)));
    least = std::min(least, static_cast<std::int32_t>((height & counts) | (INT32_MAX & ~counts)));
  }
  return least;
}

KSMTH_VECTOR_CLONES
std::int32_t leastCovered(const unsigned char* heights, const unsigned char* colors, std::int64_t count) {
  return leastWhere(heights, colors, colors, count, [](std::uint32_t, std::uint32_t) { return true; });
}

// Of these, where the mask is at least `minMask`.
KSMTH_VECTOR_CLONES
std::int32_t leastMasked(const unsigned char* heights, const unsigned char* colors, const unsigned char* mask,
                         std::int64_t count, std::uint32_t minMask) {
  return leastWhere(heights, colors, mask, count, [minMask](std::uint32_t, std::uint32_t other) {
    return pixelbytes::turned(other) >= minMask;
  });
}

// Of these, where the colour is not the previous one.
KSMTH_VECTOR_CLONES
std::int32_t leastDiffering(const unsigned char* heights, const unsigned char* colors,
                            const unsigned char* previous, std::int64_t count) {
  constexpr std::uint32_t kColorBits = pixelbytes::turned(std::uint32_t{0x00FFFFFF});
  return leastWhere(heights, colors, previous, count, [](std::uint32_t color, std::uint32_t other) {
    return ((color ^ other) & kColorBits) != 0;
  });
}

// The least of `start` and the heights that the colour map covers: leastOfRun(least, heights, colors, x, y,
// count) is asked, for runs with one below the least so far, for the least that counts; it is told the run's.
template <class LeastOfRun>
std::int32_t leastHeight(const ABitMap& heights, std::int32_t start, const ABitMap& colorMap,
                         LeastOfRun leastOfRun) {
  // Runs in which nothing is low enough, which are nearly all, are passed over at the memory's speed.
  constexpr std::int64_t kRun = 256;
  if (heights.width != heights.fullWidth || heights.height != heights.fullHeight) return start;
  const StoredRows values(heights, 4);
  const StoredRows colors(colorMap, 4);
  const PixelRect part = intersection(colors.rect(), values.rect());
  std::int32_t least = start;
  for (std::int64_t y = part.y; y < part.y + part.h; ++y) {
    for (std::int64_t x = part.x; x < part.x + part.w; x += kRun) {
      const std::int64_t count = std::min(kRun, part.x + part.w - x);
      const unsigned char* const color = colors.at(x, y);
      const unsigned char* const value = values.at(x, y);
      const std::int32_t candidate = leastCovered(value, color, count);
      if (candidate < least) least = std::min(least, leastOfRun(candidate, value, color, x, y, count));
    }
  }
  return least;
}

}  // namespace

std::int32_t ABitMap::MinValue32(std::int32_t start) const {
  return leastOf(buffer, StoredRows(*this, 4).count(), start);
}

std::int32_t ABitMap::FullMinValue32ColorMap(std::int32_t start, const ABitMap& colorMap, const ABitMap* mask,
                                             std::uint32_t minMask) const {
  using Pixels = const unsigned char*;
  if (mask == nullptr) {
    return leastHeight(*this, start, colorMap,
                       [](std::int32_t candidate, Pixels, Pixels, std::int64_t, std::int64_t, std::int64_t) {
                         return candidate;
                       });
  }
  LogicalPixels masks(*mask, 4);
  return leastHeight(*this, start, colorMap,
                     [&masks, minMask](std::int32_t, Pixels heights, Pixels colors, std::int64_t x,
                                       std::int64_t y, std::int64_t count) {
                       return leastMasked(heights, colors, masks.run(x, y, count), count, minMask);
                     });
}

std::int32_t ABitMap::FullMinValue32ColorMapDiffers(std::int32_t start, const ABitMap& colorMap,
                                                    const ABitMap& previous) const {
  using Pixels = const unsigned char*;
  if (previous.buffer == nullptr) return start;
  LogicalPixels before(previous, 4);
  return leastHeight(*this, start, colorMap,
                     [&before](std::int32_t, Pixels heights, Pixels colors, std::int64_t x, std::int64_t y,
                               std::int64_t count) {
                       return leastDiffering(heights, colors, before.run(x, y, count), count);
                     });
}
