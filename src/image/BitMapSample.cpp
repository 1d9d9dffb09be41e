#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "geometry/Point3D.h"
#include "image/BitMap.h"
#include "image/BitMapRegion.h"
#include "image/PixelBytes.h"
#include "system/Host.h"

namespace {

// Pixels of a bitmap as values of type T, any position of the logical image.
template <class T>
class Samples {
 public:
  explicit Samples(const ABitMap& map)
      : map_(map),
        whole_(map.buffer != nullptr && map.depth == static_cast<std::int32_t>(8 * sizeof(T)) &&
               map.width == map.fullWidth && map.height == map.fullHeight &&
               imageBytes(map.width, map.height, map.depth) > 0) {}

  // The position is held at the nearest pixel of the image.
  T held(std::int64_t x, std::int64_t y) const {
    return at(std::max<std::int64_t>(std::min<std::int64_t>(x, std::int64_t{map_.fullWidth} - 1), 0),
              std::max<std::int64_t>(std::min<std::int64_t>(y, std::int64_t{map_.fullHeight} - 1), 0));
  }
  // Rows follow one another: behind the last pixel of a row is the first of the next, and behind the last of
  // the image its first.
  T wrapped(std::int64_t x, std::int64_t y) const {
    if (map_.fullWidth < 1 || map_.fullHeight < 1) return at(0, 0);
    const std::int64_t pixels = std::int64_t{map_.fullWidth} * map_.fullHeight;
    std::int64_t index = y * map_.fullWidth + x;
    if (index < 0 || index >= pixels) index = (index % pixels + pixels) % pixels;
    return whole_ ? load(index) : at(index % map_.fullWidth, index / map_.fullWidth);
  }

 private:
  T load(std::int64_t index) const {
    return pixelbytes::load<T>(map_.buffer +
                               static_cast<std::ptrdiff_t>(index) * static_cast<std::ptrdiff_t>(sizeof(T)));
  }
  T at(std::int64_t x, std::int64_t y) const {
    if (whole_) return load(y * map_.fullWidth + x);
    const StoredRows rows(map_, sizeof(T));
    if (intersection({x, y, 1, 1}, rows.rect()).empty()) return static_cast<T>(map_.fillValue);
    return pixelbytes::load<T>(rows.at(x, y));
  }

  const ABitMap& map_;
  bool whole_;
};

// Where a coordinate lies between two pixels.
struct Place {
  std::int64_t first;
  std::int64_t second;
  std::int64_t fraction;  // of the way from the first to the second, in 1 / 0x10000
};

// 64-bit, since the neighbours of a position may lie outside 16.16.
Place wrapped(std::int64_t position, std::int32_t size) {
  std::int64_t first = position >> 16;
  if (first < 0) first += size;
  std::int64_t second = first + 1;
  if (second > std::int64_t{size} - 1) second -= size;
  return {first, second, position & 0xFFFF};
}

Place clamped(std::int32_t position, std::int32_t size) {
  if (position < 0) return {0, 1, 0};
  const std::int64_t limit = std::int64_t{size} * 0x10000 - 0x10001;
  const std::int64_t at = std::min<std::int64_t>(position, limit);
  return {at >> 16, (at >> 16) + 1, position < limit ? at & 0xFFFF : 0xFFFF};
}

// The values at(x, y) around a position.
struct Corners {
  template <class At>
  Corners(const Place& x, const Place& y, At at)
      : topLeft(at(x.first, y.first)),
        topRight(at(x.second, y.first)),
        bottomLeft(at(x.first, y.second)),
        bottomRight(at(x.second, y.second)) {}

