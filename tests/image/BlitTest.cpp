#include <climits>

#include "ImageSupport.h"
#include "geometry/Point.h"
#include "geometry/Rect.h"

namespace {

/// The destination after a copy of `area`, pixel by pixel; pixel(d, s) changes a destination's bytes.
template <class Pixel>
Bytes copied(const ABitMap& source, const ABitMap& destination, const Geometry& area, std::int64_t x,
             std::int64_t y, bool flipped, Pixel pixel) {
  const std::int32_t size = destination.depth / 8;
  Bytes result(destination.buffer, destination.buffer + destination.BufferBytes());
  for (std::int32_t i = 0; i < destination.width * destination.height; ++i) {
    const std::int64_t dx = destination.left + i % destination.width;
    const std::int64_t dy = destination.top + i / destination.width;
    const std::int64_t column = dx - x;
    const std::int64_t row = flipped ? area.height - 1 - (dy - y) : dy - y;
    if (column < 0 || column >= area.width || row < 0 || row >= area.height) continue;
    const std::int32_t from = storedIndex(source, area.left + column, area.top + row);
    if (from >= 0 && storedIndex(destination, dx, dy) >= 0) {
      pixel(&result[static_cast<std::size_t>(i * size)], source.buffer + from * size);
    }
  }
  return result;
}

ARect rect(const Geometry& area) {
  const ARect r = ARect::FromWhole(area.left, area.top, area.left + area.width, area.top + area.height);
  constexpr std::int32_t kFraction = 0x1234;  // does not count
  return {r.left + kFraction, r.top + kFraction, r.right + kFraction, r.bottom + kFraction};
}

TEST(BitMapBlit, CopiesWhatBothHave) {
  Random random(8);
  for (const std::int32_t depth : {32, 64}) {
    const auto replaced = [depth](unsigned char* d, const unsigned char* s) {
      std::copy(s, s + depth / 8, d);
    };
    const auto covered = [](unsigned char* d, const unsigned char* s) {
      if (s[0] != 0) std::copy(s, s + 4, d);
    };
    const auto autoOpacity = [](unsigned char* d, const unsigned char* s) {
      const int weight = s[2] * 256 + s[3];
      for (int c = 1; c < 4; ++c)
        d[c] = static_cast<unsigned char>(d[c] + ((weight * (s[c] - d[c]) + 0x8000) >> 16));
    };
    for (int round = 0; round < 800; ++round) {
      const Geometry from = kGeometries[below(random, kGeometries.size())];
      const Geometry to = kGeometries[below(random, kGeometries.size())];
      const OwnedBitMap source = randomBitMap(random, from, depth, 0xC3);
      const OwnedBitMap original = randomBitMap(random, to, depth);
      const std::int32_t x = between(random, -20, 20);
      const std::int32_t y = round % 8 == 0 ? 0 : between(random, -15, 15);
      const Geometry area{between(random, 0, from.width + 8), between(random, 0, 20), between(random, -8, 8),
                          between(random, -8, 8)};
      const Geometry whole{source.fullWidth, source.fullHeight};
      const APoint at(x * 0x10000 + 0x7FFF, y * 0x10000);
      SCOPED_TRACE(describe(source) + " to " + describe(original) + " at " + std::to_string(x) + "," +
                   std::to_string(y));
      const auto check = [&](auto blit, const Geometry& part, std::int64_t toX, std::int64_t toY,
                             bool flipped, auto pixel) {
        OwnedBitMap destination = original;
        // Margins that do not add up do not count.
        if (to.width >= 13 && to.height < 12 && round % 2 == 0) setStaleMargins(destination);
        blit(destination);
        ASSERT_EQ(destination.bytes(), copied(source, original, part, toX, toY, flipped, pixel));
      };
      using D = ABitMap;
      check([&](D& d) { source.BltTo(d, x, y); }, whole, x, y, false, replaced);
      check([&](D& d) { source.BltTo(d, rect(area), at); }, area, x, y, false, replaced);
      check([&](D& d) { source.BltToWindow(d, rect(area)); }, {area.width, area.height}, area.left, area.top,
            false, replaced);
      if (depth != 32) continue;
      check([&](D& d) { source.BltTransparentTo(d, x, y); }, whole, x, y, false, covered);
      check([&](D& d) { source.BltToAutoOpacity(d, rect(area), at); }, area, x, y, false, autoOpacity);
      check([&](D& d) { source.BltToAutoOpacity_FlipV(d, rect(area), at); }, area, x, y, true, autoOpacity);
      check([&](D& d) { source.BltToAutoOpacity(d); }, whole, 0, 0, false, autoOpacity);
    }
  }
}

TEST(BitMapBlit, OntoItself) {
  Random random(9);
  for (const auto& [x, y] : {std::pair{0, 0}, {-3, 0}, {3, 0}, {0, -4}, {0, 2}, {-2, -4}, {3, 2}, {-3, 2}}) {
    for (const Geometry& g : {Geometry{9, 8}, {300, 6}}) {
      OwnedBitMap map = randomBitMap(random, g, 32);
      const Bytes expected = copied(map, map, g, x, y, false,
                                    [](unsigned char* d, const unsigned char* s) { std::copy(s, s + 4, d); });
      map.BltTo(map, x, y);
      EXPECT_EQ(map.bytes(), expected) << describe(map) << " " << x << "," << y;
    }
  }
}

TEST(BitMapBlit, OtherDepthsAndExtremePositions) {
  Random random(10);
  for (const auto& [from, to] : {std::pair{8, 32}, {24, 32}, {32, 8}, {32, 32}, {32, 64}, {64, 32}}) {
    const OwnedBitMap source = randomBitMap(random, {6, 5}, from);
    OwnedBitMap destination = randomBitMap(random, {5, 6}, to);
    const Bytes before = destination.bytes();
    for (const std::int32_t at : {INT_MIN, INT_MAX}) {
      source.BltTo(destination, ARect(at, at, ~at, ~at), APoint(at, at));
      source.BltToAutoOpacity_FlipV(destination, ARect(at, at, -1, at), APoint(at, at));
    }
    EXPECT_EQ(destination.bytes(), before);
    // As pixels of the source's depth, as far as the buffer goes.
    source.BltTo(destination, 1, 1);
    EXPECT_EQ(destination.bytes() != before, from >= 32 && to >= 32) << from << " to " << to;
  }
}

}  // namespace
