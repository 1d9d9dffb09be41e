#include <climits>
#include <cstddef>
#include <type_traits>

#include "ImageSupport.h"
#include "image/HostBitMap.h"

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
  ASSERT_NE(map.Allocate(3, 5, 8), nullptr);
  EXPECT_EQ(describe(map), "3x5x8 l2 t0 r0 b0");
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
  struct Case {
    std::int32_t w, h, depth;
  };
  for (const Case& c : {Case{-1, 5, 8},
                        {5, -1, 8},
                        {-3, -3, 32},
                        {65536, 65536, 32},
                        {46341, 46341, 8},
                        {INT_MAX, INT_MAX, 64},
                        {INT_MAX, 1, 16},
                        {4, 4, -8}}) {
    OwnedBitMap map;
    map.Allocate(1, 1, 8);
    gMemAllocationFailed = 0;
    EXPECT_EQ(map.Allocate(c.w, c.h, c.depth), nullptr) << c.w << "x" << c.h;
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

TEST(BitMapRecord, ReadsEveryPositionOfTheLogicalImage) {
  Random random(1);
  for (const std::int32_t depth : {8, 32}) {
    for (const Geometry& g : joined(kGeometries, kEmptyGeometries)) {
      const OwnedBitMap map = randomBitMap(random, g, depth);
      SCOPED_TRACE(describe(map));
      for (std::int32_t y = -5; y < map.fullHeight + 5; ++y) {
        for (std::int32_t x = -5; x < map.fullWidth + 5; ++x) {
          // What is stored outside the image can be read all the same.
          const std::int32_t index = (y - g.top) * g.width + (x - g.left);
          const bool stored = x >= g.left && x < g.left + g.width && y >= g.top && y < g.top + g.height;
          if (depth == 8) {
            const std::uint32_t expected = stored ? map.buffer[index] : map.fillValue & 0xFF;
            ASSERT_EQ(map.ReadValue8(x, y), static_cast<std::int32_t>(expected)) << x << "," << y;
          } else {
            ASSERT_EQ(map.ReadValue32(x, y), stored ? word(map.buffer + 4 * index) : map.fillValue);
          }
        }
      }
    }
  }
  OwnedBitMap small;
  small.Allocate(4, 4, 8);
  small.ClearBuffer();
  small.fillValue = 9;
  EXPECT_EQ(small.ReadValue32(0, 0), 0U);
  EXPECT_EQ(small.ReadValue32(3, 3), 9U);
  EXPECT_EQ(small.ReadValue8(INT_MAX, INT_MIN), 9);
  small.Free();
  EXPECT_EQ(small.ReadValue8(0, 0), 9);
}

/// A host bitmap with its pixels, in one 4 GiB window as the host has them.
struct HostImage {
  ABMap map;
  ABMapPixels holder;
  unsigned char pixels[4096];
};

void setPointer(void* field, const void* target) {
  const auto bits = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(target));
  std::memcpy(field, &bits, sizeof bits);
}

class HostBitMap : public testing::Test {
 protected:
  HostBitMap() : memory_(2 * sizeof(HostImage)) {
    // Of two neighbours, at least one does not straddle a window's edge.
    unsigned char* at = memory_.data();
    const auto window = [](const unsigned char* p) {
      return std::uint64_t{reinterpret_cast<std::uintptr_t>(p)} >> 32;
    };
    if (window(at) != window(at + sizeof(HostImage))) at += sizeof(HostImage);
    host_ = reinterpret_cast<HostImage*>(at);
    setPointer(&host_->map.pixels, &host_->holder);
    setPointer(&host_->holder.buffer, host_->pixels);
  }

  void describeAs(const ABitMap& map) {
    host_->map.left = map.left;
    host_->map.top = map.top;
    host_->map.width = map.width;
    host_->map.height = map.height;
    host_->map.depth = map.depth;
    host_->map.fullWidth = static_cast<std::uint16_t>(map.fullWidth);
    host_->map.fullHeight = static_cast<std::uint16_t>(map.fullHeight);
    host_->map.fillValue = map.fillValue;
    std::memcpy(host_->pixels, map.buffer, static_cast<std::size_t>(map.BufferBytes()));
  }

