#include <algorithm>
#include <cstring>

#include "geometry/Fixed.h"
#include "geometry/Rect.h"
#include "image/BitMap.h"
#include "image/LogicalPixels.h"
#include "image/PixelBytes.h"
#include "image/VectorClones.h"
#include "system/Memory.h"

namespace {

// Destination pixels at a time; their source pixels, one more at the end, fit into a run, and their sums into
// the first-level cache.
constexpr std::int64_t kBlock = 480;
constexpr std::int64_t kSourceBlock = 2 * kBlock + 1;
static_assert(kSourceBlock <= LogicalPixels::kMaxRun);

// Sums of the rows of a block, weighted 1, 2, 1: of every pixel's bytes by turns one in `even` and one in
// `odd`, in 16 bits each, two side by side in 32 bits. Kept so, the sums of a pixel take one addition for two
// bytes, whatever the byte order of the machine.
struct RowSums {
  std::uint32_t even[kSourceBlock];
  std::uint32_t odd[kSourceBlock];
};

// Sums of `pixels` columns, from number `first` of the block on.
KSMTH_VECTOR_CLONES
void sumRows(RowSums& sums, std::int64_t first, const unsigned char* above, const unsigned char* centre,
             const unsigned char* below, std::int64_t pixels) {
  auto* const even = reinterpret_cast<unsigned char*>(sums.even + first);
  auto* const odd = reinterpret_cast<unsigned char*>(sums.odd + first);
  for (std::int64_t i = 0; i < 4 * pixels; i += 2) {
    const auto a = pixelbytes::loadTurned<std::uint16_t>(above + i);
    const auto b = pixelbytes::loadTurned<std::uint16_t>(centre + i);
    const auto c = pixelbytes::loadTurned<std::uint16_t>(below + i);
    pixelbytes::storeTurned(even + i, static_cast<std::uint16_t>((a & 0xFF) + 2 * (b & 0xFF) + (c & 0xFF)));
    pixelbytes::storeTurned(odd + i, static_cast<std::uint16_t>((a >> 8) + 2 * (b >> 8) + (c >> 8)));
  }
}

// Repeats the sums at both ends of the columns [first, last] of the block over the ones that are outside.
void extendSums(RowSums& sums, std::int64_t first, std::int64_t last, std::int64_t count) {
  for (std::uint32_t* const part : {sums.even, sums.odd}) {
    std::fill(part, part + first, part[first]);
    std::fill(part + last + 1, part + count, part[last]);
  }
}

// Every second pixel of the sums and its neighbours weighted 1, 2, 1, divided by 16, without alpha.
KSMTH_VECTOR_CLONES
void sumColumns(unsigned char* to, const RowSums& sums, std::size_t pixels) {
  constexpr std::uint32_t kColors = pixelbytes::turned(std::uint32_t{0x00FFFFFF});
  constexpr std::uint32_t kEven = 0x00FF00FF & kColors;
  constexpr std::uint32_t kOdd = 0xFF00FF00 & kColors;
  for (std::size_t i = 0; i < pixels; ++i) {
    const std::uint32_t even = sums.even[2 * i] + 2 * sums.even[2 * i + 1] + sums.even[2 * i + 2];
    const std::uint32_t odd = sums.odd[2 * i] + 2 * sums.odd[2 * i + 1] + sums.odd[2 * i + 2];
    pixelbytes::storeTurned(to + 4 * i, ((even >> 4) & kEven) | ((odd << 4) & kOdd));
  }
}

// Fills `area` of the destination from the source pixel (sourceX, sourceY) on.
void reduce(const ABitMap& source, ABitMap& destination, std::int64_t sourceX, std::int64_t sourceY,
            const PixelRect& area) {
  if (area.empty() || source.fullWidth < 1 || source.fullHeight < 1) return;
  const StoredRows rows(destination, 4);
  const PixelRect part = intersection(area, rows.visible());
  const std::int64_t lastX = std::int64_t{source.fullWidth} - 1;
  const std::int64_t lastY = std::int64_t{source.fullHeight} - 1;
  LogicalPixels above(source, 4);
  LogicalPixels centre(source, 4);
  LogicalPixels below(source, 4);
  RowSums sums;
  for (std::int64_t y = part.y; y < part.y + part.h; ++y) {
    const auto row = [=](std::int64_t step) {
      return std::clamp<std::int64_t>(sourceY + 2 * (y - area.y) + step, 0, lastY);
    };
    for (std::int64_t x = part.x; x < part.x + part.w; x += kBlock) {
      const std::int64_t count = std::min(kBlock, part.x + part.w - x);
      // The block's source columns, of which those outside the image are its edges over again.
      const std::int64_t sx = sourceX + 2 * (x - area.x) - 1;
      const std::int64_t wide = 2 * count + 1;
      const std::int64_t firstX = std::clamp<std::int64_t>(sx, 0, lastX);
      const std::int64_t inside = std::clamp<std::int64_t>(sx + wide - 1, 0, lastX) - firstX + 1;
      const std::int64_t first = std::clamp<std::int64_t>(firstX - sx, 0, wide - 1);
      sumRows(sums, first, above.run(firstX, row(-1), inside), centre.run(firstX, row(0), inside),
              below.run(firstX, row(1), inside), inside);
      extendSums(sums, first, first + inside - 1, wide);
      sumColumns(rows.at(x, y), sums, static_cast<std::size_t>(count));
    }
  }
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
