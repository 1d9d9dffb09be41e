#include <algorithm>
#include <array>
#include <climits>

#include "ImageSupport.h"

namespace {

TEST(BitMapCrop, OversizedIsTrimmedToTheImage) {
  Random random(17);
  for (const std::int32_t depth : {8, 24, 32, 64}) {
    for (const Geometry& g : kGeometries) {
      OwnedBitMap map = randomBitMap(random, g, depth);
      Bytes expected;
      for (std::int32_t i = 0; i < g.width * g.height; ++i) {
        const unsigned char* const at = map.buffer + i * (depth / 8);
        if (storedIndex(map, g.left + i % g.width, g.top + i / g.width) >= 0)
          expected.insert(expected.end(), at, at + depth / 8);
      }
      map.CropOversized();
      EXPECT_EQ(map.bytes(), expected) << describe(map);
      EXPECT_EQ(map.left, std::max(g.left, 0));
      EXPECT_EQ(map.bottom, std::max(g.bottom, 0));
    }
  }
}

TEST(BitMapCrop, SidesWithoutAlpha) {
  const struct {
    std::int32_t width;
    Bytes low;  ///< low-order bytes, row by row
    std::int32_t leftCrop, rightCrop, threshold, cut;
    std::string after;
  } cases[] = {
      {3, {0, 0, 0, 0, 0, 0}, 3, 2, 0, 0, "3x2x32 l5 t0 r1 b0"},
      {4, {0, 0, 0, 0, 0, 0, 9, 0}, 2, 1, 0, 3, "1x2x32 l7 t0 r2 b0"},
      {3, {0, 0, 0, 5, 0, 0}, 0, 2, 0, 2, "1x2x32 l5 t0 r3 b0"},
      {3, {0, 0, 1, 0, 0, 0}, 2, 0, 0, 2, "1x2x32 l7 t0 r1 b0"},
      {3, {1, 0, 0, 0, 0, 1}, 0, 0, 0, 0, "3x2x32 l5 t0 r1 b0"},
      {4, {3, 4, 0, 3, 0, 0, 200, 0}, 0, 0, 3, 2, "2x2x32 l6 t0 r2 b0"},
      {2, {3, 3}, 0, 0, 3, 0, "2x1x32 l5 t0 r1 b0"},
      {1, {0, 7}, 0, 0, 0, 0, "1x2x32 l5 t0 r1 b0"},
  };
  Random random(18);
  for (const auto& c : cases) {
    const auto height = static_cast<std::int32_t>(c.low.size()) / c.width;
    OwnedBitMap map = randomBitMap(random, {c.width, height, 5, 0, 1, 0}, 32);
    for (std::size_t i = 0; i < c.low.size(); ++i) map.buffer[4 * i + 3] = c.low[i];
    const OwnedBitMap before = map;
    EXPECT_EQ(map.GetLeftCropRGBA(), c.leftCrop);
    EXPECT_EQ(map.GetRightCropRGBA(), c.rightCrop);
    EXPECT_EQ(map.CropRGBASides(c.threshold), c.cut);
    EXPECT_EQ(describe(map), c.after);
    for (std::int32_t x = map.left; x < map.left + map.width; ++x) {
      for (std::int32_t y = 0; y < height; ++y) EXPECT_EQ(map.ReadValue32(x, y), before.ReadValue32(x, y));
    }
  }
  OwnedBitMap grey(4, 4, 8);
  EXPECT_EQ(grey.GetLeftCropRGBA() + grey.GetRightCropRGBA() + grey.CropRGBASides(0), 0);
  // Margins without room for more wrap round.
  OwnedBitMap map(3, 1, 32);
  map.Paint(std::uint64_t{0});
  map.buffer[7] = 9;
  map.left = map.right = INT_MAX;
  EXPECT_EQ(map.CropRGBASides(0), 2);
  EXPECT_EQ(describe(map), "1x1x32 l-2147483648 t0 r-2147483648 b0");
}

TEST(BitMapCrop, DownsizeGivesUpMarginsThenPixels) {
  Random random(19);
  for (std::int32_t round = 0; round < 2 * 25 * 3; ++round) {
    for (std::int32_t n = -1; n < 18; ++n) {
      const bool rows = round % 2 == 1;
      const std::int32_t stored = std::array{1, 2, 7}[static_cast<std::size_t>(round / 2 % 3)];
      std::int32_t a = round / 6 / 5;
      std::int32_t b = round / 6 % 5;
      const Geometry g = rows ? Geometry{3, stored, 0, a, 0, b} : Geometry{stored, 3, a, 0, b, 0};
      OwnedBitMap map = randomBitMap(random, g, 32);
      const Bytes before = map.bytes();
      SCOPED_TRACE(describe(map) + " to " + std::to_string(n));
      std::int32_t full = a + stored + b;
      while (n > 0 && full > stored && n < full && a + b > 0) {
        if (a > 0) --a, --full;
        if (b > 0 && full > stored && n < full) --b, --full;
      }
      const bool thinned = n > 0 && n < full;
      Bytes expected;
      for (std::int32_t i = 0; i < 3 * stored; ++i) {
        const std::int32_t place = rows ? i / g.width : i % g.width;
        if (thinned && (place + 1) * n / stored == place * n / stored) continue;
        expected.insert(expected.end(), before.begin() + 4 * i, before.begin() + 4 * i + 4);
      }
      rows ? map.DownsizeHeight(n) : map.DownsizeWidth(n);
      if (thinned) full = n;
      EXPECT_EQ(std::tuple(map.fullWidth, map.left, map.right),
                rows ? std::tuple(3, 0, 0) : std::tuple(full, a, b));
      EXPECT_EQ(std::tuple(map.fullHeight, map.top, map.bottom),
                rows ? std::tuple(full, a, b) : std::tuple(3, 0, 0));
      EXPECT_EQ(map.bytes(), expected);
    }
  }
  OwnedBitMap oversized = randomBitMap(random, {9, 9, -2, -2, -2, -2}, 32);
  oversized.DownsizeWidth(3);
  oversized.DownsizeHeight(4);
  EXPECT_EQ(describe(oversized), "3x4x32 l0 t0 r0 b0");
  OwnedBitMap huge;
  huge.AllocateCropped(INT_MAX, INT_MAX, 5, 5, 6, 6, 8);
  huge.DownsizeWidth(1);
  huge.DownsizeHeight(2);
  EXPECT_EQ(describe(huge), "1x1x8 l0 t0 r0 b1");
}

}  // namespace
