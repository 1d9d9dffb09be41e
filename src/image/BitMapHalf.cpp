#include <algorithm>
#include <cstring>

#include "geometry/Fixed.h"
#include "geometry/Rect.h"
#include "image/BitMap.h"
#include "image/LogicalPixels.h"
#include "system/Memory.h"

namespace {

// Destination pixels at a time; their source pixels, one more at the end, fit into a run and into the cache.
constexpr std::int64_t kBlock = 256;
constexpr std::int64_t kSourceBlock = 2 * kBlock + 1;
static_assert(kSourceBlock <= LogicalPixels::kMaxRun);

// The pixels of one row with those outside the image held at its edge.
class EdgeRow {
 public:
  explicit EdgeRow(const ABitMap& map)
      : pixels_(map, 4), lastX_(std::int64_t{map.fullWidth} - 1), lastY_(std::int64_t{map.fullHeight} - 1) {}

  const unsigned char* run(std::int64_t x, std::int64_t y, std::int64_t count) {
    y = std::clamp<std::int64_t>(y, 0, lastY_);
    if (x >= 0 && x + count - 1 <= lastX_) return pixels_.run(x, y, count);
    const std::int64_t first = std::clamp<std::int64_t>(x, 0, lastX_);
    const std::int64_t last = std::clamp<std::int64_t>(x + count - 1, 0, lastX_);
    const unsigned char* const inside = pixels_.run(first, y, last - first + 1);
    for (std::int64_t i = 0; i < count; ++i) {
      const std::int64_t from = std::clamp<std::int64_t>(x + i, first, last) - first;
      std::memcpy(block_ + 4 * i, inside + 4 * from, 4);
    }
    return block_;
  }

 private:
  LogicalPixels pixels_;
  std::int64_t lastX_;
  std::int64_t lastY_;
  unsigned char block_[kSourceBlock * 4];
};

// Rows weighted 1, 2, 1, byte by byte.
void sumRows(std::uint16_t* sums, const unsigned char* above, const unsigned char* centre,
             const unsigned char* below, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) {
    sums[i] = static_cast<std::uint16_t>(above[i] + 2 * centre[i] + below[i]);
  }
}

// Every second pixel of the sums and its neighbours weighted 1, 2, 1, divided by 16, without alpha.
void sumColumns(unsigned char* to, const std::uint16_t* sums, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    const std::uint16_t* const at = sums + 8 * i;
    unsigned char* const pixel = to + 4 * i;
    pixel[0] = 0;
    for (std::size_t c = 1; c < 4; ++c) {
      pixel[c] = static_cast<unsigned char>((at[c] + 2 * at[4 + c] + at[8 + c]) >> 4);
    }
  }
}

// Fills `area` of the destination from the source pixel (sourceX, sourceY) on.
void reduce(const ABitMap& source, ABitMap& destination, std::int64_t sourceX, std::int64_t sourceY,
            const PixelRect& area) {
  if (area.empty() || source.fullWidth < 1 || source.fullHeight < 1) return;
  const StoredRows rows(destination, 4);
  const PixelRect part = intersection(area, rows.visible());
  EdgeRow above(source);
  EdgeRow centre(source);
  EdgeRow below(source);
  for (std::int64_t y = part.y; y < part.y + part.h; ++y) {
    const std::int64_t sy = sourceY + 2 * (y - area.y);
    for (std::int64_t x = part.x; x < part.x + part.w; x += kBlock) {
      const std::int64_t count = std::min(kBlock, part.x + part.w - x);
      const std::int64_t sx = sourceX + 2 * (x - area.x) - 1;
      const std::int64_t wide = 2 * count + 1;
      std::uint16_t sums[kSourceBlock * 4];
      sumRows(sums, above.run(sx, sy - 1, wide), centre.run(sx, sy, wide), below.run(sx, sy + 1, wide),
              static_cast<std::size_t>(4 * wide));
      sumColumns(rows.at(x, y), sums, static_cast<std::size_t>(count));
    }
  }
}

}  // namespace

void ABitMap_BltRGBAHalfSizentialisedQubic(const ABitMap& source, ABitMap& destination,
                                           const ARect& sourceRect, const ARect& destinationRect) {
  reduce(source, destination, fixed::toWhole(sourceRect.left), fixed::toWhole(sourceRect.top),
         {fixed::toWhole(destinationRect.left), fixed::toWhole(destinationRect.top),
          fixed::toWhole(destinationRect.Width()), fixed::toWhole(destinationRect.Height())});
}

std::int32_t ABitMap::CreateHalfSizeBitMap(ABitMap& destination) const {
  if (buffer == nullptr || fullWidth < 2 || fullHeight < 2) return -1;
  const ABitMap source = *this;
  // The destination may be this bitmap.
  if (&destination == this) destination.buffer = nullptr;
  destination.Free();
  const bool good = destination.Allocate(source.fullWidth >> 1, source.fullHeight >> 1, 32) != nullptr;
  // In whole pixels, not by rectangles, whose 16.16 edges end at 32767.
  if (good) reduce(source, destination, 0, 0, {0, 0, destination.fullWidth, destination.fullHeight});
  if (&destination == this) MY_MEM_FREE(source.buffer);
  return good ? 0 : -1;
}
