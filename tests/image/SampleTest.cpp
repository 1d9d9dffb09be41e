#include <algorithm>
#include <climits>
#include <cmath>

#include "ImageSupport.h"
#include "geometry/Point3D.h"
#include "geometry/Rect.h"

namespace {

/// A value of an uncropped image, put together by hand; positions are held in the image. The fill value
/// where there is no pixel.
std::int64_t sample(const ABitMap& map, std::int64_t x, std::int64_t y) {
  if (map.width == 0 || map.height == 0) {
    if (map.depth == 32) return static_cast<std::int32_t>(map.fillValue);
    return map.fillValue & (map.depth == 8 ? 0xFF : 0xFFFF);
  }
  x = std::clamp<std::int64_t>(x, 0, map.width - 1);
  y = std::clamp<std::int64_t>(y, 0, map.height - 1);
  const unsigned char* at = map.buffer + (y * map.width + x) * (map.depth / 8);
  if (map.depth == 8) return at[0];
  if (map.depth == 16) return at[0] * 256 + at[1];
  return static_cast<std::int32_t>(word(at));
}

/// floor(a / 2^bits), for any a.
std::int64_t shifted(std::int64_t a, int bits) {
  const std::int64_t divisor = std::int64_t{1} << bits;
  return a / divisor - (a % divisor < 0 ? 1 : 0);
}

std::int64_t safe(const ABitMap& map, std::int64_t x, std::int64_t y) {
  std::int64_t index[2];
  std::int64_t fraction[2];
  for (int axis = 0; axis < 2; ++axis) {
    const std::int64_t at = axis == 0 ? x : y;
    const std::int64_t size = axis == 0 ? map.fullWidth : map.fullHeight;
    const std::int64_t limit = size * 65536 - 65537;
    index[axis] = at < 0 ? 0 : at < limit ? at / 65536 : size - 2;
    fraction[axis] = at < 0 ? 0 : at < limit ? at % 65536 : 65535;
  }
  const std::int64_t a = sample(map, index[0], index[1]);
  const std::int64_t b = sample(map, index[0] + 1, index[1]);
  const std::int64_t c = sample(map, index[0], index[1] + 1);
  const std::int64_t d = sample(map, index[0] + 1, index[1] + 1);
  const std::int64_t value = a + shifted((a - b - c + d) * (fraction[0] * fraction[1] / 65536), 16) +
                             shifted((b - a) * fraction[0], 16) + shifted((c - a) * fraction[1], 16);
  return static_cast<std::int32_t>(value);
}

std::int64_t wrap(const ABitMap& map, std::int64_t x, std::int64_t y) {
  std::int64_t near[2];
  std::int64_t far[2];
  for (int axis = 0; axis < 2; ++axis) {
    const std::int64_t size = axis == 0 ? map.fullWidth : map.fullHeight;
    near[axis] = shifted(axis == 0 ? x : y, 16);
    if (near[axis] < 0) near[axis] += size;
    far[axis] = near[axis] + 1;
    if (far[axis] > size - 1) far[axis] -= size;
  }
  const std::int64_t fx = x - shifted(x, 16) * 65536;
  const std::int64_t fy = y - shifted(y, 16) * 65536;
  const std::int64_t a = sample(map, near[0], near[1]);
  const std::int64_t b = sample(map, far[0], near[1]);
  const std::int64_t c = sample(map, near[0], far[1]);
  const std::int64_t d = sample(map, far[0], far[1]);
  const bool bytes = map.depth == 8;
  const std::int64_t l = bytes ? a * 256 + shifted(fy * (c - a), 8) : a + shifted((c - a) * fy, 16);
  const std::int64_t r = bytes ? b * 257 + shifted((d - b) * fy, 8) : b + shifted((d - b) * fy, 16);
  return l + shifted((r - l) * fx, 16);
}

std::int64_t nine(const ABitMap& map, std::int64_t x, std::int64_t y) {
  const std::int64_t p = 65536;
  return shifted(
      4 * wrap(map, x, y) +
          2 * (wrap(map, x - p, y) + wrap(map, x + p, y) + wrap(map, x, y - p) + wrap(map, x, y + p)) +
          wrap(map, x - p, y - p) + wrap(map, x + p, y - p) + wrap(map, x - p, y + p) +
          wrap(map, x + p, y + p),
      4);
}

std::vector<std::int32_t> positions(Random& random, std::int32_t size) {
  std::vector<std::int32_t> list = {INT_MIN, INT_MIN + 1, INT_MAX, -0x10000, -1, 0, 1, 0x10000 - 1, 0x10000};
  const std::int64_t end = std::int64_t{size} * 0x10000;
  for (const std::int64_t d : {-0x20000, -0x10002, -0x10001, -0x10000, -0xFFFF, -1, 0, 1, 0x10000, 0x18000}) {
    list.push_back(static_cast<std::int32_t>(end + d));
    list.push_back(static_cast<std::int32_t>(-end + d));
  }
  for (int i = 0; i < 12; ++i) {
    list.push_back(static_cast<std::int32_t>(
        below(random, static_cast<std::uint32_t>(std::max<std::int64_t>(3 * end, 1))) - end));
  }
  return list;
}

TEST(BitMapSample, BilinearByTheFormulas) {
  Random random(20);
  const Geometry geometries[] = {{1, 1}, {1, 7}, {6, 1}, {2, 2}, {3, 5}, {17, 11}};
  for (const Geometry& g : joined(geometries, kEmptyGeometries)) {
    const OwnedBitMap heights = randomBitMap(random, g, 32);
    const OwnedBitMap alpha16 = randomBitMap(random, g, 16);
    const OwnedBitMap alpha8 = randomBitMap(random, g, 8);
    for (const std::int32_t y : positions(random, g.height)) {
      for (const std::int32_t x : positions(random, g.width)) {
        SCOPED_TRACE(describe(heights) + " at " + std::to_string(x) + "," + std::to_string(y));
        ASSERT_EQ(heights.InterpolateZData_Safe(x, y), safe(heights, x, y));
        ASSERT_EQ(alpha16.InterpolateZData_FromAlpha16_Wrap(x, y), wrap(alpha16, x, y));
        ASSERT_EQ(alpha8.InterpolateZData_FromAlpha8_Wrap(x, y), wrap(alpha8, x, y));
        ASSERT_EQ(alpha16.InterpolateZData_9Samples_FromAlpha16_Wrap(x, y), nine(alpha16, x, y));
        ASSERT_EQ(alpha8.InterpolateZData_9Samples_FromAlpha8_Wrap(x, y), nine(alpha8, x, y));
      }
    }
  }
  OwnedBitMap uniform;
  uniform.Allocate(4, 4, 8);
  uniform.Paint(std::uint64_t{200});
  EXPECT_EQ(uniform.InterpolateZData_FromAlpha8_Wrap(0x20000, 0x18000), 200 * 256);
  EXPECT_EQ(uniform.InterpolateZData_FromAlpha8_Wrap(0x28000, 0x18000), 200 * 256 + 100);
}

TEST(BitMapSample, CroppedAndOtherDepths) {
  Random random(21);
  const OwnedBitMap cropped = randomBitMap(random, {5, 4, 2, 3, 1, 2}, 32);
  OwnedBitMap full;
  full.CreateUnpaddedFrom(cropped);
  for (int i = 0; i < 500; ++i) {
    const auto x = static_cast<std::int32_t>(random() % 0xA0000) - 0x10000;
    const auto y = static_cast<std::int32_t>(random() % 0xB0000) - 0x10000;
    ASSERT_EQ(cropped.InterpolateZData_Safe(x, y), full.InterpolateZData_Safe(x, y));
  }
  // Stale margins make no difference, neither to an image nor to what lies under another depth.
  OwnedBitMap stale = randomBitMap(random, {5, 4}, 64);
  const std::int32_t fromWords = stale.InterpolateZData_Safe(0x28000, 0x18000);
  stale.depth = 32;
  const std::int32_t sampled = stale.InterpolateZData_Safe(0x28000, 0x18000);
  setStaleMargins(stale);
  EXPECT_EQ(stale.InterpolateZData_Safe(0x28000, 0x18000), sampled);
  stale.depth = 64;
  EXPECT_EQ(stale.InterpolateZData_Safe(0x28000, 0x18000), fromWords);
  OwnedBitMap grey = randomBitMap(random, {5, 5}, 8);
  grey.fillValue = 0x12345678;
  EXPECT_EQ(grey.InterpolateZData_Safe(0x40000, 0x40000), 0x12345678);
  grey.InterpolateAPoint3D_FromMRGB64_Wrap(0x40000, 0x40000);
  grey.Free();
  EXPECT_EQ(grey.InterpolateZData_FromAlpha8_Wrap(5, 0), 0x78 * 256);
  EXPECT_EQ(ABitMap{}.InterpolateZData_Safe(5, 5), 0);
}

TEST(BitMapSample, ColorsAsPoints) {
  OwnedBitMap map;
  map.Allocate(2, 1, 64);
  const unsigned char pixels[] = {9, 9, 0x01, 0x02, 0x80, 0x00, 0xFF, 0xFE,
                                  9, 9, 0x80, 0x00, 0x80, 0x00, 0xC0, 0x00};
  std::memcpy(map.buffer, pixels, sizeof pixels);
  EXPECT_EQ(map.InterpolateAPoint3D_FromMRGB64_Wrap(0x8000, 0), APoint3D(0x0102, 0x8000, 0xFFFE));
  EXPECT_EQ(map.InterpolateAPoint3D_FromMRGB64_Wrap(-1, -1), APoint3D(0x8000, 0x8000, 0xC000));
  EXPECT_EQ(map.InterpolateAPoint3D_FromMRGB64_Wrap(INT_MIN, INT_MAX), APoint3D(0x0102, 0x8000, 0xFFFE));
  EXPECT_EQ(map.InterpolateNormal_FromMRGB64_Wrap(0x10000, 0), APoint3D(0, 0, 0x10000));
  const APoint3D n = map.InterpolateNormal_FromMRGB64_Wrap(0, 0);
  EXPECT_NEAR(n.FMagnitude(), 1, 1e-4);
  EXPECT_EQ(n.y, 0);
  EXPECT_LT(n.x, 0);
  OwnedBitMap small;
  small.Allocate(1, 1, 32);
  small.Paint(std::uint64_t{0x55FF8001});
  EXPECT_EQ(small.InterpolateAPoint3D_FromMRGB_Wrap(77, -77), APoint3D(65535, 0x8080, 0x0101));
}

/// The filter for one destination pixel, by its definition.
std::uint32_t reduced(const ABitMap& source, std::int32_t sx, std::int32_t sy) {
  const std::int32_t above = sy < 1 ? sy : sy - 1;
  const std::int32_t under = sy >= source.fullHeight - 1 ? sy : sy + 1;
  const std::int32_t before = sx <= 0 ? sx : sx - 1;
  const std::int32_t behind = sx >= source.fullWidth - 1 ? sx : sx + 1;
  std::uint32_t pixel = 0;
  for (int shift = 16; shift >= 0; shift -= 8) {
    const auto at = [&](std::int32_t x, std::int32_t y) { return (logical(source, x, y) >> shift) & 0xFF; };
    const std::uint32_t sum = at(before, above) + 2 * at(sx, above) + at(behind, above) + 2 * at(before, sy) +
                              4 * at(sx, sy) + 2 * at(behind, sy) + at(before, under) + 2 * at(sx, under) +
                              at(behind, under);
    pixel |= sum / 16 << shift;
  }
  return pixel;
}

TEST(BitMapSample, HalfSize) {
  Random random(22);
  for (const Geometry& g : {Geometry{2, 2},
                            {3, 3},
                            {2, 9},
                            {17, 5},
                            {600, 3},
                            {1031, 4},
                            {1100, 3, 7, 1, 20, 0},
                            {9, 9, 2, 1, 3, 4},
                            {30, 20, -3, -1, -2, -4}}) {
    OwnedBitMap source = randomBitMap(random, g, 32);
    SCOPED_TRACE(describe(source));
    OwnedBitMap half;
    ASSERT_EQ(source.CreateHalfSizeBitMap(half), 0);
    EXPECT_EQ(describe(half), std::to_string(source.fullWidth / 2) + "x" +
                                  std::to_string(source.fullHeight / 2) + "x32 l0 t0 r0 b0");
    for (std::int32_t i = 0; i < half.width * half.height; ++i) {
      ASSERT_EQ(word(half.buffer + 4 * i), reduced(source, i % half.width * 2, i / half.width * 2)) << i;
    }
    // Odd starting places, and a destination of which a part is outside.
    OwnedBitMap part = randomBitMap(random, {12, 10}, 32);
    OwnedBitMap expected;
    expected.CreateUnpaddedFrom(part);
    for (std::int32_t y = 3; y < 10; ++y) {
      for (std::int32_t x = 5; x < 12; ++x) {
        const std::int32_t sx = 1 + 2 * (x - 5);
        const std::int32_t sy = 1 + 2 * (y - 3);
        if (sx >= source.fullWidth || sy >= source.fullHeight) continue;
        expected.Paint(reduced(source, sx, sy), x, y, 1, 1);
      }
    }
    const std::int32_t w = std::min(9, source.fullWidth / 2);
    const std::int32_t h = std::min(9, source.fullHeight / 2);
    ABitMap_BltRGBAHalfSizentialisedQubic(source, part, ARect::FromWhole(1, 1, 2, 2),
                                          ARect::FromWhole(5, 3, 5 + w, 3 + h));
    for (std::int32_t y = 3; y < std::min(10, 3 + h); ++y) {
      for (std::int32_t x = 5; x < std::min(12, 5 + w); ++x) {
        if (2 * (x - 5) + 1 >= source.fullWidth || 2 * (y - 3) + 1 >= source.fullHeight) continue;
        ASSERT_EQ(part.ReadValue32(x, y), expected.ReadValue32(x, y)) << x << "," << y;
      }
    }
  }
  OwnedBitMap itself = randomBitMap(random, {8, 6}, 32);
  OwnedBitMap half;
  itself.CreateHalfSizeBitMap(half);
  EXPECT_EQ(itself.CreateHalfSizeBitMap(itself), 0);
  EXPECT_EQ(itself.bytes(), half.bytes());
  // Another bitmap of the size asked for is not taken as it is, nor is anything done without a source.
  OwnedBitMap source = randomBitMap(random, {8, 6}, 32);
  OwnedBitMap grey = randomBitMap(random, {4, 3}, 8);
  EXPECT_EQ(source.CreateHalfSizeBitMap(grey), 0);
  EXPECT_EQ(describe(grey), "4x3x32 l0 t0 r0 b0");
  source.CreateHalfSizeBitMap(half);
  EXPECT_EQ(grey.bytes(), half.bytes());
  source.Free();
  ABitMap_BltRGBAHalfSizentialisedQubic(source, grey, ARect(), ARect::FromWhole(0, 0, 4, 3));
  EXPECT_EQ(grey.bytes(), half.bytes());
  OwnedBitMap narrow = randomBitMap(random, {1, 6}, 32);
  EXPECT_EQ(narrow.CreateHalfSizeBitMap(half), -1);
  EXPECT_EQ(half.BufferBytes(), 4 * 3 * 4);
  EXPECT_EQ(ABitMap{}.CreateHalfSizeBitMap(half), -1);
  for (const std::int32_t depth : {8, 64}) {
    OwnedBitMap other = randomBitMap(random, {8, 6}, depth);
    EXPECT_EQ(other.CreateHalfSizeBitMap(half), 0);
    ABitMap_BltRGBAHalfSizentialisedQubic(half, other, ARect(INT_MIN, INT_MIN, 0, 0),
                                          ARect(-0x10000, -0x10000, INT_MAX - 0x10000, INT_MAX - 0x10000));
    ABitMap_BltRGBAHalfSizentialisedQubic(half, other, ARect(INT_MAX, INT_MAX, 0, 0),
                                          ARect(INT_MIN, 0, 0, 0x10000));
  }
}

}  // namespace
