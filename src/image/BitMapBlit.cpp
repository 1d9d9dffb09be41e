#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "geometry/Fixed.h"
#include "geometry/Point.h"
#include "geometry/Rect.h"
#include "image/BitMap.h"
#include "image/Color.h"
#include "image/RowKernels.h"
#include "image/VectorClones.h"
#include "image/WordKernels.h"
#include "system/Host.h"

namespace {

PixelRect wholeUnits(const ARect& rect) {
  return {fixed::toWhole(rect.left), fixed::toWhole(rect.top), fixed::toWhole(rect.Width()),
          fixed::toWhole(rect.Height())};
}

PixelRect imageOf(const ABitMap& map) {
  return {0, 0, map.fullWidth, map.fullHeight};
}

// A copy between two bitmaps of elements of one size, clipped to what both have.
struct Copy {
  // `area` of the source goes to (x, y). With `flipped`, its last row goes to row y.
  Copy(const ABitMap& sourceMap, ABitMap& destinationMap, std::int32_t elementBytes, const PixelRect& area,
       std::int64_t x, std::int64_t y, bool flipped = false)
      : source(sourceMap, elementBytes), destination(destinationMap, elementBytes) {
    // Source row of destination row r: firstRow + step * (r - y).
    step = flipped ? -1 : 1;
    const std::int64_t firstRow = flipped ? area.y + area.h - 1 : area.y;
    PixelRect from = intersection(area, source.visible());
    const std::int64_t top = flipped ? firstRow - (from.y + from.h - 1) : from.y - firstRow;
    to = intersection({from.x - area.x + x, y + top, from.w, from.h}, destination.visible());
    sourceX = to.x - x + area.x;
    sourceY = firstRow + step * (to.y - y);
  }

  // work(destination, source, elements) for each row.
  template <class Work>
  void forRows(Work work) const {
    if (to.empty()) return;
    // A copy that is not flipped may be within one buffer: rows are taken in the order in which none is
    // overwritten before it is read. Of one row, `work` has to see to that.
    const bool upwards = source.data() == destination.data() && to.y > sourceY;
    for (std::int64_t i = 0; i < to.h; ++i) {
      const std::int64_t row = upwards ? to.h - 1 - i : i;
      work(destination.at(to.x, to.y + row), source.at(sourceX, sourceY + step * row),
           static_cast<std::size_t>(to.w));
    }
  }

  // True where the rows follow one another directly on both sides.
  bool contiguous() const { return step == 1 && to.w == source.rect().w && to.w == destination.rect().w; }

  StoredRows source;
  StoredRows destination;
  PixelRect to;
  std::int64_t sourceX;
  std::int64_t sourceY;
  std::int64_t step;
};

void copyPixels(const ABitMap& source, ABitMap& destination, const PixelRect& area, std::int64_t x,
                std::int64_t y) {
  if (source.depth != 32 && source.depth != 64) return Sys_SystemMsgOk("Incorrect bitmap format");
  const auto elementBytes = static_cast<std::size_t>(source.BytesPerPixel());
  const Copy copy(source, destination, source.BytesPerPixel(), area, x, y);
  if (copy.to.empty()) return;
  if (copy.contiguous()) {
    std::memmove(copy.destination.at(copy.to.x, copy.to.y), copy.source.at(copy.sourceX, copy.sourceY),
                 static_cast<std::size_t>(copy.to.w * copy.to.h) * elementBytes);
    return;
  }
  if (copy.source.data() == copy.destination.data()) {
    copy.forRows([elementBytes](unsigned char* to, const unsigned char* from, std::size_t count) {
      std::memmove(to, from, count * elementBytes);
    });
    return;
  }
  const rowkernels::Rows rows = copy.destination.rowsOf(copy.to);
  rowkernels::best().copy(rows, copy.source.at(copy.sourceX, copy.sourceY),
                          static_cast<std::size_t>(copy.source.rect().w) * elementBytes, rows.pastCaches());
  if (rows.pastCaches()) rowkernels::settle();
}

KSMTH_VECTOR_CLONES
void coverRow(unsigned char* to, const unsigned char* from, std::size_t count) {
  mapWords(to, from, count, [](std::uint32_t p, std::uint32_t q) {
    return (q & pixelbytes::turned(std::uint32_t{0xFF000000})) != 0 ? q : p;
  });
}

KSMTH_VECTOR_CLONES
void blendRow(unsigned char* to, const unsigned char* from, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    AMRGB pixel = AMRGB::FromValue(pixelbytes::load<std::uint32_t>(to + 4 * i));
    const auto source = pixelbytes::load<std::uint32_t>(from + 4 * i);
    pixel.BlendRGBInRange(AMRGB::FromValue(source), static_cast<std::int32_t>(source & 0xFFFF));
    pixelbytes::store(to + 4 * i, pixel.Value());
  }
}

void blendPixels(const ABitMap& source, ABitMap& destination, const PixelRect& area, const APoint& at,
                 bool flipped) {
  expectDepth32(source);
  Copy(source, destination, 4, area, fixed::toWhole(at.x), fixed::toWhole(at.y), flipped).forRows(blendRow);
}

}  // namespace

void ABitMap::BltTo(ABitMap& destination, std::int32_t x, std::int32_t y) const {
  copyPixels(*this, destination, imageOf(*this), x, y);
}

void ABitMap::BltTo(ABitMap& destination, const ARect& sourceRect, const APoint& at) const {
  copyPixels(*this, destination, wholeUnits(sourceRect), fixed::toWhole(at.x), fixed::toWhole(at.y));
}

void ABitMap::BltToWindow(ABitMap& destination, const ARect& window) const {
  const PixelRect area = wholeUnits(window);
  copyPixels(*this, destination, {0, 0, area.w, area.h}, area.x, area.y);
}

void ABitMap::BltTransparentTo(ABitMap& destination, std::int32_t x, std::int32_t y) const {
  expectDepth32(*this);
  Copy(*this, destination, 4, imageOf(*this), x, y).forRows(coverRow);
}

void ABitMap::BltToAutoOpacity(ABitMap& destination, const ARect& sourceRect, const APoint& at) const {
  blendPixels(*this, destination, wholeUnits(sourceRect), at, false);
}

void ABitMap::BltToAutoOpacity(ABitMap& destination) const {
  blendPixels(*this, destination, imageOf(*this), APoint(), false);
}

void ABitMap::BltToAutoOpacity_FlipV(ABitMap& destination, const ARect& sourceRect, const APoint& at) const {
  blendPixels(*this, destination, wholeUnits(sourceRect), at, true);
}
