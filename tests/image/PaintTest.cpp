#include <algorithm>
#include <climits>
#include <functional>

#include "ImageSupport.h"
#include "geometry/Point3D.h"

namespace {

using Word = std::uint32_t;

Bytes bytesOf(const std::vector<Word>& values) {
  Bytes bytes;
  for (const Word v : values) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<unsigned char>(v >> shift));
  }
  return bytes;
}

std::vector<Word> wordsOf(const ABitMap& map) {
  std::vector<Word> words;
  for (std::int32_t i = 0; i + 4 <= map.BufferBytes(); i += 4) words.push_back(word(map.buffer + i));
  return words;
}

Word darkened(Word p) {
  return (p >> 1) & 0x7F7F7F;
}
Word darkenedQuarter(Word p) {
  return p - ((p >> 2) & 0x3F3F3F);
}

using Rect = Geometry;

/// What changes pixels: those of `other` by their places, or those of a rectangle.
struct Operation {
  const char* name;
  void (*apply)(ABitMap&, const Rect&, const ABitMap& other);
  Word (*pixel)(Word p, Word q);
};

const Operation kRectOperations[] = {
    {"Paint", [](auto& m, auto& r, auto&) { m.Paint(Word{0x81020304}, r.left, r.top, r.width, r.height); },
     [](Word, Word) { return Word{0x81020304}; }},
    {"Mask_Add", [](auto& m, auto& r, auto&) { m.Mask_Add(0x90F0E0FF, r.left, r.top, r.width, r.height); },
     [](Word p, Word) { return p + 0x90F0E0FF; }},
    {"Darken", [](auto& m, auto& r, auto&) { m.Darken(r.left, r.top, r.width, r.height); },
     [](Word p, Word) { return darkened(p); }},
    {"DarkenQtr", [](auto& m, auto& r, auto&) { m.DarkenQtr(r.left, r.top, r.width, r.height); },
     [](Word p, Word) { return darkenedQuarter(p); }},
    {"DarkenAndAdd",
     [](auto& m, auto& r, auto&) {
       m.DarkenAndAdd(0x01FF02F0, r.left, r.top, r.width, r.height, 0x40404000);
     },
     [](Word p, Word) { return p == 0x40404000 ? p : darkenedQuarter(p) + 0x01FF02F0; }},
    {"Switch",
     [](auto& m, auto& r, auto&) { m.Switch(0x40404000, 0x01020304, r.left, r.top, r.width, r.height); },
     [](Word p, Word) { return p == 0x40404000 ? Word{0x01020304} : p; }},
};

const Operation kWholeOperations[] = {
    {"Darken", [](auto& m, auto&, auto&) { m.Darken(); }, [](Word p, Word) { return darkened(p); }},
    {"Mask_Add", [](auto& m, auto&, auto&) { m.Mask_Add(0x00FFFFFF); },
     [](Word p, Word) { return p + 0x00FFFFFF; }},
    {"BlendQtrIntensiy", [](auto& m, auto&, auto& other) { m.BlendQtrIntensiy(other); },
     [](Word p, Word q) { return darkenedQuarter(p) + ((q >> 2) & 0x3F3F3F); }},
    {"Blend3QtrIntensiy", [](auto& m, auto&, auto& other) { m.Blend3QtrIntensiy(other); },
     [](Word p, Word q) { return ((p >> 4) & 0x0F0F0F) + q - ((q >> 4) & 0x0F0F0F); }},
    {"InvertAlphaRGBA", [](auto& m, auto&, auto&) { m.InvertAlphaRGBA(); },
     [](Word p, Word) { return (p & 0xFFFFFF00) | (255 - (p & 0xFF)); }},
    {"WriteAlphaToMaterial",
     [](auto& m, auto&, auto& other) { EXPECT_EQ(m.WriteAlphaToMaterial(other, -7), 1); },
     [](Word p, Word q) { return (p & 0xFFFFFF00) | (static_cast<std::int32_t>(q) < -7 ? 0xFF : 0); }},
};

/// The words of `map` after `operation` has been at each.
Bytes changed(const Operation& operation, const ABitMap& map, const ABitMap& other) {
  std::vector<Word> words = wordsOf(map);
  for (std::size_t i = 0; i < words.size(); ++i)
    words[i] = operation.pixel(words[i], word(other.buffer + 4 * i));
  return bytesOf(words);
}

