#include <algorithm>
#include <climits>
#include <functional>

#include "ImageSupport.h"

namespace {

const std::int32_t kChannelByte[] = {1, 2, 3, 0};

/// What a plane writer writes, in a block with a guard on either side.
Bytes written(const std::function<unsigned char*(unsigned char*)>& write) {
  Bytes block(30000, 0xA5);
  const unsigned char* const end = write(block.data() + 16);
  EXPECT_EQ(std::count(block.begin(), block.begin() + 16, 0xA5), 16);
  EXPECT_EQ(std::count(end, end + 16, 0xA5), 16);
  EXPECT_EQ(write(nullptr), nullptr);
  return {const_cast<const unsigned char*>(block.data()) + 16, end};
}

/// A plane by the definition; `value` maps a stored pixel's index to a byte. The gap stays 0xA5.
template <class Value>
Bytes plane(const ABitMap& map, bool padded, unsigned char fill, std::size_t gap, Value value) {
  Bytes bytes;
  const std::int32_t x0 = padded ? 0 : map.left;
  const std::int32_t y0 = padded ? 0 : map.top;
  for (std::int32_t y = y0; y < (padded ? map.fullHeight : y0 + map.height); ++y) {
    for (std::int32_t x = x0; x < (padded ? map.fullWidth : x0 + map.width); ++x) {
      const std::int32_t index = placeOf(map, x, y);
      bytes.push_back(index < 0 ? fill : value(static_cast<std::size_t>(index)));
    }
    if (y >= map.top && y < map.top + map.height) bytes.insert(bytes.end(), gap, 0xA5);
  }
  return bytes;
}

TEST(BitMapPlanes, HaveTheirLayout) {
  Random random(4);
  for (const std::int32_t depth : {8, 16, 24, 32, 64}) {
    for (const Geometry& g : kGeometries) {
      OwnedBitMap map = randomBitMap(random, g, depth);
      if (depth >= 32) put(map, 0, 0x12345678);
      SCOPED_TRACE(describe(map));
      const Bytes pixels = map.bytes();
      const auto channel = [&](std::int32_t c) {
        return [&pixels, c](std::size_t i) -> unsigned char {
          const std::size_t at = 4 * i + static_cast<std::size_t>(kChannelByte[c]);
          return at < pixels.size() ? pixels[at] : 0;
        };
      };
      for (const bool flag : {false, true}) {
        for (const bool other : {false, true}) {
          Bytes expected;
          for (std::int32_t c = 0; (depth > 24 || (depth == 24 && !flag)) && c < (flag ? 4 : 3); ++c) {
            if (c == 0 || !other) expected.insert(expected.end(), 2, 0);
            const Bytes one = plane(map, false, 0, 0, channel(c));
            expected.insert(expected.end(), one.begin(), one.end());
          }
          EXPECT_EQ(written([&](auto* p) { return map.WriteRGBToBuffer(p, 9, flag, other); }), expected);
          expected = plane(map, flag, 7, 0, [&](std::size_t i) { return pixels[i]; });
          if (other) expected.insert(expected.begin(), 2, 0);
          if (depth != 8) expected.clear();
          EXPECT_EQ(written([&](auto* p) { return map.Write8ToBuffer(p, 7, flag, other); }), expected);
        }
        // The ends are beyond 32 bits where the type is.
        for (const long threshold : {LONG_MIN, -2147483647L - 1, -5L, 0x12345678L, 2147483647L, LONG_MAX}) {
          Bytes expected = plane(map, flag, 7, 0, [&](std::size_t i) -> unsigned char {
            return depth >= 32 && static_cast<std::int32_t>(word(&pixels[4 * i])) < threshold ? 255 : 0;
          });
          expected.insert(expected.begin(), 2, 0);
          if (depth < 32) expected.clear();
          EXPECT_EQ(written([&](auto* p) { return map.WriteAlphaToBuffer(p, threshold, 7, 8, flag); }),
                    expected);
        }
        EXPECT_EQ(written([&](auto* p) { return map.WriteAlphaToBuffer(p, 0, 7, 16, flag); }),
                  Bytes(depth < 32 ? 0 : 2, 0));
      }
      for (std::int32_t c = -1; c < 5; ++c) {
        const std::int32_t gap = c == 1 ? 3 : 0;
        Bytes expected;
        if (c >= 0 && c < 4 && (depth == 32 || (depth == 24 && c != 3)))
          expected = plane(map, true, 0, static_cast<std::size_t>(gap), channel(c));
        EXPECT_EQ(written([&](auto* p) { return map.WriteOneRGBAOffsetToBuffer(p, 9, c, gap); }), expected);
      }
    }
  }
  // Margins that do not add up do not count, and without a buffer there is still padding.
  OwnedBitMap map = randomBitMap(random, {6, 5}, 8);
  const Bytes pixels = map.bytes();
  setStaleMargins(map);
  const auto padded = [&](unsigned char* p) { return map.Write8ToBuffer(p, 7, true, false); };
  EXPECT_EQ(written(padded), pixels);
  map.Free();
  EXPECT_EQ(written(padded), Bytes(30, 7));
}

const Bytes kUntouched(6, 0xEE);
const struct {
  Bytes data;
  std::int32_t status;
  Bytes plane;  ///< of 3 x 2 pixels that were 0xEE
} kChannelCases[] = {
    {{0, 9}, 0, kUntouched},  // no data
    {{}, -1, kUntouched},
    {{0}, -1, kUntouched},
    {{0, 0, 1, 2, 3, 4, 5, 6}, 0, {1, 2, 3, 4, 5, 6}},  // raw
    {{0, 0, 1, 2, 3, 4, 5}, -1, kUntouched},
    {{0, 0, 1, 2, 3, 4, 5, 6, 7}, -1, kUntouched},
    {{0, 1, 0, 0, 0}, -1, kUntouched},  // no row counts
    {{0, 1, 0, 0, 0, 0}, 0, kUntouched},
    {{0, 1, 9, 9, 9, 9, 2, 1, 2, 3, 254, 7}, 0, {1, 2, 3, 7, 7, 7}},  // runs
    {{0, 1, 0, 0, 0, 0, 0, 5, 0, 6, 253, 7}, 0, {5, 6, 7, 7, 7, 7}},  // 0 is one byte
    {{0, 1, 0, 0, 0, 0, 255, 5}, 0, {5, 5, 0xEE, 0xEE, 0xEE, 0xEE}},
    {{0, 1, 0, 0, 0, 0, 1, 8, 9, 128, 5}, 0, {8, 9, 5, 5, 5, 5}},                  // past the plane
    {{0, 1, 0, 0, 0, 0, 6, 1, 2, 3, 4, 5, 6, 7, 1, 8, 8}, 0, {1, 2, 3, 4, 5, 6}},  // as are these
    {{0, 1, 0, 0, 0, 0, 255, 5, 3, 1, 2, 3}, -1, {5, 5, 0xEE, 0xEE, 0xEE, 0xEE}},  // past the data
    {{0, 1, 0, 0, 0, 0, 255, 5, 255}, -1, {5, 5, 0xEE, 0xEE, 0xEE, 0xEE}},
    {{0, 2, 1, 2, 3, 4, 5, 6}, -1, kUntouched},  // unknown codes
    {{1, 0, 1, 2, 3, 4, 5, 6}, -1, kUntouched},
};

TEST(BitMapPlanes, ChannelsAreRead) {
  for (const auto& c : kChannelCases) {
    SCOPED_TRACE(&c - kChannelCases);
    // A block of its own size, for the sanitizer to see a byte too far.
    const Bytes data(c.data);
    const auto size = static_cast<std::int32_t>(data.size());
    for (const std::int32_t depth : {8, 16, 24, 32, 64}) {
      for (std::int32_t channel = -1; channel < 5; ++channel) {
        OwnedBitMap map;
        map.AllocateCropped(9, 9, 1, 2, 3, 5, depth);
        std::memset(map.buffer, 0xEE, static_cast<std::size_t>(map.BufferBytes()));
        Bytes expected = map.bytes();
        const auto stride = static_cast<std::size_t>(depth / 8);
        const bool taken = channel >= 0 && channel < 4 && kChannelByte[channel] * 8 < depth;
        for (std::size_t i = 0; taken && i < 6; ++i)
          expected[i * stride + static_cast<std::size_t>(kChannelByte[channel])] = c.plane[i];
        EXPECT_EQ(map.ReadRGBAChannelFromBuffer(data.data(), size, channel),
                  taken || size == 2 ? c.status : -1);
        EXPECT_EQ(map.bytes(), expected) << depth << " " << channel;
      }
    }
    OwnedBitMap alpha;
    alpha.fillValue = 0x112233;
    EXPECT_EQ(alpha.ReadAlphaFromBuffer(data.data(), size, 9, 9, 1, 2, 3, 5), c.status);
    EXPECT_EQ(describe(alpha), "3x2x8 l2 t1 r4 b6");
    Bytes expected = c.plane;
    std::replace(expected.begin(), expected.end(), 0xEE, 0);
    EXPECT_EQ(alpha.bytes(), c.status == 0 ? expected : Bytes());
    EXPECT_EQ(alpha.ReadValue8(0, 0), 0x33);
  }
}

TEST(BitMapPlanes, EmptyAndAbsurdRectangles) {
  OwnedBitMap none;
  const unsigned char raw[] = {0, 0, 1};
  EXPECT_EQ(none.ReadAlphaFromBuffer(raw, 3, 5, 5, 3, 3, 3, 3), -1);
  EXPECT_EQ(none.ReadAlphaFromBuffer(nullptr, 3, 1, 1, 0, 0, 1, 1), -1);
  EXPECT_EQ(none.ReadAlphaFromBuffer(raw, -3, 1, 1, 0, 0, 1, 1), -1);
  // What cannot be the data of so large a channel does not get as far as memory for it.
  EXPECT_EQ(none.ReadAlphaFromBuffer(raw, 3, 65536, 65536, 0, 0, 65536, 65536), -1);
  EXPECT_EQ(gMemAllocationFailed, 0);
  // Two rows of no column: run-length data are two counts, and a run is too much.
  const unsigned char runs[] = {0, 1, 0, 0, 0, 0, 255, 5};
  for (const int size : {6, 8, 7, 5, 2}) {
    const int stops = stopsOf([&] {
      const int expected = size % 2 == 0 ? 0 : -1;
      EXPECT_EQ(none.ReadAlphaFromBuffer(runs, size, 9, 9, 1, 2, 3, 2), expected);
      none.AllocateCropped(9, 9, 1, 2, 3, 2, 32);
      EXPECT_EQ(none.ReadRGBAChannelFromBuffer(runs, size, 0), expected);
    });
    EXPECT_EQ(stops, size == 6 || size == 2 ? 0 : 2);
  }
  none.width = 3;
  EXPECT_EQ(none.ReadRGBAChannelFromBuffer(runs, 6, 0), -1);
}

}  // namespace
