#include <algorithm>
#include <climits>

#include "ImageSupport.h"

namespace {

TEST(BitMapCrop, OversizedIsTrimmedToTheImage) {
  Random random(17);
  for (const std::int32_t depth : {8, 24, 32, 64}) {
    for (const Geometry& g : kGeometries) {
      OwnedBitMap map = randomBitMap(random, g, depth);
      SCOPED_TRACE(describe(map));
      const std::ptrdiff_t stride = depth / 8;
      Bytes expected;
      for (std::int32_t i = 0; i < g.width * g.height; ++i) {
        if (storedIndex(map, g.left + i % g.width, g.top + i / g.width) < 0) continue;
        expected.insert(expected.end(), map.buffer + i * stride, map.buffer + (i + 1) * stride);
      }
      OwnedBitMap without;
      static_cast<ABitMap&>(without) = map;
      without.buffer = nullptr;
      map.CropOversized();
      without.CropOversized();
      EXPECT_EQ(describe(without), describe(map));
      EXPECT_EQ(map.bytes(), expected);
      EXPECT_EQ(map.left, std::max(g.left, 0));
      EXPECT_EQ(map.bottom, std::max(g.bottom, 0));
    }
  }
}

TEST(BitMapCrop, SidesWithoutAlpha) {
  const struct {
    const char* name;
    std::int32_t width;
    std::vector<unsigned char> low;  ///< low-order bytes, row by row
    std::int32_t leftCrop, rightCrop, threshold, cut;
    std::string after;
  } cases[] = {
      {"empty", 3, {0, 0, 0, 0, 0, 0}, 3, 2, 0, 0, "3x2x32 l5 t0 r1 b0"},
      {"one in the middle", 4, {0, 0, 0, 0, 0, 0, 9, 0}, 2, 1, 0, 3, "1x2x32 l7 t0 r2 b0"},
      {"the first column", 3, {0, 0, 0, 5, 0, 0}, 0, 2, 0, 2, "1x2x32 l5 t0 r3 b0"},
      {"the last column", 3, {0, 0, 1, 0, 0, 0}, 2, 0, 0, 2, "1x2x32 l7 t0 r1 b0"},
      {"all columns", 3, {1, 0, 0, 0, 0, 1}, 0, 0, 0, 0, "3x2x32 l5 t0 r1 b0"},
      {"faint sides", 4, {3, 4, 0, 3, 0, 0, 200, 0}, 0, 0, 3, 2, "2x2x32 l6 t0 r2 b0"},
      {"all faint", 2, {3, 3}, 0, 0, 3, 0, "2x1x32 l5 t0 r1 b0"},
      {"one column", 1, {0, 7}, 0, 0, 0, 0, "1x2x32 l5 t0 r1 b0"},
  };
  Random random(18);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto height = static_cast<std::int32_t>(c.low.size()) / c.width;
    OwnedBitMap map = randomBitMap(random, {c.width, height, 5, 0, 1, 0}, 32);
    for (std::size_t i = 0; i < c.low.size(); ++i) map.buffer[4 * i + 3] = c.low[i];
    const OwnedBitMap before = copyOf(map);
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
  for (const bool rows : {false, true}) {
    for (std::int32_t margins = 0; margins < 25; ++margins) {
      for (const std::int32_t stored : {1, 2, 7}) {
        for (std::int32_t n = -1; n < 18; ++n) {
          std::int32_t a = margins / 5;
          std::int32_t b = margins % 5;
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
          EXPECT_EQ(rows ? map.fullHeight : map.fullWidth, thinned ? n : full);
          EXPECT_EQ(rows ? map.top : map.left, a);
          EXPECT_EQ(rows ? map.bottom : map.right, b);
          EXPECT_EQ(map.bytes(), expected);
        }
      }
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