TEST(BitMapPaint, RectanglesAreClipped) {
  // Of an image of 7 x 5 pixels: every way to lie across, inside and outside each edge, and the extremes.
  const std::pair<std::int32_t, std::int32_t> spans[] = {{-3, 5}, {-3, 3}, {0, 0},       {0, -1},
                                                         {0, 1},  {2, 3},  {2, 2},       {2, INT_MAX},
                                                         {6, 9},  {7, 1},  {INT_MAX, 1}, {INT_MIN, INT_MAX},
                                                         {-9, 40}};
  Random random(5);
  for (const Operation& operation : kRectOperations) {
    for (const Geometry& g : {Geometry{7, 5}, {3, 2, 2, 1, 2, 2}, {9, 8, -1, -2, -1, -1}}) {
      for (std::size_t i = 0; i < std::size(spans) * std::size(spans); ++i) {
        const auto [a, b] = std::pair(spans[i % std::size(spans)], spans[i / std::size(spans)]);
        const Rect r{a.second, b.second, a.first, b.first};
        SCOPED_TRACE(std::string(operation.name) + " " + std::to_string(i));
        // Few values, so that each occurs.
        OwnedBitMap map = randomBitMap(random, g, 32, 0x40);
        std::vector<Word> expected = wordsOf(map);
        const bool zeroIsAll = operation.name == std::string("Switch");
        const std::int64_t w = zeroIsAll && r.width == 0 ? map.fullWidth : r.width;
        const std::int64_t h = zeroIsAll && r.height == 0 ? map.fullHeight : r.height;
        for (std::int32_t n = 0; n < map.fullWidth * map.fullHeight; ++n) {
          const auto [x, y] = std::pair(n % map.fullWidth, n / map.fullWidth);
          const std::int32_t index = storedIndex(map, x, y);
          if (index < 0 || x < r.left || y < r.top || x >= r.left + w || y >= r.top + h) continue;
          Word& p = expected[static_cast<std::size_t>(index)];
          p = operation.pixel(p, 0);
        }
        // Margins that do not add up do not count.
        if (g.left == 0 && i % 2 == 0) setStaleMargins(map);
        operation.apply(map, r, map);
        ASSERT_EQ(map.bytes(), bytesOf(expected));
      }
    }
    // Eight bits: ten pixels, of which the rows of five make two.
    OwnedBitMap grey = randomBitMap(random, {5, 8}, 8);
    const Bytes expected = changed(operation, grey, grey);
    operation.apply(grey, {99, 99, -1, -1}, grey);
    EXPECT_EQ(grey.bytes(), expected) << operation.name;
  }
}

TEST(BitMapPaint, KnownPixels) {
  const auto painted = [](std::int32_t depth, const FPoint3D& color) {
    OwnedBitMap map(1, 1, depth);
    map.Paint(color);
    return map.bytes();
  };
  EXPECT_EQ(painted(32, {1.0F, 0.5F, -3.0F}), bytesOf({0xFFFF8000}));
  EXPECT_EQ(painted(32, {0.25F, 0.499F, 0.001F}), bytesOf({0xFF407F00}));
  EXPECT_EQ(painted(64, {2.0F, 0.5F, 0.0F}), bytesOf({0xFFFFFFFF, 0x80000000}));
  const struct {
    std::int32_t weight;
    Word from, to, blended;
  } blends[] = {{0x8000, 0x11000140, 0x99FF0241, 0x11800241},  // half a step is rounded up
                {0, 0x11000140, 0x99FF0241, 0x11000140},
                {0x10000, 0x11000140, 0x99FF0241, 0x11FF0241},
                {0x4000, 0x11806040, 0x99000000, 0x11604830},
                {-0x10000, 0x11101010, 0x00204010, 0x1100E010},  // as computed, though out of range
                {0x7FFFFFFF, 0x11000000, 0x00020000, 0x11000000}};
  for (const auto& row : blends) {
    AMRGB pixel = AMRGB::FromValue(row.from);
    const int stops = stopsOf([&] { pixel.BlendRGB(AMRGB::FromValue(row.to), row.weight); });
    EXPECT_EQ(pixel.Value(), row.blended) << row.weight;
    EXPECT_EQ(stops, row.weight < 0 || row.weight > 0x10000 ? 1 : 0);
  }
}

