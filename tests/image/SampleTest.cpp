#include <algorithm>
#include <climits>

#include "ImageSupport.h"
#include "geometry/Point3D.h"
#include "geometry/Rect.h"

namespace {

/// Element `index` of the logical image, counted round where the image ends.
std::int64_t element(const ABitMap& map, std::int64_t index) {
  const std::int64_t pixels = std::int64_t{map.fullWidth} * map.fullHeight;
  if (pixels == 0) return static_cast<std::int32_t>(pixel(map, -1));
  index = (index % pixels + pixels) % pixels;
  return static_cast<std::int32_t>(logical(map, index % map.fullWidth, index / map.fullWidth));
}

/// floor(a / 2^bits), for any a.
std::int64_t shifted(std::int64_t a, int bits) {
  const std::int64_t divisor = std::int64_t{1} << bits;
  return a / divisor - (a % divisor < 0 ? 1 : 0);
}

struct Axis {
  std::int64_t first, second, fraction;
};

std::int64_t safe(const ABitMap& map, std::int64_t x, std::int64_t y) {
  const auto axis = [](std::int64_t at, std::int64_t size) -> Axis {
    const std::int64_t limit = size * 65536 - 65537;
    const std::int64_t first = at < 0 ? 0 : at < limit ? at / 65536 : size - 2;
    // An image of one column or row has no second one.
    const auto held = [size](std::int64_t i) {
      return std::clamp<std::int64_t>(i, 0, std::max<std::int64_t>(size, 1) - 1);
    };
    return {held(first), held(first + 1), at < 0 ? 0 : at < limit ? at % 65536 : 65535};
  };
  const auto [x0, x1, fx] = axis(x, map.fullWidth);
  const auto [y0, y1, fy] = axis(y, map.fullHeight);
  const std::int64_t w = map.fullWidth;
  const auto [a, b] = std::pair(element(map, y0 * w + x0), element(map, y0 * w + x1));
  const auto [c, d] = std::pair(element(map, y1 * w + x0), element(map, y1 * w + x1));
  return static_cast<std::int32_t>(a + shifted((a - b - c + d) * (fx * fy / 65536), 16) +
                                   shifted((b - a) * fx, 16) + shifted((c - a) * fy, 16));
}

std::int64_t wrap(const ABitMap& map, std::int64_t x, std::int64_t y) {
  const auto axis = [](std::int64_t at, std::int64_t size) -> Axis {
    const std::int64_t first = shifted(at, 16) + (at < 0 ? size : 0);
    return {first, first + 1 > size - 1 ? first + 1 - size : first + 1, at - shifted(at, 16) * 65536};
  };
  const auto [x0, x1, fx] = axis(x, map.fullWidth);
  const auto [y0, y1, fy] = axis(y, map.fullHeight);
  const std::int64_t w = map.fullWidth;
  const auto column = [&, y0 = y0, y1 = y1, fy = fy](std::int64_t at, int scale) {
    const std::int64_t upper = element(map, y0 * w + at);
    const std::int64_t step = (element(map, y1 * w + at) - upper) * fy;
    return map.depth == 8 ? upper * scale + shifted(step, 8) : upper + shifted(step, 16);
  };
  const std::int64_t l = column(x0, 256);
  return l + shifted((column(x1, 257) - l) * fx, 16);
}

std::int64_t nine(const ABitMap& map, std::int64_t x, std::int64_t y) {
  std::int64_t sum = 0;
  for (int i = 0; i < 9; ++i) {
    const int weight = (i % 3 == 1 ? 2 : 1) * (i / 3 == 1 ? 2 : 1);
    sum += weight * wrap(map, x + (i % 3 - 1) * 65536, y + (i / 3 - 1) * 65536);
  }
  return shifted(sum, 4);
}

std::vector<std::int32_t> positions(Random& random, std::int32_t size) {
  std::vector<std::int32_t> list = {INT_MIN, INT_MAX};
  const std::int32_t end = size * 0x10000;
  for (const std::int32_t near : {-end, 0, end}) {
    for (const std::int32_t d : {-0x20000, -0x10002, -0x10001, -0x10000, -0xFFFF, -1, 0, 1, 0x10000, 0x18000})
      list.push_back(near + d);
  }
  for (int i = 0; i < 12; ++i) list.push_back(between(random, -end, 2 * end + 1));
  return list;
}

TEST(BitMapSample, BilinearByTheFormulas) {
  Random random(20);
  for (const Geometry& g : kSmallGeometries) {
    const OwnedBitMap heights = randomBitMap(random, g, 32);
    OwnedBitMap stale = heights;
    if (g.height == 1) setStaleMargins(stale);  // which do not count
    const OwnedBitMap alpha16 = randomBitMap(random, g, 16);
    const OwnedBitMap alpha8 = randomBitMap(random, g, 8);
    for (const std::int32_t y : positions(random, heights.fullHeight)) {
      for (const std::int32_t x : positions(random, heights.fullWidth)) {
        SCOPED_TRACE(describe(heights) + " at " + std::to_string(x) + "," + std::to_string(y));
        ASSERT_EQ(stale.InterpolateZData_Safe(x, y), safe(heights, x, y));
        ASSERT_EQ(alpha16.InterpolateZData_FromAlpha16_Wrap(x, y), wrap(alpha16, x, y));
        ASSERT_EQ(alpha8.InterpolateZData_FromAlpha8_Wrap(x, y), wrap(alpha8, x, y));
        ASSERT_EQ(alpha16.InterpolateZData_9Samples_FromAlpha16_Wrap(x, y), nine(alpha16, x, y));
        ASSERT_EQ(alpha8.InterpolateZData_9Samples_FromAlpha8_Wrap(x, y), nine(alpha8, x, y));
      }
    }
  }
  // Another depth is taken for pixels of the routine's own, as far as the buffer goes.
  OwnedBitMap grey(5, 5, 8);
  grey.fillValue = 0x12345678;
  EXPECT_EQ(grey.InterpolateZData_Safe(0x40000, 0x40000), 0x12345678);
  grey.Free();
  EXPECT_EQ(grey.InterpolateZData_FromAlpha8_Wrap(5, 0), 0x78 * 256);
  EXPECT_EQ(ABitMap{}.InterpolateZData_Safe(5, 5), 0);
}

TEST(BitMapSample, ColorsAsPoints) {
  OwnedBitMap map(2, 1, 64);
  const unsigned char pixels[] = {9, 9, 0x01, 0x02, 0x80, 0x00, 0xFF, 0xFE,
                                  9, 9, 0x80, 0x00, 0x80, 0x00, 0xC0, 0x00};
  std::memcpy(map.buffer, pixels, sizeof pixels);
  EXPECT_EQ(map.InterpolateAPoint3D_FromMRGB64_Wrap(0x8000, 0), APoint3D(0x0102, 0x8000, 0xFFFE));
  EXPECT_EQ(map.InterpolateAPoint3D_FromMRGB64_Wrap(-1, -1), APoint3D(0x8000, 0x8000, 0xC000));
  EXPECT_EQ(map.InterpolateAPoint3D_FromMRGB64_Wrap(0x20000, 0), APoint3D(0x0102, 0x8000, 0xFFFE));
  EXPECT_EQ(map.InterpolateNormal_FromMRGB64_Wrap(0x10000, 0), APoint3D(0, 0, 0x10000));
  const APoint3D n = map.InterpolateNormal_FromMRGB64_Wrap(0, 0);
  EXPECT_NEAR(n.FMagnitude(), 1, 1e-4);
  EXPECT_EQ(n.y, 0);
  EXPECT_LT(n.x, 0);
  OwnedBitMap small(1, 1, 32);
  small.Paint(std::uint64_t{0x55FF8001});
  EXPECT_EQ(small.InterpolateAPoint3D_FromMRGB_Wrap(77, -77), APoint3D(65535, 0x8080, 0x0101));
}

/// The filter for one destination pixel, by its definition.
std::uint32_t reduced(const ABitMap& source, std::int32_t sx, std::int32_t sy) {
  std::uint32_t pixel = 0;
  for (int shift = 16; shift >= 0; shift -= 8) {
    std::uint32_t sum = 0;
    for (int i = 0; i < 9; ++i) {
      const std::int32_t x = std::clamp(sx + i % 3 - 1, 0, source.fullWidth - 1);
      const std::int32_t y = std::clamp(sy + i / 3 - 1, 0, source.fullHeight - 1);
      sum += ((logical(source, x, y) >> shift) & 0xFF) * (i % 3 == 1 ? 2 : 1) * (i / 3 == 1 ? 2 : 1);
    }
    pixel |= sum / 16 << shift;
  }
  return pixel;
}

TEST(BitMapSample, HalfSize) {
  Random random(22);
  for (const Geometry& g : {Geometry{2, 2},
                            {3, 3},
                            {14, 5},
                            {17, 5},
                            {1031, 4},
                            {1100, 3, 7, 0, 20, 0},
                            {30, 20, -3, -1, -2, -4}}) {
    const OwnedBitMap source = randomBitMap(random, g, 32);
    SCOPED_TRACE(describe(source));
    // Another bitmap of the size asked for is not taken as it is.
    OwnedBitMap half(source.fullWidth / 2, source.fullHeight / 2, 8);
    ASSERT_EQ(source.CreateHalfSizeBitMap(half), 0);
    EXPECT_EQ(half.BufferBytes(), source.fullWidth / 2 * (source.fullHeight / 2) * 4);
    for (std::int32_t i = 0; i < half.width * half.height; ++i) {
      ASSERT_EQ(word(half.buffer + 4 * i), reduced(source, i % half.width * 2, i / half.width * 2)) << i;
    }
    OwnedBitMap itself = source;
    if (g.left == 0) {
      EXPECT_EQ(itself.CreateHalfSizeBitMap(itself), 0);
      EXPECT_EQ(itself.bytes(), half.bytes());
    }
    // From an odd place to one of which a part is outside; what lies there stays.
    OwnedBitMap part = randomBitMap(random, {12, 10}, 32);
    const OwnedBitMap before = part;
    ABitMap_BltRGBAHalfSizentialisedQubic(source, part, ARect::FromWhole(1, 1, 2, 2),
                                          ARect::FromWhole(5, 3, 14, 9));
    for (std::int32_t i = 0; i < 12 * 10; ++i) {
      const bool covered = i % 12 >= 5 && i / 12 >= 3 && i / 12 < 9;
      const std::int32_t x = 2 * (i % 12 - 5) + 1;
      const std::int32_t y = 2 * (i / 12 - 3) + 1;
      if (covered && (x >= source.fullWidth || y >= source.fullHeight)) continue;
      ASSERT_EQ(pixel(part, i), covered ? reduced(source, x, y) : pixel(before, i)) << i;
    }
  }
  OwnedBitMap half = randomBitMap(random, {4, 3}, 32);
  const Bytes before = half.bytes();
  for (const OwnedBitMap& small :
       {randomBitMap(random, {1, 6}, 32), randomBitMap(random, {6, 1}, 32), OwnedBitMap()})
    EXPECT_EQ(small.CreateHalfSizeBitMap(half), -1);
  ABitMap_BltRGBAHalfSizentialisedQubic(ABitMap{8, 6}, half, ARect(), ARect::FromWhole(0, 0, 4, 3));
  OwnedBitMap source = randomBitMap(random, {8, 6}, 32);
  ABitMap_BltRGBAHalfSizentialisedQubic(source, half, ARect(INT_MAX, INT_MAX, 0, 0),
                                        ARect(INT_MIN, 0, 0, 0x10000));
  EXPECT_EQ(half.bytes(), before);
}

}  // namespace
