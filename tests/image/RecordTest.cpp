#include <climits>
#include <cstddef>
#include <type_traits>

#include "ImageSupport.h"

namespace {

static_assert(std::is_standard_layout_v<ABitMap> && std::is_trivially_copyable_v<ABitMap>);
static_assert(sizeof(void*) != 4 || sizeof(ABitMap) == 44);

TEST(BitMapRecord, AllocatesAndKeepsByFullSizeAlone) {
  OwnedBitMap map;
  ASSERT_NE(map.Allocate(5, 3, 32), nullptr);
  EXPECT_EQ(map.BufferBytes(), 60);
  unsigned char* const first = map.buffer;
  EXPECT_EQ(map.Allocate(5, 3, 8), first);
  EXPECT_EQ(map.depth, 32);
  map.fillValue = 77;
  map.left = 2;
  ASSERT_NE(map.Allocate(5, 4, 8), nullptr);
  EXPECT_EQ(describe(map), "5x4x8 l2 t0 r0 b0");
  EXPECT_EQ(map.fillValue, 77U);

  // A cropped buffer is kept as well.
  map.AllocateCropped(20, 10, 1, 2, 4, 9, 16);
  EXPECT_EQ(describe(map), "7x3x16 l2 t1 r11 b6");
  EXPECT_EQ(map.Allocate(20, 10, 32), map.buffer);
  EXPECT_EQ(map.BufferBytes(), 42);

  std::memset(map.buffer, 1, 42);
  map.ClearBuffer();
  EXPECT_EQ(map.bytes(), Bytes(42, 0));
  map.FreeAndClear();
  EXPECT_EQ(map.buffer, nullptr);
  EXPECT_EQ(std::to_string(map.fullWidth) + " " + describe(map), "0 7x3x0 l2 t1 r11 b6");
  map.Reset();
  EXPECT_EQ(describe(map), "0x0x0 l0 t0 r0 b0");
}

TEST(BitMapRecord, RefusesSizesThatDoNotFit) {
  const struct {
    std::int32_t w, h, depth;
  } rows[] = {{-1, 5, 8},      {-3, -3, 32},           {32768, 32768, 32}, {46341, 46341, 8},
              {1, INT_MIN, 8}, {INT_MAX, INT_MAX, 64}, {INT_MAX, 1, 16},   {4, 4, -8}};
  for (const auto& row : rows) {
    OwnedBitMap map(1, 1, 8);
    gMemAllocationFailed = 0;
    EXPECT_EQ(map.Allocate(row.w, row.h, row.depth), nullptr) << row.w << "x" << row.h;
    EXPECT_EQ(map.buffer, nullptr);
    EXPECT_EQ(map.BufferBytes(), 0);
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
  for (const Geometry& g : smallGeometries()) {
    OwnedBitMap map = randomBitMap(random, g, 32);
    OwnedBitMap grey = randomBitMap(random, g, 8);
    if (g.width == 17) setStaleMargins(map);
    if (g.width == 13) map.right = map.bottom = -3;  // columns and rows that no pixel has
    SCOPED_TRACE(describe(map));
    for (std::int32_t y = -5; y < map.fullHeight + 5; ++y) {
      for (std::int32_t x = -5; x < map.fullWidth + 5; ++x) {
        // What is stored outside the image can be read all the same.
        const auto index = [x, y](const ABitMap& m) {
          const bool fill = y < m.top || y >= m.fullHeight - m.bottom || x < m.left ||
                            x >= m.fullWidth - m.right || x - m.left >= m.width || y - m.top >= m.height;
          return fill ? -1 : (y - m.top) * m.width + x - m.left;
        };
        ASSERT_EQ(map.ReadValue32(x, y), index(map) < 0 ? map.fillValue : word(map.buffer + 4 * index(map)));
        ASSERT_EQ(grey.ReadValue8(x, y) & 0xFFU,
                  index(grey) < 0 ? grey.fillValue & 0xFF : grey.buffer[index(grey)]);
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

/// A host bitmap with its pixels, in one 4 GiB window as the host has them.
struct HostImage {
  ABMap map;
  ABMapPixels holder;
  unsigned char pixels[4096];

  void describeAs(const ABitMap& image) {
    map.left = image.left;
    map.top = image.top;
    map.width = image.width;
    map.height = image.height;
    map.depth = image.depth;
    map.fullWidth = static_cast<std::uint16_t>(image.fullWidth);
    map.fullHeight = static_cast<std::uint16_t>(image.fullHeight);
    map.fillValue = image.fillValue;
    std::memcpy(pixels, image.buffer, static_cast<std::size_t>(image.BufferBytes()));
  }
};

void setPointer(void* field, const void* target) {
  const auto bits = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(target));
  std::memcpy(field, &bits, sizeof bits);
}

TEST(HostBitMap, IsAttachedCopiedAndExpanded) {
  // Of two neighbours, at least one does not straddle a window's edge.
  Bytes memory(2 * sizeof(HostImage));
  const auto window = [](const unsigned char* p) {
    return std::uint64_t{reinterpret_cast<std::uintptr_t>(p)} >> 32;
  };
  const bool straddles = window(memory.data()) != window(memory.data() + sizeof(HostImage));
  auto& host = *reinterpret_cast<HostImage*>(memory.data() + (straddles ? sizeof(HostImage) : 0));
  setPointer(&host.map.pixels, &host.holder);
  setPointer(&host.holder.buffer, host.pixels);
  Random random(2);
  for (const Geometry& g : smallGeometries()) {
    const OwnedBitMap source = randomBitMap(random, g, 32);
    SCOPED_TRACE(describe(source));
    host.describeAs(source);

    ABitMap attached;
    EXPECT_EQ(attached.InitFromABMap(&host.map), 0);
    EXPECT_EQ(describe(attached), describe(source));
    EXPECT_EQ(attached.fillValue, source.fillValue);
    EXPECT_EQ(attached.buffer, host.pixels);

    OwnedBitMap copy;
    gStopCount = 0;
    EXPECT_EQ(copy.CreateFromABMap(&host.map), 0);
    EXPECT_EQ(gStopCount, source.fullWidth != 0 || source.fullHeight != 0 ? 1 : 0);
    EXPECT_EQ(copy.bytes(), source.bytes());
    EXPECT_EQ(copy.fullWidth, g.width);

    OwnedBitMap full;
    EXPECT_EQ(full.CreateFullFromABMap(&host.map), -1);
    full.depth = 32;
    full.left = full.top = full.right = full.bottom = 5;
    EXPECT_EQ(full.CreateFullFromABMap(&host.map), 0);
    EXPECT_EQ(full.left + full.top + full.right + full.bottom, 0);
    EXPECT_EQ(full.fillValue, source.fillValue);
    ASSERT_EQ(full.BufferBytes(), 4 * source.fullWidth * source.fullHeight);
    for (std::int32_t i = 0; i < source.fullWidth * source.fullHeight; ++i) {
      ASSERT_EQ(word(full.buffer + 4 * i), logical(source, i % source.fullWidth, i / source.fullWidth)) << i;
    }
    OwnedBitMap unpadded;
    unpadded.fillValue = 3;
    EXPECT_EQ(unpadded.CreateUnpaddedFrom(source), 0);
    EXPECT_EQ(unpadded.fillValue, 3U);
    EXPECT_EQ(unpadded.bytes(), full.bytes());
    OwnedBitMap itself = copyOf(source);
    EXPECT_EQ(itself.CreateUnpaddedFrom(itself), 0);
    EXPECT_EQ(itself.bytes(), full.bytes());
  }
  // Without a full size it is the stored one; a host bitmap of another depth is not expanded.
  const OwnedBitMap source = randomBitMap(random, {4, 3}, 16);
  host.describeAs(source);
  host.map.fullWidth = host.map.fullHeight = 0;
  ABitMap attached;
  EXPECT_EQ(attached.InitFromABMap(&host.map), 0);
  EXPECT_EQ(describe(attached), "4x3x16 l0 t0 r0 b0");
  OwnedBitMap copy;
  gStopCount = 0;
  EXPECT_EQ(copy.CreateFromABMap(&host.map), 0);
  EXPECT_EQ(gStopCount, 0);
  OwnedBitMap other;
  other.depth = 32;
  EXPECT_EQ(other.CreateFullFromABMap(&host.map), -1);
  EXPECT_EQ(gStopCount, 1);
  EXPECT_EQ(other.CreateUnpaddedFrom(source), -1);

  for (void* pointer : {static_cast<void*>(&host.holder.buffer), static_cast<void*>(&host.map.pixels),
                        static_cast<void*>(nullptr)}) {
    if (pointer != nullptr) setPointer(pointer, nullptr);
    const ABMap* const map = pointer == nullptr ? nullptr : &host.map;
    EXPECT_EQ(attached.InitFromABMap(map), -1);
    EXPECT_EQ(copy.CreateFromABMap(map), -1);
    EXPECT_EQ(copy.buffer, nullptr);
    EXPECT_EQ(other.CreateFullFromABMap(map), -1);
  }
}

}  // namespace
