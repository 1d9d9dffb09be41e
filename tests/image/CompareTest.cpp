#include <algorithm>
#include <array>
#include <climits>

#include "ImageSupport.h"

namespace {

TEST(BitMapCompare, IsEqualLooksAtEverything) {
  Random random(11);
  for (const std::int32_t depth : {8, 24, 32, 64}) {
    for (const Geometry& g :
         {Geometry{13, 11}, {7, 5, 3, 2, 1, 4}, {5, 9, 0, 0, 6, 0}, {12, 3, 0, 7, 0, 0}, {1100, 5}}) {
      const OwnedBitMap map = randomBitMap(random, g, depth);
      SCOPED_TRACE(describe(map));
      OwnedBitMap other = map;
      const auto expect = [&](int exact, int color) {
        EXPECT_EQ(map.IsEqual(other, false), exact);
        EXPECT_EQ(map.IsEqual(other, true), depth == 8 || depth == 32 ? color : 0);
      };
      const int uncropped = g.left + g.right + g.top + g.bottom == 0 ? 1 : 0;
      other.fillValue ^= 0xFF000000;
      expect(1, 1);
      other.fillValue ^= 0x100;
      expect(uncropped, uncropped);
      other.fillValue = map.fillValue;
      for (int round = 0; round < 20; ++round) {
        const std::uint32_t at = below(random, static_cast<std::uint32_t>(map.BufferBytes()));
        other.buffer[at] ^= 0x10;
        expect(0, depth == 32 && at % 4 == 0 ? 1 : 0);
        other.buffer[at] ^= 0x10;
      }
      for (std::int32_t ABitMap::*field :
           {&ABitMap::depth, &ABitMap::fullWidth, &ABitMap::fullHeight, &ABitMap::width, &ABitMap::height,
            &ABitMap::left, &ABitMap::right, &ABitMap::top, &ABitMap::bottom}) {
        other.*field += 1;
        expect(0, 0);
        other.*field -= 1;
      }
      other.Free();
      expect(0, 0);
    }
  }
}

/// What the comparisons of logical images answer, by their definitions: equal, changed, shifted, other
/// colors.
using Verdict = std::array<int, 4>;
Verdict byDefinition(const ABitMap& a, const ABitMap& b) {
  const auto agree = [&](std::int32_t x, std::int32_t y) { return logical(a, x, y) == logical(b, x, y); };
  std::int32_t differences = 0;
  bool shifted = a.fullWidth >= 12 && a.fullHeight >= 12;
  for (std::int32_t i = 0; i < a.fullWidth * a.fullHeight; ++i) {
    const auto [x, y] = std::pair(i % a.fullWidth, i / a.fullWidth);
    if (agree(x, y)) continue;
    ++differences;
    if (x >= a.fullWidth - 12 || y >= a.fullHeight - 12) continue;
    bool forgiven = false;
    for (std::int32_t k = 1; k <= 11; ++k) forgiven = forgiven || agree(x + k, y);
    for (std::int32_t k = 1; k <= 10; ++k) forgiven = forgiven || agree(x + k, y + k);
    for (std::int32_t k = 0; k <= 9; ++k) forgiven = forgiven || agree(x + 11 - k, y + k);
    shifted = shifted && forgiven;
  }
  const bool usable = a.top >= b.top && a.left >= b.left && a.right >= b.right;
  bool colors = false;
  for (std::int32_t i = 0; i < a.width * a.height; ++i) {
    const std::int32_t inB = placeOf(b, a.left + i % a.width, a.top + i / a.width);
    const std::uint32_t p = pixel(a, i);
    colors = colors || (p >> 24 < 255 && ((p ^ (usable ? pixel(b, inB) : a.fillValue)) & 0xFFFFFF) != 0);
  }
  return {differences == 0, differences >= (a.fullHeight - 1) * (a.fullWidth - 1), shifted, colors};
}

/// Makes `b` the image that `a` is, but for about `differing` of 1000 pixels that it stores.
void makeAlike(Random& random, ABitMap& a, ABitMap& b, std::uint32_t differing) {
  b.fillValue = a.fillValue;
  for (std::int32_t i = 0; i < a.fullWidth * a.fullHeight; ++i) {
    const auto [x, y] = std::pair(i % a.fullWidth, i / a.fullWidth);
    const std::int32_t inA = storedIndex(a, x, y);
    const std::int32_t inB = storedIndex(b, x, y);
    const std::uint32_t flip = below(random, 1000) < differing ? 1U << 8 * below(random, 4) : 0;
    if (inA >= 0 && inB < 0) put(a, inA, a.fillValue);
    if (inB >= 0) put(b, inB, logical(a, x, y) ^ flip);
  }
}

TEST(BitMapCompare, LogicalImagesByTheDefinitions) {
  Random random(12);
  Verdict sum{};
  int rounds = 0;
  for (const auto& [w, h] :
       {std::pair{1, 1}, {2, 2}, {11, 40}, {12, 12}, {13, 13}, {30, 25}, {41, 14}, {1040, 14}}) {
    const auto cropped = [&, w = w, h = h] {
      const Geometry margins[] = {{0, 0, w / 3, h / 4, w / 2, h / 3},
                                  {0, 0, -2, w / 5, -1, 0},
                                  {0, 0, w / 2, -1, 0, h / 2},
                                  {0, 0, -3, 0, -1, 0},
                                  {}};
      Geometry g = margins[below(random, 6) % 5];
      g.width = w - g.left - g.right;
      g.height = h - g.top - g.bottom;
      return randomBitMap(random, g.height > 0 ? g : Geometry{w, h}, 32);
    };
    for (int round = 0; round < (w == 13 ? 2000 : w > 100 ? 40 : w < 30 ? 60 : 600); ++round, ++rounds) {
      // Of images of some size, 1 in 30 pixels or so is forgiven by what lies below alone at 760 to 860.
      const std::uint32_t rates[] = {0, 1, 100, 760, 800, 830, 860, 950, 970, 999, 1000};
      OwnedBitMap a = cropped();
      OwnedBitMap b = cropped();
      makeAlike(random, a, b, rates[below(random, std::size(rates))]);
      if (round % 2 == 0) b.fillValue ^= 0x01000000;
      // Colours that are opaque do not count, and those outside the image may be the same.
      for (std::int32_t i = 0; i < a.width * a.height; ++i) {
        if (round % 3 == 0) a.buffer[4 * i] |= 0xFF ^ (i % 7 / 6);
        if (round % 5 == 0) put(a, i, a.fillValue & 0xFEFFFFFF);
      }
      const Verdict got = {a.IsEqualToFullSize(b), a.FullChanged(b), a.Compare(b), a.HasAlphaWithColors(b)};
      ASSERT_EQ(got, byDefinition(a, b)) << describe(a) << " and " << describe(b);
      for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += got[i];
    }
  }
  for (const int count : sum) {
    EXPECT_GT(count, rounds / 50);
    EXPECT_LT(count, rounds - rounds / 50);
  }
  for (const Geometry& g : std::span(kEveryGeometry).first<3>()) {
    const OwnedBitMap empty = randomBitMap(random, g, 32);
    EXPECT_EQ(empty.FullChanged(empty), 0 >= (g.height - 1) * (g.width - 1) ? 1 : 0) << describe(empty);
  }
  // An image of another size is another image, and one of another depth no reference.
  OwnedBitMap plain(20, 20, 32);
  plain.Paint(std::uint64_t{5});
  plain.fillValue = 5;
  const OwnedBitMap taller = randomBitMap(random, {20, 21}, 32);
  EXPECT_EQ(plain.IsEqualToFullSize(taller) + plain.Compare(taller), 0);
  EXPECT_EQ(plain.FullChanged(taller), 1);
  EXPECT_EQ(plain.HasAlphaWithColors(taller) + taller.HasAlphaWithColors(plain), 1);
  const OwnedBitMap deep = randomBitMap(random, {20, 20}, 64);
  EXPECT_EQ(plain.HasAlphaWithColors(deep) + deep.HasAlphaWithColors(plain), 0);
  // Grey: the low-order byte of the fill value counts.
  OwnedBitMap grey;
  grey.AllocateCropped(5, 5, 0, 0, 5, 4, 8);
  grey.Paint(std::uint64_t{7});
  grey.fillValue = 0x107;
  OwnedBitMap full(5, 5, 8);
  full.Paint(std::uint64_t{7});
  EXPECT_EQ(grey.IsEqualToFullSize(full), 1);
  full.buffer[9] = 8;
  EXPECT_EQ(grey.IsEqualToFullSize(full), 0);
}

TEST(BitMapCompare, OnePixelOfAnImageWithoutEnd) {
  // 4.6e18 pixels, of which one is looked at.
  for (const int fillsDiffer : {0, 1}) {
    for (const std::int32_t at : {0, 1000000, INT_MAX - 1}) {
      OwnedBitMap a;
      OwnedBitMap b;
      a.AllocateCropped(INT_MAX, INT_MAX, at, at, at + 1, at + 1, 32);
      b.AllocateCropped(INT_MAX, INT_MAX, 5, 7, 6, 8, 32);
      put(a, 0, 1);
      put(b, 0, 0);
      b.fillValue = static_cast<std::uint32_t>(fillsDiffer);
      EXPECT_EQ(a.IsEqualToFullSize(b), 0);
      EXPECT_EQ(a.FullChanged(b), fillsDiffer);
      EXPECT_EQ(a.Compare(b), 1 - fillsDiffer);
      put(a, 0, 0);
      EXPECT_EQ(a.IsEqualToFullSize(b), 1 - fillsDiffer);
    }
  }
}

TEST(BitMapCompare, LeastHeights) {
  Random random(16);
  for (int round = 0; round < 200; ++round) {
    const Geometry sizes[] = {{1, 1}, {13, 9}, {5, 40}, {1100, 5}, {70, 70}};
    const Geometry g = sizes[round % 5];
    const OwnedBitMap heights = randomBitMap(random, g, 32);
    const Geometry c{between(random, 1, g.width > 60 ? g.width : 13), between(random, 1, 13),
                     between(random, -4, 4), between(random, -4, 4)};
    OwnedBitMap colors = randomBitMap(random, c, 32, 0x11);
    // The greatest value that does not count.
    for (std::int32_t i = 0; i < colors.width * colors.height; i += 3) put(colors, i, 0x00FFFFFF);
    // Few values, so that some are the least that counts.
    OwnedBitMap mask = randomBitMap(random, round % 2 == 0 ? kGeometries[below(random, 9)] : g, 32, 0x81);
    mask.fillValue &= 0x81818181;
    const std::uint32_t minMask =
        round % 4 == 0 ? 0x81000000 : static_cast<std::uint32_t>(random()) & 0x81818181;
    if (round % 3 == 0) put(mask, 0, minMask);
    OwnedBitMap previous = randomBitMap(random, g, 32, 0x11);
    const std::int32_t start = round % 3 == 1 ? -1000000000 : INT_MAX;
    auto [all, plain, masked, differing] = std::array{start, start, start, start};
    for (std::int32_t i = 0; i < g.width * g.height; ++i) {
      const auto h = static_cast<std::int32_t>(pixel(heights, i));
      all = std::min(all, h);
      const std::int32_t inColors = placeOf(colors, i % g.width, i / g.width);
      const std::uint32_t color = inColors < 0 ? 0 : pixel(colors, inColors);
      if (color <= 0xFFFFFF) continue;
      plain = std::min(plain, h);
      if (pixel(mask, placeOf(mask, i % g.width, i / g.width)) >= minMask) masked = std::min(masked, h);
      if (((color ^ pixel(previous, i)) & 0xFFFFFF) != 0) differing = std::min(differing, h);
    }
    ASSERT_EQ(heights.MinValue32(start), all);
    ASSERT_EQ(heights.FullMinValue32ColorMap(start, colors, nullptr, 0), plain);
    ASSERT_EQ(heights.FullMinValue32ColorMap(start, colors, &mask, minMask), masked);
    ASSERT_EQ(heights.FullMinValue32ColorMapDiffers(start, colors, previous), differing);
    previous.Free();
    ASSERT_EQ(heights.FullMinValue32ColorMapDiffers(start, colors, previous), start);
    colors.Free();
    ASSERT_EQ(heights.FullMinValue32ColorMap(start, colors, nullptr, 0), start);
  }
  const OwnedBitMap cropped = randomBitMap(random, {5, 5, 0, 0, 0, 2}, 32);
  EXPECT_EQ(cropped.FullMinValue32ColorMap(INT_MAX, cropped, nullptr, 0), INT_MAX);
  EXPECT_EQ(ABitMap{}.MinValue32(7), 7);
}

}  // namespace
