#include <algorithm>
#include <cstring>

#include "geometry/Fixed.h"
#include "geometry/Rect.h"
#include "image/BitMap.h"
#include "image/LogicalPixels.h"
#include "image/RowKernels.h"
#include "system/Memory.h"

namespace {

// Destination pixels at a time; their source pixels, one more at the end, fit into a run.
constexpr std::int64_t kBlock = 480;
static_assert(2 * kBlock + 1 <= LogicalPixels::kMaxRun);

// Three pixels from `first` on, of which those outside [0, last] are the outermost ones.
void copyClamped(unsigned char* to, LogicalPixels& source, std::int64_t first, std::int64_t last,
                 std::int64_t y) {
  const auto inside = [last](std::int64_t x) { return std::clamp<std::int64_t>(x, 0, last); };
  const std::int64_t begin = inside(first);
  const unsigned char* const line = source.run(begin, y, inside(first + 2) - begin + 1);
  for (std::int64_t i = 0; i < 3; ++i) std::memcpy(to + 4 * i, line + 4 * (inside(first + i) - begin), 4);
}

// Fills `area` of the destination from the source pixel (sourceX, sourceY) on.
void reduce(const ABitMap& source, ABitMap& destination, std::int64_t sourceX, std::int64_t sourceY,
            const PixelRect& area) {
  if (area.empty() || source.fullWidth < 1 || source.fullHeight < 1) return;
  const StoredRows rows(destination, 4);
  const StoredRows stored(source, 4);
  const PixelRect part = intersection(area, rows.visible());
  const std::int64_t lastX = std::int64_t{source.fullWidth} - 1;
  const std::int64_t lastY = std::int64_t{source.fullHeight} - 1;
  LogicalPixels pixels[3] = {{source, 4}, {source, 4}, {source, 4}};
  // Rows that are stored from end to end need not be cut into runs. Where they are, all runs of a row come
  // before the next row, as they lie in memory.
  const bool whole = stored.visible().w == stored.image().w && stored.visible().h == stored.image().h;
  const std::int64_t most = whole ? part.w : kBlock;
  const std::int64_t together = whole ? part.h : 1;
  const bool pastCaches = rows.rowsOf(part).pastCaches();
  const auto halve = rowkernels::best().halve;
  const std::int64_t end = part.x + part.w;
  for (std::int64_t top = part.y; top < part.y + part.h; top += together) {
    for (std::int64_t x = part.x, count = 0; x < end; x += count) {
      // The left neighbour of the first source pixel, which has none at the image's edge.
      const std::int64_t sx = sourceX + 2 * (x - area.x) - 1;
      const bool atEdge = sx == -1 && lastX > 0;
      const bool inside = atEdge || (sx >= 0 && sx + 2 <= lastX);
      count = inside ? std::min({atEdge && !whole ? 1 : most, end - x, (lastX - sx) / 2}) : 1;
      unsigned char around[3][3 * 4];
      const auto line = [&](int i, std::int64_t y) -> const unsigned char* {
        y = std::clamp<std::int64_t>(y, 0, lastY);
        const std::int64_t first = atEdge ? 0 : sx;
        if (whole && inside) return stored.at(first, y);
        if (inside) return pixels[i].run(first, y, sx + 2 * count + 1 - first);
        copyClamped(around[i], pixels[i], sx, lastX, y);
        return around[i];
      };
      for (std::int64_t y = top; y < top + together; ++y) {
        const std::int64_t sy = sourceY + 2 * (y - area.y);
        halve(rows.at(x, y), line(0, sy - 1), line(1, sy), line(2, sy + 1), static_cast<std::size_t>(count),
              atEdge, pastCaches);
      }
    }
  }
  if (pastCaches) rowkernels::settle();
}

}  // namespace

void ABitMap_BltRGBAHalfSizentialisedQubic(const ABitMap& source, ABitMap& destination,
                                           const ARect& sourceRect, const ARect& destinationRect) {
  if (source.buffer == nullptr) return;
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
