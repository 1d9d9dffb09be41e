#include <algorithm>
#include <climits>
#include <functional>

#include "ImageSupport.h"
#include "geometry/Point3D.h"
#include "image/Color.h"

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

/// Of an image of 7 x 5 pixels: every way to lie across, inside and outside each edge, and the extremes.
std::vector<Rect> clippingCases() {
  std::vector<Rect> cases;
  struct Span {
    std::int32_t at, size;
  };
  const Span spans[] = {{-3, 5},
                        {-3, 3},
                        {-3, 2},
                        {0, 0},
                        {0, -1},
                        {0, 1},
                        {2, 3},
                        {2, INT_MAX},
                        {6, 1},
                        {6, 9},
                        {7, 1},
                        {INT_MAX, 1},
                        {INT_MIN, INT_MAX},
                        {INT_MIN, INT_MIN},
                        {-9, 40},
                        {3, -2}};
  for (const Span& a : spans) {
    for (const Span& b : spans) cases.push_back({a.at, b.at, a.size, b.size});
  }
  return cases;
}

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
  Random random(5);
  for (const RectOperation& operation : kRectOperations) {
    for (const Geometry& g : {Geometry{7, 5}, {3, 2, 2, 1, 2, 2}, {9, 8, -1, -2, -1, -1}}) {
      for (const Rect& r : clippingCases()) {
        SCOPED_TRACE(std::string(operation.name) + " " + std::to_string(r.x) + "," + std::to_string(r.y) +
                     " " + std::to_string(r.w) + "x" + std::to_string(r.h));
        // Few values, so that each occurs.
        OwnedBitMap map = randomBitMap(random, g, 32, 0x40);
        std::vector<Word> expected = wordsOf(map);
        const std::int64_t w = operation.zeroIsAll && r.w == 0 ? map.fullWidth : r.w;
        const std::int64_t h = operation.zeroIsAll && r.h == 0 ? map.fullHeight : r.h;
        for (std::int64_t i = 0; i < map.width * map.height; ++i) {
          const std::int64_t x = map.left + i % map.width;
          const std::int64_t y = map.top + i / map.width;
          if (x < 0 || y < 0 || x >= map.fullWidth || y >= map.fullHeight) continue;
          if (x < r.x || y < r.y || x >= r.x + w || y >= r.y + h) continue;
          Word& p = expected[static_cast<std::size_t>(i)];
          p = operation.pixel(p);
        }
        operation.apply(map, r);
        ASSERT_EQ(map.bytes(), bytesOf(expected));
      }
    }
  }
  OwnedBitMap none;
  for (const RectOperation& operation : kRectOperations) operation.apply(none, {0, 0, 5, 5});
  none.Paint(std::uint64_t{5});
  none.Mask_Or(5);
  none.Darken();
  none.FlipVert();
}

TEST(BitMapPaint, StaleMarginsDoNotCount) {
  for (const RectOperation& operation : kRectOperations) {
    Random random(26);
    OwnedBitMap map = randomBitMap(random, {7, 5}, 32, 0x40);
    OwnedBitMap plain = randomBitMap(random, {7, 5}, 32, 0x40);
    std::memcpy(plain.buffer, map.buffer, static_cast<std::size_t>(map.BufferBytes()));
    setStaleMargins(map);
    operation.apply(map, {1, 2, 9, 2});
    operation.apply(plain, {1, 2, 9, 2});
    EXPECT_EQ(map.bytes(), plain.bytes()) << operation.name;
  }
}