  std::int64_t topLeft, topRight, bottomLeft, bottomRight;
};

// Bilinear, of the values that left(upper, lower, fraction) and right(...) make of the two columns.
template <class T, class Left, class Right>
std::int32_t sampleWrapped(const ABitMap& map, std::int64_t positionX, std::int64_t positionY, Left left,
                           Right right) {
  const Place x = wrapped(positionX, map.fullWidth);
  const Place y = wrapped(positionY, map.fullHeight);
  const Samples<T> samples(map);
  const Corners p(x, y, [&](std::int64_t column, std::int64_t row) { return samples.wrapped(column, row); });
  const std::int64_t l = left(p.topLeft, p.bottomLeft, y.fraction);
  const std::int64_t r = right(p.topRight, p.bottomRight, y.fraction);
  return static_cast<std::int32_t>(l + (((r - l) * x.fraction) >> 16));
}

std::int32_t sample16(const ABitMap& map, std::int64_t x, std::int64_t y) {
  const auto between = [](std::int64_t from, std::int64_t to, std::int64_t fraction) {
    return from + (((to - from) * fraction) >> 16);
  };
  return sampleWrapped<std::uint16_t>(map, x, y, between, between);
}

std::int32_t sample8(const ABitMap& map, std::int64_t x, std::int64_t y) {
  const auto scaled = [](std::int64_t scale) {
    return [scale](std::int64_t from, std::int64_t to, std::int64_t fraction) {
      return from * scale + (((to - from) * fraction) >> 8);
    };
  };
  return sampleWrapped<std::uint8_t>(map, x, y, scaled(256), scaled(257));
}

template <class Sample>
std::int32_t nineSamples(const ABitMap& map, std::int64_t x, std::int64_t y, Sample sample) {
  constexpr std::int64_t kPixel = 0x10000;
  std::int64_t sum = 0;
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      const int weight = (dx == 0 ? 2 : 1) * (dy == 0 ? 2 : 1);
      sum += weight * std::int64_t{sample(map, x + dx * kPixel, y + dy * kPixel)};
    }
  }
  return static_cast<std::int32_t>(sum >> 4);
}

// The pixel that a position lies in.
template <class T>
T pixelAt(const ABitMap& map, std::int32_t x, std::int32_t y) {
  if (map.depth != static_cast<std::int32_t>(8 * sizeof(T))) Sys_BreakToDebugger();
  return Samples<T>(map).wrapped(wrapped(x, map.fullWidth).first, wrapped(y, map.fullHeight).first);
}

// Bits of `value` from `shift` up.
template <int kBits>
std::int32_t part(std::uint64_t value, int shift) {
  return static_cast<std::int32_t>((value >> shift) & ((1U << kBits) - 1));
}

}  // namespace

std::int32_t ABitMap::InterpolateZData_Safe(std::int32_t x, std::int32_t y) const {
  const Place px = clamped(x, fullWidth);
  const Place py = clamped(y, fullHeight);
  const Samples<std::uint32_t> samples(*this);
  // 32-bit pixels are heights, which have a sign.
  const Corners p(px, py, [&](std::int64_t column, std::int64_t row) {
    return static_cast<std::int32_t>(samples.held(column, row));
  });
  const std::int64_t fraction = (px.fraction * py.fraction) >> 16;
  const std::int64_t twist = p.topLeft - p.topRight - p.bottomLeft + p.bottomRight;
  return static_cast<std::int32_t>(p.topLeft + ((twist * fraction) >> 16) +
                                   (((p.topRight - p.topLeft) * px.fraction) >> 16) +
                                   (((p.bottomLeft - p.topLeft) * py.fraction) >> 16));
}

std::int32_t ABitMap::InterpolateZData_FromAlpha16_Wrap(std::int32_t x, std::int32_t y) const {
  return sample16(*this, x, y);
}

std::int32_t ABitMap::InterpolateZData_FromAlpha8_Wrap(std::int32_t x, std::int32_t y) const {
  return sample8(*this, x, y);
}

std::int32_t ABitMap::InterpolateZData_9Samples_FromAlpha8_Wrap(std::int32_t x, std::int32_t y) const {
  return nineSamples(*this, x, y, sample8);
}

std::int32_t ABitMap::InterpolateZData_9Samples_FromAlpha16_Wrap(std::int32_t x, std::int32_t y) const {
  return nineSamples(*this, x, y, sample16);
}

APoint3D ABitMap::InterpolateAPoint3D_FromMRGB64_Wrap(std::int32_t x, std::int32_t y) const {
  const auto pixel = pixelAt<std::uint64_t>(*this, x, y);
  return {part<16>(pixel, 32), part<16>(pixel, 16), part<16>(pixel, 0)};
}

APoint3D ABitMap::InterpolateAPoint3D_FromMRGB_Wrap(std::int32_t x, std::int32_t y) const {
  constexpr std::int32_t kTo16Bits = 257;
  const auto pixel = pixelAt<std::uint32_t>(*this, x, y);
  return {part<8>(pixel, 16) * kTo16Bits, part<8>(pixel, 8) * kTo16Bits, part<8>(pixel, 0) * kTo16Bits};
}

APoint3D ABitMap::InterpolateNormal_FromMRGB64_Wrap(std::int32_t x, std::int32_t y) const {
  constexpr std::int32_t kZero = 0x8000;
  const auto pixel = pixelAt<std::uint64_t>(*this, x, y);
  APoint3D normal((part<16>(pixel, 32) - kZero) * 2, (part<16>(pixel, 16) - kZero) * 2,
                  (part<16>(pixel, 0) - kZero) * 2);
  normal.FUnified();
  return normal;
}
