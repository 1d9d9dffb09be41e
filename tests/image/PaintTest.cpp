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

struct Rect {
  std::int32_t x, y, w, h;
};

struct RectOperation {
  const char* name;
  void (*apply)(ABitMap&, const Rect&);
  Word (*pixel)(Word);
  bool zeroIsAll = false;
};

const RectOperation kRectOperations[] = {
    {"Paint", [](ABitMap& m, const Rect& r) { m.Paint(Word{0x81020304}, r.x, r.y, r.w, r.h); },
     [](Word) { return Word{0x81020304}; }},
    {"Mask_Add", [](ABitMap& m, const Rect& r) { m.Mask_Add(0x90F0E0FF, r.x, r.y, r.w, r.h); },
     [](Word p) { return p + 0x90F0E0FF; }},
    {"Darken", [](ABitMap& m, const Rect& r) { m.Darken(r.x, r.y, r.w, r.h); }, darkened},
    {"DarkenQtr", [](ABitMap& m, const Rect& r) { m.DarkenQtr(r.x, r.y, r.w, r.h); }, darkenedQuarter},
    {"DarkenAndAdd",
     [](ABitMap& m, const Rect& r) { m.DarkenAndAdd(0x01FF02F0, r.x, r.y, r.w, r.h, 0x40404000); },
     [](Word p) { return p == 0x40404000 ? p : darkenedQuarter(p) + 0x01FF02F0; }},
    {"Switch", [](ABitMap& m, const Rect& r) { m.Switch(0x40404000, 0x01020304, r.x, r.y, r.w, r.h); },
     [](Word p) { return p == 0x40404000 ? Word{0x01020304} : p; }, true},
};

TEST(BitMapPaint, RectanglesAreClipped) {
  // Of an image of 7 x 5 pixels: every way to lie across, inside and outside each edge, and the extremes.
  const struct {
    std::int32_t at, size;
  } spans[] = {{-3, 5}, {-3, 3},      {0, 0}, {0, -1}, {0, 1},       {2, 3},
               {2, 2},  {2, INT_MAX}, {6, 9}, {7, 1},  {INT_MAX, 1}, {INT_MIN, INT_MAX},
               {-9, 40}};
  Random random(5);
  for (const RectOperation& operation : kRectOperations) {
    for (const Geometry& g : {Geometry{7, 5}, {3, 2, 2, 1, 2, 2}, {9, 8, -1, -2, -1, -1}}) {
      for (std::size_t i = 0; i < std::size(spans) * std::size(spans); ++i) {
        const auto [a, b] = std::pair(spans[i % std::size(spans)], spans[i / std::size(spans)]);
        const Rect r{a.at, b.at, a.size, b.size};
        SCOPED_TRACE(std::string(operation.name) + " " + std::to_string(r.x) + "," + std::to_string(r.y) +
                     " " + std::to_string(r.w) + "x" + std::to_string(r.h));
        // Few values, so that each occurs.
        OwnedBitMap map = randomBitMap(random, g, 32, 0x40);
        std::vector<Word> expected = wordsOf(map);
        const std::int64_t w = operation.zeroIsAll && r.w == 0 ? map.fullWidth : r.w;
        const std::int64_t h = operation.zeroIsAll && r.h == 0 ? map.fullHeight : r.h;
        for (std::int32_t y = 0; y < map.fullHeight; ++y) {
          for (std::int32_t x = 0; x < map.fullWidth; ++x) {
            const std::int32_t index = storedIndex(map, x, y);
            if (index < 0 || x < r.x || y < r.y || x >= r.x + w || y >= r.y + h) continue;
            Word& p = expected[static_cast<std::size_t>(index)];
            p = operation.pixel(p);
          }
        }
        // Margins that do not add up do not count.
        if (g.left == 0 && i % 2 == 0) setStaleMargins(map);
        operation.apply(map, r);
        ASSERT_EQ(map.bytes(), bytesOf(expected));
      }
    }
    // Eight bits: ten pixels, of which the rows of five make two.
    OwnedBitMap grey = randomBitMap(random, {5, 8}, 8);
    std::vector<Word> expected = wordsOf(grey);
    for (Word& p : expected) p = operation.pixel(p);
    operation.apply(grey, {-1, -1, 99, 99});
    EXPECT_EQ(grey.bytes(), bytesOf(expected)) << operation.name;
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
    gStopCount = 0;
    pixel.BlendRGB(AMRGB::FromValue(row.to), row.weight);
    EXPECT_EQ(pixel.Value(), row.blended) << row.weight;
    EXPECT_EQ(gStopCount, row.weight < 0 || row.weight > 0x10000 ? 1 : 0);
  }
}