TEST(BitMapPaint, KnownPixels) {
  OwnedBitMap map;
  map.Allocate(2, 1, 32);
  const auto both = [&](Word a, Word b) {
    const Bytes bytes = bytesOf({a, b});
    std::copy(bytes.begin(), bytes.end(), map.buffer);
  };
  both(0xFFFFFFFF, 0x00010203);
  map.Darken();
  EXPECT_EQ(map.bytes(), bytesOf({0x007F7F7F, 0x00000101}));
  both(0xFF404040, 0x01030201);
  map.DarkenQtr(0, 0, 2, 1);
  EXPECT_EQ(map.bytes(), bytesOf({0xFF303030, 0x01030201}));
  map.Paint(FPoint3D(1.0F, 0.5F, -3.0F));
  EXPECT_EQ(map.bytes(), bytesOf({0xFFFF8000, 0xFFFF8000}));
  map.Free();
  map.Allocate(1, 1, 64);
  map.Paint(FPoint3D(2.0F, 0.5F, 0.0F));
  EXPECT_EQ(map.bytes(), bytesOf({0xFFFFFFFF, 0x80000000}));
  map.Paint(std::uint64_t{0x0102030405060708});
  EXPECT_EQ(map.bytes(), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(BitMapPaint, WholeImagesChangeStoredPixelsAlone) {
  Random random(6);
  constexpr std::uint64_t kValue = 0xF1E2D3C4B5A69788;
  for (const std::int32_t depth : {8, 16, 24, 32, 64}) {
    for (const Geometry& g : joined(kGeometries, kLargeGeometries)) {
      const OwnedBitMap original = randomBitMap(random, g, depth);
      const OwnedBitMap other = randomBitMap(random, g, depth);
      SCOPED_TRACE(describe(original));
      const auto check = [&](const std::function<void(ABitMap&)>& apply, const Bytes& expected) {
        OwnedBitMap map = randomBitMap(random, g, depth);
        std::memcpy(map.buffer, original.buffer, static_cast<std::size_t>(map.BufferBytes()));
        apply(map);
        EXPECT_EQ(map.bytes(), expected);
      };
      const std::size_t stride = static_cast<std::size_t>(depth) / 8;
      const auto byteWise = [&](auto op) {
        Bytes bytes = original.bytes();
        for (std::size_t i = 0; i < bytes.size() && depth != 24; ++i) {
          const auto v = static_cast<unsigned char>(kValue >> (8 * (stride - 1 - i % stride)));
          bytes[i] = static_cast<unsigned char>(op(bytes[i], v));
        }
        return bytes;
      };
      check([](ABitMap& m) { m.Paint(kValue); }, byteWise([](int, int v) { return v; }));
      check([](ABitMap& m) { m.Mask_And(kValue); }, byteWise([](int b, int v) { return b & v; }));
      check([](ABitMap& m) { m.Mask_Or(kValue); }, byteWise([](int b, int v) { return b | v; }));
      check([](ABitMap& m) { m.PaintZero(); }, Bytes(original.bytes().size(), 0));

      const auto wordWise = [&](auto op) {
        std::vector<Word> words = wordsOf(original);
        const std::vector<Word> others = wordsOf(other);
        for (std::size_t i = 0; i < words.size(); ++i) words[i] = op(words[i], others[i]);
        return bytesOf(words);
      };
      if (depth == 32) {
        check([](ABitMap& m) { m.Darken(); }, wordWise([](Word p, Word) { return darkened(p); }));
        check([](ABitMap& m) { m.Mask_Add(0x00FFFFFF); },
              wordWise([](Word p, Word) { return p + 0x00FFFFFF; }));
        check([&](ABitMap& m) { m.BlendQtrIntensiy(other); },
              wordWise([](Word p, Word q) { return darkenedQuarter(p) + ((q >> 2) & 0x3F3F3F); }));
        check([&](ABitMap& m) { m.Blend3QtrIntensiy(other); },
              wordWise([](Word p, Word q) { return ((p >> 4) & 0x0F0F0F) + q - ((q >> 4) & 0x0F0F0F); }));
        check([&](ABitMap& m) { EXPECT_EQ(m.WriteAlphaToMaterial(other, -7), 1); },
              wordWise([](Word p, Word q) {
                return (p & 0xFFFFFF00) | (static_cast<std::int32_t>(q) < -7 ? 0xFF : 0);
              }));
      }
      check([](ABitMap& m) { m.InvertAlphaRGBA(); },
            depth == 32 ? wordWise([](Word p, Word) { return (p & 0xFFFFFF00) | (255 - (p & 0xFF)); })
                        : original.bytes());
      Bytes flipped = original.bytes();
      const std::size_t rowBytes = static_cast<std::size_t>(g.width) * stride;
      for (std::size_t i = 0; i < flipped.size() && depth >= 32; ++i) {
        const std::size_t y = static_cast<std::size_t>(g.height) - 1 - i / rowBytes;
        flipped[i] = original.buffer[y * rowBytes + i % rowBytes];
      }
      check(
          [&](ABitMap& m) {
            m.FlipVert();
            EXPECT_EQ(describe(m), describe(original));
          },
          flipped);
    }
  }
}

TEST(BitMapPaint, OtherDepthsAndSizesStayInTheBuffers) {
  Random random(7);
  for (const std::int32_t depth : {8, 16, 24, 64}) {
    OwnedBitMap map = randomBitMap(random, {5, 7}, depth);
    OwnedBitMap other = randomBitMap(random, {3, 3}, 32);
    for (const RectOperation& operation : kRectOperations) operation.apply(map, {-1, -1, 99, 99});
    map.Darken();
    map.Mask_Add(5);
    map.BlendQtrIntensiy(other);
    other.Blend3QtrIntensiy(map);
    EXPECT_EQ(map.WriteAlphaToMaterial(other, 0), 0);
  }
  // Pixels of material and source are 4 bytes apart at depth 64 as well.
  OwnedBitMap wide = randomBitMap(random, {5, 3}, 64);
  const OwnedBitMap narrow = randomBitMap(random, {5, 3}, 32);
  std::vector<Word> expected = wordsOf(wide);
  for (std::size_t i = 0; i < 15; ++i) {
    const auto value = static_cast<std::int32_t>(wordsOf(narrow)[i]);
    expected[i] = (expected[i] & 0xFFFFFF00) | (value < 1000 ? 0xFF : 0);
  }
  EXPECT_EQ(wide.WriteAlphaToMaterial(narrow, 1000), 1);
  EXPECT_EQ(wide.bytes(), bytesOf(expected));
  OwnedBitMap a = randomBitMap(random, {5, 5}, 32);
  EXPECT_EQ(a.WriteAlphaToMaterial(randomBitMap(random, {4, 5, 1, 0, 0, 0}, 32), 0), 0);
}

TEST(BitMapPaint, BlendRGBOverAllBytesAndWeights) {
  for (const std::int32_t weight : {0, 1, 0x3FFF, 0x8000, 0xFFFF, 0x10000, -70000, 200000}) {
    for (int b = 0; b < 256; ++b) {
      for (int s = 0; s < 256; ++s) {
        AMRGB pixel = AMRGB::FromValue(static_cast<Word>(0x11000000 | b << 16 | s << 8 | b));
        pixel.BlendRGB(AMRGB::FromValue(static_cast<Word>(0x99000000 | s << 16 | b << 8 | b)), weight);
        const auto moved = [weight](int from, int to) {
          return static_cast<Word>((from + ((std::int64_t{weight} * (to - from) + 0x8000) >> 16)) & 0xFF);
        };
        ASSERT_EQ(pixel.Value(), 0x11000000 | moved(b, s) << 16 | moved(s, b) << 8 | static_cast<Word>(b));
      }
    }
  }
}

struct ContrastCase {
  const char* name;
  std::int32_t depth;
  Bytes before, normal, cavity;
};

TEST(BitMapPaint, ContrastIsStretched) {
  const ContrastCase cases[] = {
      {"grey", 8, {10, 20, 30, 12}, {0, 128, 255, 26}, {1, 12, 23, 4}},
      {"shade", 8, {128, 138, 108, 128}, {170, 255, 0, 170}, {128, 191, 1, 128}},
      {"one value", 8, {7, 7}, {7, 7}, {1, 1}},
      {"flat", 8, {128, 128}, {128, 128}, {128, 128}},
      {"16 bits", 16, {0x80, 0x64, 0x80, 0x00}, {0xFF, 0xFF, 0, 0}, {0xFF, 0xFF, 0x80, 0x00}},
      {"nearly all of 16 bits",
       16,
       {0, 0, 0xFD, 0xE8, 0x75, 0x30},
       {0, 0, 0xFF, 0xFF, 0x76, 0x27},
       {0, 1, 0xFD, 0xE7, 0x75, 0x31}},
      {"color",
       32,
       {0xEE, 10, 20, 30, 0, 30, 20, 10},
       {0xEE, 0, 128, 255, 0, 255, 128, 0},
       {0xEE, 1, 12, 23, 0, 23, 12, 1}},
      {"wide color",
       64,
       {9, 9, 0x10, 0, 0x20, 0, 0x30, 0},
       {9, 9, 0, 0, 0x80, 0, 0xFF, 0xFF},
       {9, 9, 0, 1, 0x12, 0x4A, 0x24, 0x93}},
      {"no depth of theirs", 24, {1, 2, 3}, {1, 2, 3}, {1, 2, 3}},
  };
  for (const ContrastCase& c : cases) {
    SCOPED_TRACE(c.name);
    for (const bool cavity : {false, true}) {
      OwnedBitMap map;
      map.Allocate(static_cast<std::int32_t>(c.before.size()) * 8 / c.depth, 1, c.depth);
      std::copy(c.before.begin(), c.before.end(), map.buffer);
      cavity ? map.NormalizeCavityShade() : map.Normalize();
      EXPECT_EQ(map.bytes(), cavity ? c.cavity : c.normal);
    }
  }
}

}  // namespace
