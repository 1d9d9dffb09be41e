#include <climits>
#include <cstddef>
#include <type_traits>

#include "ImageSupport.h"

namespace {

static_assert(std::is_standard_layout_v<ABitMap> && std::is_trivially_copyable_v<ABitMap>);
static_assert(sizeof(void*) != 4 || sizeof(ABitMap) == 44);

TEST(BitMapRecord, AllocatesAndKeepsByFullSizeAlone) {
  OwnedBitMap map;
  unsigned char* const first = map.Allocate(5, 3, 32);
  EXPECT_EQ(map.BufferBytes(), 60);
  EXPECT_EQ(map.Allocate(5, 3, 8), first);
  map.fillValue = 77;
  map.left = 2;
  ASSERT_NE(map.Allocate(5, 4, 8), nullptr);
  EXPECT_EQ(describe(map), "5x4x8 l2 t0 r0 b0");
  EXPECT_EQ(map.fillValue, 77U);
  // A cropped buffer is kept as well.
  map.AllocateCropped(20, 10, 1, 2, 4, 9, 16);
  EXPECT_EQ(map.Allocate(20, 10, 32), map.buffer);
  EXPECT_EQ(describe(map), "7x3x16 l2 t1 r11 b6");
  std::memset(map.buffer, 1, 42);
  map.ClearBuffer();
  EXPECT_EQ(map.bytes(), Bytes(42, 0));
  map.FreeAndClear();
  EXPECT_EQ(map.buffer, nullptr);
  EXPECT_EQ(std::to_string(map.fullWidth) + " " + describe(map), "0 7x3x0 l2 t1 r11 b6");
  map.Reset();
  EXPECT_EQ(describe(map), "0x0x0 l0 t0 r0 b0");
  // Sizes that do not fit.
  for (const auto& [w, h, depth] : {std::tuple{-1, 5, 8},
                                    {-3, -3, 32},
                                    {32768, 32768, 32},
                                    {46341, 46341, 8},
                                    {1, INT_MIN, 8},
                                    {INT_MAX, 1, 16},
                                    {4, 4, -8}}) {
    OwnedBitMap refused(1, 1, 8);
    gMemAllocationFailed = 0;
    EXPECT_EQ(refused.Allocate(w, h, depth), nullptr) << w << "x" << h;
    EXPECT_EQ(refused.buffer, nullptr);
    EXPECT_EQ(refused.BufferBytes(), 0);
    EXPECT_EQ(gMemAllocationFailed, 1);
    gMemAllocationFailed = 0;
  }
  OwnedBitMap empty;
  EXPECT_EQ(empty.AllocateCropped(10, 8, 5, 4, 5, 9, 32), nullptr);
  EXPECT_EQ(describe(empty), "5x0x32 l4 t5 r1 b3");
  EXPECT_EQ(empty.AllocateCropped(10, 8, 5, INT_MAX, INT_MAX, INT_MIN, 32), nullptr);
}

TEST(BitMapRecord, ReadsEveryPosition) {
  Random random(1);
  for (const Geometry& g : kSmallGeometries) {
    for (const std::int32_t depth : {8, 32}) {
      OwnedBitMap map = randomBitMap(random, g, depth);
      if (g.width == 17) setStaleMargins(map);
      if (g.width == 13) map.right = map.bottom = -3;  // columns and rows that no pixel has
      SCOPED_TRACE(describe(map));
      for (std::int32_t y = -5; y < map.fullHeight + 5; ++y) {
        for (std::int32_t x = -5; x < map.fullWidth + 5; ++x) {
          // What is stored outside the image can be read all the same.
          const bool margin = y < map.top || y >= map.fullHeight - map.bottom || x < map.left ||
                              x >= map.fullWidth - map.right;
          ASSERT_EQ(depth == 8 ? map.ReadValue8(x, y) & 0xFFU : map.ReadValue32(x, y),
                    pixel(map, margin ? -1 : placeOf(map, x, y)));
        }
      }
    }
  }
  OwnedBitMap small(4, 4, 8);
  small.ClearBuffer();
  small.fillValue = 9;
  EXPECT_EQ(small.ReadValue32(3, 0), 0U);
  EXPECT_EQ(small.ReadValue32(0, 1), 9U);
  small.Free();
  EXPECT_EQ(small.ReadValue8(0, 0), 9);
}

/// A host bitmap with its pixels, which lie in one 4 GiB window, as the host's do.
struct HostImage {
  ABMap map;
  ABMapPixels holder;
  unsigned char pixels[4096];
};
alignas(8192) unsigned char gHostMemory[8192];
HostImage& gHost = *reinterpret_cast<HostImage*>(gHostMemory);

void setPointer(void* field, const void* target) {
  const auto bits = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(target));
  std::memcpy(field, &bits, sizeof bits);
}

