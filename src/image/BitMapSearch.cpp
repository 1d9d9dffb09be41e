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

// The places where a height counts: wanted(color, x, y), with the colour map's value and the place in the
// logical image, is asked for those that are below the least height so far.
template <class Wanted>
std::int32_t leastHeight(const ABitMap& heights, std::int32_t start, const ABitMap& colorMap, Wanted wanted) {
  if (heights.width != heights.fullWidth || heights.height != heights.fullHeight) return start;
  const StoredRows values(heights, 4);
  const StoredRows colors(colorMap, 4);
  const PixelRect part = intersection(colors.rect(), values.rect());
  std::int32_t least = start;
  for (std::int64_t y = part.y; y < part.y + part.h; ++y) {
    const unsigned char* const color = colors.at(part.x, y);
    const unsigned char* const value = values.at(part.x, y);
    for (std::int64_t i = 0; i < part.w; ++i) {
      const auto height = static_cast<std::int32_t>(pixelbytes::load<std::uint32_t>(value + 4 * i));
      if (height >= least) continue;
      const auto c = pixelbytes::load<std::uint32_t>(color + 4 * i);
      if (c > 0xFFFFFF && wanted(c, part.x + i, y)) least = height;
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