struct WholeOperation {
  const char* name;
  void (*apply)(ABitMap&, const ABitMap& other);
  Word (*pixel)(Word p, Word q);
};

const WholeOperation kWholeOperations[] = {
    {"Darken", [](ABitMap& m, const ABitMap&) { m.Darken(); }, [](Word p, Word) { return darkened(p); }},
    {"Mask_Add", [](ABitMap& m, const ABitMap&) { m.Mask_Add(0x00FFFFFF); },
     [](Word p, Word) { return p + 0x00FFFFFF; }},
    {"BlendQtrIntensiy", [](ABitMap& m, const ABitMap& other) { m.BlendQtrIntensiy(other); },
     [](Word p, Word q) { return darkenedQuarter(p) + ((q >> 2) & 0x3F3F3F); }},
    {"Blend3QtrIntensiy", [](ABitMap& m, const ABitMap& other) { m.Blend3QtrIntensiy(other); },
     [](Word p, Word q) { return ((p >> 4) & 0x0F0F0F) + q - ((q >> 4) & 0x0F0F0F); }},
    {"InvertAlphaRGBA", [](ABitMap& m, const ABitMap&) { m.InvertAlphaRGBA(); },
     [](Word p, Word) { return (p & 0xFFFFFF00) | (255 - (p & 0xFF)); }},
    {"WriteAlphaToMaterial",
     [](ABitMap& m, const ABitMap& other) { EXPECT_EQ(m.WriteAlphaToMaterial(other, -7), 1); },
     [](Word p, Word q) { return (p & 0xFFFFFF00) | (static_cast<std::int32_t>(q) < -7 ? 0xFF : 0); }},
};

TEST(BitMapPaint, WholeImagesChangeStoredPixelsAlone) {
  Random random(6);
  constexpr std::uint64_t kValue = 0xF1E2D3C4B5A69788;
  for (const std::int32_t depth : {8, 16, 24, 32, 64}) {
    for (const Geometry& g : kGeometries) {
      const OwnedBitMap original = randomBitMap(random, g, depth);
      OwnedBitMap other = randomBitMap(random, g, depth);
      if (depth >= 32) put(other, 0, static_cast<Word>(-7));
      SCOPED_TRACE(describe(original));
      const auto check = [&](const std::function<void(ABitMap&)>& apply, const Bytes& expected) {
        OwnedBitMap map = copyOf(original);
        apply(map);
        EXPECT_EQ(describe(map), describe(original));
        return map.bytes() == expected;
      };
      const auto byteWise = [&](auto op) {
        Bytes bytes = original.bytes();
        for (std::size_t i = 0; i < bytes.size() && depth != 24; ++i) {
          const std::size_t shift =
              static_cast<std::size_t>(depth) - 8 - 8 * i % static_cast<std::size_t>(depth);
          bytes[i] = static_cast<unsigned char>(op(bytes[i], kValue >> shift));
        }
        return bytes;
      };
      EXPECT_TRUE(check([](ABitMap& m) { m.Paint(kValue); }, byteWise([](auto, auto v) { return v; })));
      EXPECT_TRUE(
          check([](ABitMap& m) { m.Mask_And(kValue); }, byteWise([](auto b, auto v) { return b & v; })));
      EXPECT_TRUE(
          check([](ABitMap& m) { m.Mask_Or(kValue); }, byteWise([](auto b, auto v) { return b | v; })));
      EXPECT_TRUE(check([](ABitMap& m) { m.PaintZero(); }, Bytes(original.bytes().size(), 0)));
      for (const WholeOperation& operation : kWholeOperations) {
        if (depth != 32) continue;
        std::vector<Word> words = wordsOf(original);
        for (std::size_t i = 0; i < words.size(); ++i)
          words[i] = operation.pixel(words[i], wordsOf(other)[i]);
        EXPECT_TRUE(check([&](ABitMap& m) { operation.apply(m, other); }, bytesOf(words))) << operation.name;
      }
      const auto invert = [](ABitMap& m) { m.InvertAlphaRGBA(); };
      EXPECT_EQ(check(invert, original.bytes()), depth != 32);
      Bytes flipped = original.bytes();
      const std::ptrdiff_t rowBytes = g.width * depth / 8;
      for (std::ptrdiff_t y = 0; y < g.height && depth >= 32; ++y) {
        const unsigned char* const row = original.buffer + (g.height - 1 - y) * rowBytes;
        std::copy(row, row + rowBytes, flipped.begin() + y * rowBytes);
      }
      EXPECT_TRUE(check([](ABitMap& m) { m.FlipVert(); }, flipped));
    }
  }
}

