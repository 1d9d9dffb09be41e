#include <climits>

#include "ImageSupport.h"
#include "geometry/Point.h"
#include "geometry/Rect.h"
#include "image/Color.h"

namespace {

/// Element i of an image's buffer, as bytes.
Bytes element(const ABitMap& map, std::int32_t i) {
  const std::int32_t size = map.depth / 8;
  return {map.buffer + i * size, map.buffer + (i + 1) * size};
}

/// The destination after a copy of `area`, pixel by pixel; pixel(d, s) combines.
template <class Pixel>
Bytes copied(const ABitMap& source, const ABitMap& destination, const Geometry& area, std::int64_t x,
             std::int64_t y, bool flipped, Pixel pixel) {
  Bytes result;
  for (std::int32_t i = 0; i < destination.width * destination.height; ++i) {
    const std::int64_t dx = destination.left + i % destination.width;
    const std::int64_t dy = destination.top + i / destination.width;
    const std::int64_t column = dx - x;
    const std::int64_t row = flipped ? area.height - 1 - (dy - y) : dy - y;
    const std::int64_t sx = area.left + column;
    const std::int64_t sy = area.top + row;
    const bool covered = column >= 0 && column < area.width && row >= 0 && row < area.height && sx >= 0 &&
                         sy >= 0 && sx < source.fullWidth && sy < source.fullHeight && sx >= source.left &&
                         sx < source.left + source.width && sy >= source.top &&
                         sy < source.top + source.height && dx >= 0 && dy >= 0 &&
                         dx < destination.fullWidth && dy < destination.fullHeight;
    Bytes d = element(destination, i);
    if (covered) {
      d = pixel(
          d, element(source, static_cast<std::int32_t>((sy - source.top) * source.width + sx - source.left)));
    }
    result.insert(result.end(), d.begin(), d.end());
  }
  return result;
}

Bytes replaced(const Bytes&, const Bytes& s) {
  return s;
}
Bytes covered(const Bytes& d, const Bytes& s) {
  return s[0] != 0 ? s : d;
}
Bytes autoOpacity(const Bytes& d, const Bytes& s) {
  Bytes result = d;
  for (std::size_t c = 1; c < 4; ++c) {
    result[c] = static_cast<unsigned char>(d[c] + (((s[2] * 256 + s[3]) * (s[c] - d[c]) + 0x8000) >> 16));
  }
  return result;
}

ARect rect(const Geometry& area) {
  // A fraction, which does not count.
  constexpr std::int32_t kFraction = 0x1234;
  const ARect whole = ARect::FromWhole(area.left, area.top, area.left + area.width, area.top + area.height);
  return {whole.left + kFraction, whole.top + kFraction, whole.right + kFraction, whole.bottom + kFraction};
}

TEST(BitMapBlit, CopiesWhatBothHave) {
  Random random(8);
  for (const std::int32_t depth : {32, 64}) {
    for (const Geometry& from : joined(kGeometries, kLargeGeometries)) {
      for (const Geometry& to : joined(kGeometries, kLargeGeometries)) {
        const auto isLarge = [](const Geometry& g) { return g.width * g.height > 1000; };
        const bool large = isLarge(from);
        if (large != isLarge(to)) continue;
        const OwnedBitMap source = randomBitMap(random, from, depth, 0xC3);
        for (int round = 0; round < (large ? 2 : 12); ++round) {
          const OwnedBitMap original = randomBitMap(random, to, depth);
          const auto x = static_cast<std::int32_t>(below(random, 40)) - 20;
          const auto y = round == 0 ? 0 : static_cast<std::int32_t>(below(random, 30)) - 15;
          const Geometry area{static_cast<std::int32_t>(below(random, large ? 1100 : 20)),
                              static_cast<std::int32_t>(below(random, 20)),
                              static_cast<std::int32_t>(below(random, 16)) - 8,
                              static_cast<std::int32_t>(below(random, 16)) - 8};
          const Geometry whole{source.fullWidth, source.fullHeight};
          const APoint at(x * 0x10000 + 0x7FFF, y * 0x10000);
          SCOPED_TRACE(describe(source) + " to " + describe(original) + " at " + std::to_string(x) + "," +
                       std::to_string(y));
          const auto check = [&](auto blit, const Bytes& expected) {
            OwnedBitMap destination = randomBitMap(random, to, depth);
            std::memcpy(destination.buffer, original.buffer,
                        static_cast<std::size_t>(original.BufferBytes()));
            blit(destination);
            ASSERT_EQ(destination.bytes(), expected);
          };
          check([&](ABitMap& d) { source.BltTo(d, x, y); },
                copied(source, original, whole, x, y, false, replaced));
          check([&](ABitMap& d) { source.BltTo(d, rect(area), at); },
                copied(source, original, area, x, y, false, replaced));
          check([&](ABitMap& d) { source.BltToWindow(d, rect(area)); },
                copied(source, original, {area.width, area.height}, area.left, area.top, false, replaced));
          if (depth != 32) continue;
          check([&](ABitMap& d) { source.BltTransparentTo(d, x, y); },
                copied(source, original, whole, x, y, false, covered));
          check([&](ABitMap& d) { source.BltToAutoOpacity(d, rect(area), at); },
                copied(source, original, area, x, y, false, autoOpacity));
          check([&](ABitMap& d) { source.BltToAutoOpacity_FlipV(d, rect(area), at); },
                copied(source, original, area, x, y, true, autoOpacity));
          check([&](ABitMap& d) { source.BltToAutoOpacity(d); },
                copied(source, original, whole, 0, 0, false, autoOpacity));
        }
      }
    }
  }
}

TEST(BitMapBlit, OntoItself) {
  Random random(9);
  for (const Geometry& g : {Geometry{9, 8}, {300, 6}}) {
    for (const std::int32_t x : {-3, -2, 0, 3}) {
      for (const std::int32_t y : {-4, 0, 2}) {
        OwnedBitMap map = randomBitMap(random, g, 32);
        const Bytes expected = copied(map, map, g, x, y, false, replaced);
        map.BltTo(map, x, y);
        EXPECT_EQ(map.bytes(), expected) << describe(map) << " " << x << "," << y;
      }
    }
  }
}

TEST(BitMapBlit, StaleMarginsDoNotCount) {
  Random random(24);
  OwnedBitMap source = randomBitMap(random, {9, 8}, 32);
  OwnedBitMap destination = randomBitMap(random, {9, 8}, 32);
  const Bytes expected = copied(source, destination, {9, 8}, 2, -1, false, replaced);
  setStaleMargins(source);
  setStaleMargins(destination);
  source.BltTo(destination, 2, -1);
  EXPECT_EQ(destination.bytes(), expected);
}

TEST(BitMapBlit, OtherDepthsAndExtremePositionsStayInTheBuffers) {
  Random random(10);
  for (const std::int32_t from : {8, 16, 24, 32, 64}) {
    const OwnedBitMap source = randomBitMap(random, {6, 5}, from);
    for (const std::int32_t to : {8, 16, 24, 32, 64}) {
      OwnedBitMap destination = randomBitMap(random, {5, 6}, to);
      const Bytes before = destination.bytes();
      for (const std::int32_t at : {INT_MIN, INT_MAX}) {
        source.BltTo(destination, at, at);
        source.BltTo(destination, ARect(at, at, ~at, ~at), APoint(at, at));
        source.BltToAutoOpacity_FlipV(destination, ARect(at, at, -1, at), APoint(at, at));
      }
      EXPECT_EQ(destination.bytes(), before);
      source.BltTo(destination, 1, 1);
      if (from < 32) {
        EXPECT_EQ(destination.bytes(), before);
      }
      if (from == 32 && to == 64) {
        EXPECT_EQ(word(destination.buffer + 4 * 6), word(source.buffer));
      }
      source.BltTransparentTo(destination, 1, 1);
      source.BltToAutoOpacity(destination);
    }
    OwnedBitMap none;
    source.BltTo(none, 0, 0);
    none.BltToAutoOpacity(none);
  }
}

}  // namespace
