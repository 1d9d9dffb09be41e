#include <algorithm>
#include <climits>
#include <functional>

#include "ImageSupport.h"

namespace {

OwnedBitMap copyOf(const ABitMap& map) {
  OwnedBitMap copy;
  static_cast<ABitMap&>(copy) = map;
  copy.buffer = static_cast<unsigned char*>(MY_MEM_MALLOC(map.BufferBytes(), "copy"));
  std::memcpy(copy.buffer, map.buffer, static_cast<std::size_t>(map.BufferBytes()));
  return copy;
}

void put(ABitMap& map, std::int32_t index, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) map.buffer[4 * index + i] = static_cast<unsigned char>(value >> (24 - 8 * i));
}

TEST(BitMapCompare, IsEqualLooksAtEverything) {
  Random random(11);
  for (const std::int32_t depth : {8, 16, 24, 32, 64}) {
    for (const Geometry& g : joined(kGeometries, kLargeGeometries)) {
      const OwnedBitMap map = randomBitMap(random, g, depth);
      SCOPED_TRACE(describe(map));
      OwnedBitMap other = copyOf(map);
      const bool hasColor = depth == 8 || depth == 32;
      const auto expect = [&](int exact, int color) {
        EXPECT_EQ(map.IsEqual(other, false), exact);
        EXPECT_EQ(map.IsEqual(other, true), hasColor ? color : 0);
      };
      expect(1, 1);
      const bool cropped = g.left != 0 || g.right != 0 || g.top != 0 || g.bottom != 0;
      other.fillValue ^= 0xFF000000;
      expect(1, 1);
      other.fillValue ^= 0x100;
      expect(cropped ? 0 : 1, cropped ? 0 : 1);
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

TEST(BitMapCompare, LogicalImages) {
  Random random(12);
  for (const Geometry& g : joined(kGeometries, kLargeGeometries)) {
    const OwnedBitMap map = randomBitMap(random, g, 32);
    SCOPED_TRACE(describe(map));
    OwnedBitMap full;
    ASSERT_EQ(full.CreateUnpaddedFrom(map), 0);
    EXPECT_EQ(map.IsEqualToFullSize(full), 1);
    EXPECT_EQ(full.IsEqualToFullSize(map), 1);
    full.buffer[below(random, static_cast<std::uint32_t>(full.BufferBytes()))] ^= 1;
    EXPECT_EQ(map.IsEqualToFullSize(full), 0);

    OwnedBitMap grey = randomBitMap(random, g, 8);
    OwnedBitMap fullGrey;
    fullGrey.Allocate(grey.fullWidth, grey.fullHeight, 8);
    for (std::int32_t i = 0; i < fullGrey.BufferBytes(); ++i) {
      fullGrey.buffer[i] = static_cast<unsigned char>(logical(grey, i % grey.fullWidth, i / grey.fullWidth));
    }
    EXPECT_EQ(grey.IsEqualToFullSize(fullGrey), 1);
    fullGrey.buffer[fullGrey.BufferBytes() - 1] ^= 0x80;
    EXPECT_EQ(grey.IsEqualToFullSize(fullGrey), 0);
    EXPECT_EQ(grey.IsEqualToFullSize(map), 0);
  }
}

TEST(BitMapCompare, FullChangedCountsPixels) {
  Random random(13);
  for (const Geometry& g :
       {Geometry{1, 1}, {2, 2}, {9, 1}, {7, 6}, {1500, 4}, {5, 4, 2, 1, 0, 3}, {0, 0}, {0, 3}, {1, 0}}) {
    OwnedBitMap map = randomBitMap(random, g, 32);
    OwnedBitMap other = copyOf(map);
    SCOPED_TRACE(describe(map));
    const std::int32_t needed = (map.fullHeight - 1) * (map.fullWidth - 1);
    std::vector<std::int32_t> order(static_cast<std::size_t>(g.width * g.height));
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<std::int32_t>(i);
    std::shuffle(order.begin(), order.end(), random);
    std::int32_t changed = 0;
    EXPECT_EQ(map.FullChanged(other), changed >= needed ? 1 : 0);
    for (const std::int32_t index : order) {
      other.buffer[4 * index + static_cast<std::int32_t>(below(random, 4))] ^= 4;
      ++changed;
      if (changed < needed - 20) continue;
      ASSERT_EQ(map.FullChanged(other), changed >= needed ? 1 : 0) << changed;
    }
  }
  OwnedBitMap a = randomBitMap(random, {4, 4}, 32);
  EXPECT_EQ(a.FullChanged(randomBitMap(random, {4, 5}, 32)), 1);
  EXPECT_EQ(a.FullChanged(ABitMap{4, 4}), 1);
  EXPECT_EQ(a.FullChanged(randomBitMap(random, {4, 4}, 8)), 1);
}

int comparedByDefinition(const ABitMap& a, const ABitMap& b) {
  const auto agree = [&](std::int32_t x, std::int32_t y) { return logical(a, x, y) == logical(b, x, y); };
  for (std::int32_t y = 0; y < a.fullHeight - 12; ++y) {
    for (std::int32_t x = 0; x < a.fullWidth - 12; ++x) {
      bool good = agree(x, y);
      for (std::int32_t k = 1; k <= 11; ++k) good = good || agree(x + k, y);
      for (std::int32_t k = 1; k <= 10; ++k) good = good || agree(x + k, y + k);
      for (std::int32_t k = 0; k <= 9; ++k) good = good || agree(x + 11 - k, y + k);
      if (!good) return 0;
    }
  }
  return 1;
}

TEST(BitMapCompare, CompareForgivesShifts) {
  Random random(14);
  int agreed = 0;
  int rounds = 0;
  for (const Geometry& g :
       {Geometry{12, 12}, {13, 13}, {30, 25}, {21, 19, 3, 2, 4, 5}, {33, 40, -2, -1, -3, 0}, {70, 70}}) {
    for (int round = 0; round < 60; ++round) {
      // Rare places of agreement, so that each kind of neighbour decides now and then.
      const OwnedBitMap a = randomBitMap(random, g, 32);
      OwnedBitMap b = copyOf(a);
      b.fillValue = round % 2 == 0 ? a.fillValue : ~a.fillValue;
      const std::uint32_t different = 80 + below(random, 20);
      for (std::int32_t i = 0; i < g.width * g.height; ++i) {
        if (below(random, 100) < different) b.buffer[4 * i] ^= 1;
      }
      const int expected = comparedByDefinition(a, b);
      ASSERT_EQ(a.Compare(b), expected) << describe(a) << " round " << round;
      agreed += expected;
      ++rounds;
    }
  }
  EXPECT_GT(agreed, rounds / 10);
  EXPECT_LT(agreed, rounds - rounds / 10);

  // Twelve columns that differ leave the first of them alone unforgiven, wherever it lies in a long row's
  // pieces, until one of them agrees.
  const OwnedBitMap wide = randomBitMap(random, {1100, 14}, 32);
  for (std::int32_t x = 1000; x <= 1088; ++x) {
    OwnedBitMap other = copyOf(wide);
    for (std::int32_t y = 1; y < 14; ++y) {
      for (std::int32_t k = x; k < x + 12; ++k) other.buffer[4 * (1100 * y + k)] ^= 1;
    }
    EXPECT_EQ(wide.Compare(other), x < 1088 ? 0 : 1) << x;
    for (std::int32_t k = x; k < x + 12; ++k) {
      other.buffer[4 * (1100 + k)] ^= 1;
      EXPECT_EQ(wide.Compare(other), 1) << x << " but for " << k;
      other.buffer[4 * (1100 + k)] ^= 1;
    }
  }

  OwnedBitMap image;
  image.Allocate(40, 30, 32);
  for (std::int32_t i = 0; i < 40 * 30; ++i) put(image, i, static_cast<std::uint32_t>(i % 40 / 4));
  OwnedBitMap shifted = copyOf(image);
  for (std::int32_t i = 1; i < 40 * 30; ++i) put(shifted, i, word(image.buffer + 4 * (i - 1)));
  EXPECT_EQ(image.Compare(shifted), 1);
  EXPECT_EQ(image.Compare(randomBitMap(random, {40, 29}, 32)), 0);
  EXPECT_EQ(image.Compare(ABitMap{40, 30}), 0);
  OwnedBitMap small = randomBitMap(random, {11, 40}, 32);
  EXPECT_EQ(small.Compare(small), 0);
}

TEST(BitMapCompare, AlphaWithColors) {
  Random random(15);
  int found = 0;
  for (int round = 0; round < 4000; ++round) {
    const auto margin = [&] { return static_cast<std::int32_t>(below(random, 4)) - 1; };
    Geometry g{0, 0, margin(), margin(), margin(), margin()};
    g.width = 8 - g.left - g.right;
    g.height = 7 - g.top - g.bottom;
    OwnedBitMap map = randomBitMap(random, g, 32, 0);
    Geometry r{0, 0, margin(), margin(), margin(), margin()};
    r.width = (round % 7 == 0 ? 9 : 8) - r.left - r.right;
    r.height = 7 - r.top - r.bottom;
    OwnedBitMap reference = randomBitMap(random, r, round % 5 == 0 ? 64 : 32, 0);
    for (ABitMap* one : {static_cast<ABitMap*>(&map), static_cast<ABitMap*>(&reference)}) {
      one->fillValue = below(random, 2);
      const std::uint32_t rare = below(random, 60);
      for (std::int32_t i = 0; i < one->width * one->height; ++i) {
        put(*one, i, (below(random, 3) == 0 ? 0xFF000000 : 0xFE000000) | (below(random, 60) < rare ? 1 : 0));
      }
    }
    const bool usable = reference.depth == 32 && reference.fullWidth == 8 && map.top >= reference.top &&
                        map.left >= reference.left && map.right >= reference.right;
    int expected = 0;
    for (std::int32_t i = 0; i < g.width * g.height; ++i) {
      const std::uint32_t p = word(map.buffer + 4 * i);
      std::uint32_t other = map.fillValue;
      if (usable) {
        const std::int32_t dx = g.left + i % g.width - reference.left;
        const std::int32_t dy = g.top + i / g.width - reference.top;
        const bool stored = dx >= 0 && dy >= 0 && dx < reference.width && dy < reference.height;
        other = stored ? word(reference.buffer + 4 * (dy * reference.width + dx)) : reference.fillValue;
      }
      if (p >> 24 < 255 && ((p ^ other) & 0xFFFFFF) != 0) expected = 1;
    }
    ASSERT_EQ(map.HasAlphaWithColors(reference), expected) << describe(map) << " / " << describe(reference);
    found += expected;
  }
  EXPECT_GT(found, 400);
  EXPECT_LT(found, 3900);
  EXPECT_EQ(randomBitMap(random, {3, 3}, 64).HasAlphaWithColors(ABitMap{}), 0);
}

TEST(BitMapCompare, LeastHeights) {
  Random random(16);
  for (const Geometry& g : {Geometry{1, 1}, {13, 9}, {5, 40}, {1100, 5}, {70, 70}}) {
    const OwnedBitMap heights = randomBitMap(random, g, 32);
    std::int32_t all = 5;
    for (std::int32_t i = 0; i < g.width * g.height; ++i) {
      all = std::min(all, static_cast<std::int32_t>(word(heights.buffer + 4 * i)));
    }
    EXPECT_EQ(heights.MinValue32(5), all);
    EXPECT_EQ(heights.MinValue32(INT_MIN), INT_MIN);
    for (int round = 0; round < 40; ++round) {
      const std::uint32_t widest = g.width > 60 ? static_cast<std::uint32_t>(g.width) : 12;
      Geometry c{1 + static_cast<std::int32_t>(below(random, widest)),
                 1 + static_cast<std::int32_t>(below(random, 12)),
                 static_cast<std::int32_t>(below(random, 8)) - 4,
                 static_cast<std::int32_t>(below(random, 8)) - 4};
      OwnedBitMap colors = randomBitMap(random, c, 32, 0x11);
      // The greatest value that does not count.
      for (std::int32_t i = 0; i < c.width * c.height; i += 3) put(colors, i, 0x00FFFFFF);
      const Geometry m = round % 2 == 0 ? kGeometries[below(random, std::size(kGeometries))] : g;
      const OwnedBitMap mask = randomBitMap(random, m, 32);
      OwnedBitMap previous = randomBitMap(random, g, 32, 0x11);
      const std::uint32_t minMask = static_cast<std::uint32_t>(random());
      const std::int32_t start = round % 3 == 0 ? -1000000000 : INT_MAX;
      std::int32_t plain = start;
      std::int32_t masked = start;
      std::int32_t differing = start;
      for (std::int32_t y = 0; y < g.height; ++y) {
        for (std::int32_t x = 0; x < g.width; ++x) {
          const std::int32_t dx = x - colors.left;
          const std::int32_t dy = y - colors.top;
          if (dx < 0 || dy < 0 || dx >= c.width || dy >= c.height) continue;
          const std::uint32_t color = word(colors.buffer + 4 * (dy * c.width + dx));
          if (color <= 0xFFFFFF) continue;
          const auto h = static_cast<std::int32_t>(word(heights.buffer + 4 * (y * g.width + x)));
          plain = std::min(plain, h);
          const std::int32_t mx = x - mask.left;
          const std::int32_t my = y - mask.top;
          const bool stored = mx >= 0 && my >= 0 && mx < mask.width && my < mask.height &&
                              x < mask.fullWidth - mask.right && y < mask.fullHeight - mask.bottom;
          const std::uint32_t value =
              stored ? word(mask.buffer + 4 * (my * mask.width + mx)) : mask.fillValue;
          if (value >= minMask) masked = std::min(masked, h);
          if (((color ^ word(previous.buffer + 4 * (y * g.width + x))) & 0xFFFFFF) != 0)
            differing = std::min(differing, h);
        }
      }
      ASSERT_EQ(heights.FullMinValue32ColorMap(start, colors, nullptr, 0), plain);
      ASSERT_EQ(heights.FullMinValue32ColorMap(start, colors, &mask, minMask), masked);
      ASSERT_EQ(heights.FullMinValue32ColorMapDiffers(start, colors, previous), differing);
      previous.Free();
      ASSERT_EQ(heights.FullMinValue32ColorMapDiffers(start, colors, previous), start);
      colors.Free();
      ASSERT_EQ(heights.FullMinValue32ColorMap(start, colors, nullptr, 0), start);
    }
  }
  const OwnedBitMap cropped = randomBitMap(random, {5, 5, 1, 0, 0, 0}, 32);
  EXPECT_EQ(cropped.FullMinValue32ColorMap(77, cropped, nullptr, 0), 77);
  EXPECT_EQ(ABitMap{}.MinValue32(7), 7);
  EXPECT_EQ(randomBitMap(random, {5, 5}, 8).MinValue32(INT_MIN), INT_MIN);
  // Pixels are 4 bytes apart at depth 64 as well, width x height of them.
  OwnedBitMap wide;
  wide.Allocate(2, 1, 64);
  for (std::int32_t i = 0; i < 4; ++i) put(wide, i, static_cast<std::uint32_t>(-i));
  EXPECT_EQ(wide.MinValue32(9), -1);
}

}  // namespace