TEST(BitMapPaint, AlphaToMaterial) {
  Random random(7);
  // Pixels of material and source are 4 bytes apart at depth 64 as well.
  OwnedBitMap wide = randomBitMap(random, {5, 3}, 64);
  const OwnedBitMap a = randomBitMap(random, {5, 3}, 32);
  std::vector<Word> expected = wordsOf(wide);
  for (std::size_t i = 0; i < 15; ++i) expected[i] = kWholeOperations[5].pixel(expected[i], wordsOf(a)[i]);
  EXPECT_EQ(wide.WriteAlphaToMaterial(a, -7), 1);
  EXPECT_EQ(wide.bytes(), bytesOf(expected));
  for (const Geometry& g : {Geometry{4, 3, 1}, {4, 3, 0, 0, 1}, {5, 2, 0, 1}, {5, 2, 0, 0, 0, 1}, {5, 6}}) {
    EXPECT_EQ(randomBitMap(random, g, 32).WriteAlphaToMaterial(a, 0), 0);
  }
  EXPECT_EQ(randomBitMap(random, {5, 3}, 24).WriteAlphaToMaterial(a, 0), 0);
  wide.Free();
  EXPECT_EQ(wide.WriteAlphaToMaterial(a, 0), 0);
  // Nothing stored is nothing missing.
  OwnedBitMap empty;
  empty.AllocateCropped(5, 5, 2, 2, 2, 4, 32);
  EXPECT_EQ(empty.WriteAlphaToMaterial(empty, 0), 1);
}

TEST(BitMapPaint, ContrastIsStretched) {
  const struct {
    const char* name;
    std::int32_t depth;
    Bytes before, normal, cavity;
  } cases[] = {
      {"grey", 8, {10, 20, 30, 12}, {0, 128, 255, 26}, {1, 12, 23, 4}},
      {"shade", 8, {128, 138, 108, 128}, {170, 255, 0, 170}, {128, 191, 1, 128}},
      {"one value", 8, {7, 7}, {7, 7}, {1, 1}},
      {"flat", 8, {128, 128}, {128, 128}, {128, 128}},
      {"low",
       16,
       {0, 0, 0xFD, 0xE8, 0x75, 0x30},
       {0, 0, 0xFF, 0xFF, 0x76, 0x27},
       {0, 1, 0xFD, 0xE7, 0x75, 0x31}},
      {"color",
       32,
       {0xEE, 10, 20, 30, 0, 30, 20, 10},
       {0xEE, 0, 128, 255, 0, 255, 128, 0},
       {0xEE, 1, 12, 23, 0, 23, 12, 1}},
      {"64", 64, {9, 9, 16, 0, 32, 0, 48, 0}, {9, 9, 0, 0, 128, 0, 255, 255}, {9, 9, 0, 1, 18, 74, 36, 147}},
      {"none", 24, {1, 2, 3}, {1, 2, 3}, {1, 2, 3}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    for (const bool cavity : {false, true}) {
      OwnedBitMap map(static_cast<std::int32_t>(c.before.size()) * 8 / c.depth, 1, c.depth);
      std::copy(c.before.begin(), c.before.end(), map.buffer);
      cavity ? map.NormalizeCavityShade() : map.Normalize();
      EXPECT_EQ(map.bytes(), cavity ? c.cavity : c.normal);
    }
  }
}

}  // namespace