const ABMap* hostMapOf(const ABitMap& image) {
  ABMap& map = gHost.map;
  setPointer(&map.pixels, &gHost.holder);
  setPointer(&gHost.holder.buffer, gHost.pixels);
  map.left = image.left;
  map.top = image.top;
  map.width = image.width;
  map.height = image.height;
  map.depth = image.depth;
  map.fullWidth = static_cast<std::uint16_t>(image.fullWidth);
  map.fullHeight = static_cast<std::uint16_t>(image.fullHeight);
  map.fillValue = image.fillValue;
  std::memcpy(gHost.pixels, image.buffer, static_cast<std::size_t>(image.BufferBytes()));
  return &map;
}

TEST(HostBitMap, IsAttachedCopiedAndExpanded) {
  Random random(2);
  ABitMap attached;
  for (const Geometry& g : kSmallGeometries) {
    const OwnedBitMap source = randomBitMap(random, g, 32);
    SCOPED_TRACE(describe(source));
    const ABMap* const host = hostMapOf(source);
    EXPECT_EQ(attached.InitFromABMap(host), 0);
    EXPECT_EQ(describe(attached), describe(source));
    EXPECT_EQ(attached.fillValue, source.fillValue);
    EXPECT_EQ(attached.buffer, gHost.pixels);

    OwnedBitMap copy;
    EXPECT_EQ(stopsOf([&] { EXPECT_EQ(copy.CreateFromABMap(host), 0); }),
              source.fullWidth != 0 || source.fullHeight != 0 ? 1 : 0);
    EXPECT_EQ(copy.bytes(), source.bytes());
    EXPECT_EQ(copy.fullWidth, g.width);

    Bytes expanded;
    for (std::int32_t i = 0; i < 4 * source.fullWidth * source.fullHeight; ++i) {
      const std::uint32_t value = logical(source, i / 4 % source.fullWidth, i / 4 / source.fullWidth);
      expanded.push_back(static_cast<unsigned char>(value >> (24 - i % 4 * 8)));
    }
    OwnedBitMap full;
    EXPECT_EQ(full.CreateFullFromABMap(host), -1);
    full.depth = 32;
    full.left = full.top = full.right = full.bottom = 5;
    EXPECT_EQ(full.CreateFullFromABMap(host), 0);
    EXPECT_EQ(full.left + full.top + full.right + full.bottom, 0);
    EXPECT_EQ(full.fillValue, source.fillValue);
    EXPECT_EQ(full.bytes(), expanded);
    OwnedBitMap itself = source;
    OwnedBitMap unpadded;
    unpadded.fillValue = 3;
    EXPECT_EQ(unpadded.CreateUnpaddedFrom(source) + itself.CreateUnpaddedFrom(itself), 0);
    EXPECT_EQ(unpadded.fillValue, 3U);
    EXPECT_EQ(unpadded.bytes(), expanded);
    EXPECT_EQ(itself.bytes(), expanded);
  }
  // Without a full size it is the stored one; a host bitmap of another depth is not expanded.
  const OwnedBitMap source = randomBitMap(random, {4, 3}, 16);
  const ABMap* const host = hostMapOf(source);
  gHost.map.fullWidth = gHost.map.fullHeight = 0;
  EXPECT_EQ(attached.InitFromABMap(host), 0);
  EXPECT_EQ(describe(attached), "4x3x16 l0 t0 r0 b0");
  OwnedBitMap copy;
  OwnedBitMap other;
  other.depth = 32;
  EXPECT_EQ(stopsOf([&] { EXPECT_EQ(copy.CreateFromABMap(host), 0); }), 0);
  EXPECT_EQ(stopsOf([&] { EXPECT_EQ(other.CreateFullFromABMap(host), -1); }), 1);
  EXPECT_EQ(other.CreateUnpaddedFrom(source), -1);
  for (void* const pointer : {static_cast<void*>(&gHost.holder.buffer), static_cast<void*>(&gHost.map.pixels),
                              static_cast<void*>(nullptr)}) {
    if (pointer != nullptr) setPointer(pointer, nullptr);
    const ABMap* const map = pointer == nullptr ? nullptr : host;
    EXPECT_EQ(attached.InitFromABMap(map) + copy.CreateFromABMap(map) + other.CreateFullFromABMap(map), -3);
    EXPECT_EQ(copy.buffer, nullptr);
  }
}

}  // namespace
