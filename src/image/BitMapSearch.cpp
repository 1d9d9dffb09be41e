#include <algorithm>

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

// The least height where the colour's high-order byte is not 0; the greatest number there is without any.
KSMTH_VECTOR_CLONES
std::int32_t leastCovered(const unsigned char* heights, const unsigned char* colors, std::int64_t count) {
  constexpr std::uint32_t kAlphaBits = pixelbytes::turned(std::uint32_t{0xFF000000});
  std::int32_t least = INT32_MAX;
  for (std::int64_t i = 0; i < count; ++i) {
    const auto height = pixelbytes::load<std::uint32_t>(heights + 4 * i);
    // All ones where the height counts: a choice would be compiled to a jump for every pixel.
    const bool covered = (pixelbytes::loadTurned<std::uint32_t>(colors + 4 * i) & kAlphaBits) != 0;
    const std::uint32_t counts = 0U - static_cast<std::uint32_t>(covered);
    least = std::min(least, static_cast<std::int32_t>((height & counts) | (INT32_MAX & ~counts)));
  }
  return least;
}

// The least height at the places that count: wanted(color, x, y), with the colour map's value and the place
// in the logical image, is asked for those that are below the least so far.
template <class Wanted>
std::int32_t leastHeight(const ABitMap& heights, std::int32_t start, const ABitMap& colorMap, Wanted wanted) {
  // Runs in which nothing is low enough, which are nearly all, are passed over at the memory's speed.
  constexpr std::int64_t kRun = 256;
  if (heights.width != heights.fullWidth || heights.height != heights.fullHeight) return start;
  const StoredRows values(heights, 4);
  const StoredRows colors(colorMap, 4);
  const PixelRect part = intersection(colors.rect(), values.rect());
  std::int32_t least = start;
  for (std::int64_t y = part.y; y < part.y + part.h; ++y) {
    for (std::int64_t first = part.x; first < part.x + part.w; first += kRun) {
      const std::int64_t count = std::min(kRun, part.x + part.w - first);
      const unsigned char* const color = colors.at(first, y);
      const unsigned char* const value = values.at(first, y);
      if (leastCovered(value, color, count) >= least) continue;
      for (std::int64_t i = 0; i < count; ++i) {
        const auto height = static_cast<std::int32_t>(pixelbytes::load<std::uint32_t>(value + 4 * i));
        const auto c = pixelbytes::load<std::uint32_t>(color + 4 * i);
        if (height < least && c > 0xFFFFFF && wanted(c, first + i, y)) least = height;
      }
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
  return leastHeight(*this, start, colorMap, [=](std::uint32_t, std::int64_t x, std::int64_t y) {
    return mask == nullptr ||
           mask->ReadValue32(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y)) >= minMask;
  });
}

std::int32_t ABitMap::FullMinValue32ColorMapDiffers(std::int32_t start, const ABitMap& colorMap,
                                                    const ABitMap& previous) const {
  if (previous.buffer == nullptr) return start;
  LogicalPixels before(previous, 4);
  return leastHeight(*this, start, colorMap, [&before](std::uint32_t color, std::int64_t x, std::int64_t y) {
    return ((color ^ before.at(x, y)) & 0xFFFFFF) != 0;
  });
}