  std::vector<unsigned char> memory_;
  HostImage* host_;
};

TEST_F(HostBitMap, IsAttachedCopiedAndExpanded) {
  Random random(2);
  for (const Geometry& g : joined(kGeometries, kEmptyGeometries)) {
    const OwnedBitMap source = randomBitMap(random, g, 32);
    SCOPED_TRACE(describe(source));
    describeAs(source);

    ABitMap attached;
    EXPECT_EQ(attached.InitFromABMap(&host_->map), 0);
    EXPECT_EQ(describe(attached), describe(source));
    EXPECT_EQ(attached.fillValue, source.fillValue);
    EXPECT_EQ(attached.buffer, host_->pixels);

    OwnedBitMap copy;
    gStops = 0;
    EXPECT_EQ(copy.CreateFromABMap(&host_->map), 0);
    EXPECT_EQ(gStops, source.fullWidth != 0 || source.fullHeight != 0 ? 1 : 0);
    EXPECT_EQ(copy.bytes(), source.bytes());
    EXPECT_EQ(copy.fullWidth, g.width);

    OwnedBitMap full;
    EXPECT_EQ(full.CreateFullFromABMap(&host_->map), -1);
    full.depth = 32;
    full.left = 5;
    EXPECT_EQ(full.CreateFullFromABMap(&host_->map), 0);
    EXPECT_EQ(full.left, 0);
    EXPECT_EQ(full.fillValue, source.fillValue);

    OwnedBitMap unpadded;
    unpadded.fillValue = 3;
    EXPECT_EQ(unpadded.CreateUnpaddedFrom(source), 0);
    EXPECT_EQ(unpadded.fillValue, 3U);
    EXPECT_EQ(unpadded.bytes(), full.bytes());
    OwnedBitMap itself = randomBitMap(random, g, 32);
    std::memcpy(itself.buffer, source.buffer, static_cast<std::size_t>(source.BufferBytes()));
    itself.fillValue = source.fillValue;
    EXPECT_EQ(itself.CreateUnpaddedFrom(itself), 0);
    EXPECT_EQ(itself.bytes(), full.bytes());
    ASSERT_EQ(full.BufferBytes(), 4 * source.fullWidth * source.fullHeight);
    for (std::int32_t i = 0; i < source.fullWidth * source.fullHeight; ++i) {
      ASSERT_EQ(word(full.buffer + 4 * i), logical(source, i % source.fullWidth, i / source.fullWidth)) << i;
    }
  }
}

TEST_F(HostBitMap, WithoutFullSizeOrPixels) {
  Random random(3);
  const OwnedBitMap source = randomBitMap(random, {4, 3}, 16);
  describeAs(source);
  host_->map.fullWidth = 0;
  host_->map.fullHeight = 0;
  ABitMap attached;
  EXPECT_EQ(attached.InitFromABMap(&host_->map), 0);
  EXPECT_EQ(describe(attached), "4x3x16 l0 t0 r0 b0");
  OwnedBitMap copy;
  gStops = 0;
  EXPECT_EQ(copy.CreateFromABMap(&host_->map), 0);
  EXPECT_EQ(gStops, 0);
  EXPECT_EQ(copy.bytes(), source.bytes());
  OwnedBitMap other;
  other.depth = 32;
  EXPECT_EQ(other.CreateFullFromABMap(&host_->map), -1);
  EXPECT_EQ(other.CreateUnpaddedFrom(source), -1);

  setPointer(&host_->holder.buffer, nullptr);
  EXPECT_EQ(attached.InitFromABMap(&host_->map), -1);
  EXPECT_EQ(copy.CreateFromABMap(&host_->map), -1);
  EXPECT_EQ(copy.buffer, nullptr);
  setPointer(&host_->map.pixels, nullptr);
  EXPECT_EQ(attached.InitFromABMap(&host_->map), -1);
  EXPECT_EQ(other.CreateFullFromABMap(&host_->map), -1);
  EXPECT_EQ(attached.InitFromABMap(nullptr), -1);
  EXPECT_EQ(copy.CreateFromABMap(nullptr), -1);
  EXPECT_EQ(copy.CreateFullFromABMap(nullptr), -1);
}

}  // namespace