TEST(BitMapPaint, WholeImagesChangeStoredPixelsAlone) {
  Random random(6);
  constexpr std::uint64_t kValue = 0xF1E2D3C4B5A69788;
  const struct {
    const char* name;
    void (*apply)(ABitMap&);
    int (*byte)(int b, int v);
  } byteWise[] = {{"Paint", [](ABitMap& m) { m.Paint(kValue); }, [](int, int v) { return v; }},
                  {"Mask_And", [](ABitMap& m) { m.Mask_And(kValue); }, [](int b, int v) { return b & v; }},
                  {"Mask_Or", [](ABitMap& m) { m.Mask_Or(kValue); }, [](int b, int v) { return b | v; }}};
  for (const std::int32_t depth : {8, 16, 24, 32, 64}) {
    for (const Geometry& g : kGeometries) {
      const OwnedBitMap original = randomBitMap(random, g, depth);
      const auto check = [&](const char* name, const Bytes& expected, auto apply) {
        OwnedBitMap map = original;
        apply(map);
        EXPECT_EQ(describe(map), describe(original));
        EXPECT_TRUE(map.bytes() == expected) << describe(map) << " " << name;
      };
      for (const auto& operation : byteWise) {
        Bytes bytes = original.bytes();
        for (std::size_t i = 0; i < bytes.size() && depth != 24; ++i) {
          const std::size_t shift =
              static_cast<std::size_t>(depth) - 8 - 8 * i % static_cast<std::size_t>(depth);
          bytes[i] = static_cast<unsigned char>(operation.byte(bytes[i], kValue >> shift & 0xFF));
        }
        check(operation.name, bytes, operation.apply);
      }
      check("PaintZero", Bytes(original.bytes().size(), 0), [](ABitMap& m) { m.PaintZero(); });
      Bytes flipped = original.bytes();
      const std::ptrdiff_t rowBytes = g.width * depth / 8;
      for (std::ptrdiff_t y = 0; y < g.height && depth >= 32; ++y) {
        const unsigned char* const row = original.buffer + (g.height - 1 - y) * rowBytes;
        std::copy(row, row + rowBytes, flipped.begin() + y * rowBytes);
      }
      check("FlipVert", flipped, [](ABitMap& m) { m.FlipVert(); });
      if (depth != 32) {
        check("InvertAlphaRGBA", original.bytes(), [](ABitMap& m) { m.InvertAlphaRGBA(); });
        continue;
      }
      OwnedBitMap other = randomBitMap(random, g, depth);
      put(other, 0, static_cast<Word>(-7));
      for (const Operation& operation : kWholeOperations)
        check(operation.name, changed(operation, original, other),
              [&](ABitMap& m) { operation.apply(m, {}, other); });
    }
  }
}

TEST(BitMapPaint, AlphaToMaterial) {
  Random random(7);
  // Pixels of material and source are 4 bytes apart at depth 64 as well.
  OwnedBitMap wide = randomBitMap(random, {5, 3}, 64);
  const OwnedBitMap a = randomBitMap(random, {5, 3}, 32);
  std::vector<Word> expected = wordsOf(wide);
  for (std::int32_t i = 0; i < 15; ++i)
    expected[static_cast<std::size_t>(i)] =
        kWholeOperations[5].pixel(expected[static_cast<std::size_t>(i)], pixel(a, i));
  EXPECT_EQ(wide.WriteAlphaToMaterial(a, -7), 1);
  EXPECT_EQ(wordsOf(wide), expected);
  for (const Geometry& g : {Geometry{4, 3, 1}, {4, 3, 0, 0, 1}, {5, 2, 0, 1}, {5, 2, 0, 0, 0, 1}, {5, 6}})
    EXPECT_EQ(randomBitMap(random, g, 32).WriteAlphaToMaterial(a, 0), 0);
  // Nothing stored is nothing missing.
  OwnedBitMap empty;
  empty.AllocateCropped(5, 5, 2, 2, 2, 4, 32);
  EXPECT_EQ(empty.WriteAlphaToMaterial(empty, 0), 1);
}

TEST(BitMapPaint, ContrastIsStretched) {
  const struct {
    std::int32_t depth;
    Bytes before, normal, cavity;
  } cases[] = {
      {8, {10, 20, 30, 12}, {0, 128, 255, 26}, {1, 12, 23, 4}},
      {8, {128, 138, 108, 128}, {170, 255, 0, 170}, {128, 191, 1, 128}},
      {8, {7, 7}, {7, 7}, {1, 1}},
      {8, {128, 128}, {128, 128}, {128, 128}},
      {16, {0, 0, 253, 232, 117, 48}, {0, 0, 255, 255, 118, 39}, {0, 1, 253, 231, 117, 49}},
      {32,
       {238, 10, 20, 30, 0, 30, 20, 10},
       {238, 0, 128, 255, 0, 255, 128, 0},
       {238, 1, 12, 23, 0, 23, 12, 1}},
      {64, {9, 9, 16, 0, 32, 0, 48, 0}, {9, 9, 0, 0, 128, 0, 255, 255}, {9, 9, 0, 1, 18, 74, 36, 147}},
      {24, {1, 2, 3}, {1, 2, 3}, {1, 2, 3}},
  };
  for (const auto& c : cases) {
    OwnedBitMap map(static_cast<std::int32_t>(c.before.size()) * 8 / c.depth, 1, c.depth);
    std::copy(c.before.begin(), c.before.end(), map.buffer);
    OwnedBitMap cavity = map;
    map.Normalize();
    cavity.NormalizeCavityShade();
    EXPECT_EQ(map.bytes(), c.normal);
    EXPECT_EQ(cavity.bytes(), c.cavity);
  }
}

}  // namespace
