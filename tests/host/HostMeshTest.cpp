#include "host/HostMesh.h"

#include "TestSupport.h"

namespace {

using host::Arena;
using host::Array;
using host::HostMesh;

std::uint64_t addressOf(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

/// The object that the pointer field at `offset` of `record` leads to.
const std::uint8_t* follow(const void* record, std::size_t offset) {
  std::uint32_t low = 0;
  std::memcpy(&low, static_cast<const std::uint8_t*>(record) + offset, sizeof low);
  const std::uint64_t high = addressOf(record) >> 32U << 32U;
  return low == 0 ? nullptr : reinterpret_cast<const std::uint8_t*>(static_cast<std::uintptr_t>(high | low));
}

std::int32_t number(const void* record, std::size_t offset) {
  std::int32_t value = 0;
  std::memcpy(&value, static_cast<const std::uint8_t*>(record) + offset, sizeof value);
  return value;
}

TEST(Arena, StaysInOneWindow) {
  // Enough of them, side by side, that on a 64-bit machine mappings of this size must meet a boundary.
  constexpr std::size_t kBytes = std::size_t{300} << 20U;
  const std::size_t arenas = sizeof(void*) == 8 ? 40 : 2;
  std::vector<std::unique_ptr<Arena>> kept;
  for (std::size_t i = 0; i < arenas; ++i) {
    kept.push_back(std::make_unique<Arena>(kBytes));
    const std::uint8_t* const first = kept.back()->begin();
    EXPECT_EQ(addressOf(first) >> 32U, addressOf(first + kBytes) >> 32U);
    const std::uint8_t* const memory = kept.back()->allocate(1);
    EXPECT_EQ(addressOf(memory) % Arena::kAlignment, 0U);
    EXPECT_NE(Arena::pointerField(memory), 0U);
  }
}

TEST(Arena, RefusesWhatDoesNotFit) {
  Arena arena(64);
  EXPECT_THROW(arena.allocate(64), std::bad_alloc);
  std::memset(arena.allocate(47), 0, 47);
  EXPECT_EQ(arena.end()[-1], Arena::kPattern);
  EXPECT_THROW(arena.allocate(0), std::bad_alloc);
  EXPECT_THROW(Arena(SIZE_MAX), std::bad_alloc);
}

TEST(HostMesh, LaysTheRecordsOut) {
  HostMesh mesh({{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, {{0, 1, 2}}, {"head", std::string(70, 'x')}});
  mesh.addArray(Array::kSubdivision, 5, 8);
  const void* const record = mesh.hostData()[4];
  ASSERT_EQ(record, mesh.record());
  struct Row {
    std::size_t offset;
    std::int32_t count;
    std::int32_t elementSize;
  };
  for (const Row& row : {Row{100, 3, 12}, Row{112, 3, 8}, Row{116, 2, 72}, Row{408, 5, 8}, Row{532, 1, 4}}) {
    SCOPED_TRACE(row.offset);
    const std::uint8_t* const array = follow(record, row.offset);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(number(array, 44), row.count);
    EXPECT_EQ(number(array, 92), row.elementSize);
    const std::uint8_t* const block = follow(array, 40);
    std::uint16_t half = 1;
    std::memcpy(&half, block + 32, sizeof half);
    EXPECT_EQ(half, 0);
    std::memcpy(&half, block + 74, sizeof half);
    EXPECT_EQ(half, 0);
    ASSERT_NE(follow(block, 40), nullptr);
  }
  EXPECT_EQ(follow(record, 536), nullptr);
  EXPECT_EQ(follow(record, 552), nullptr);
  EXPECT_STREQ(reinterpret_cast<const char*>(follow(follow(follow(record, 116), 40), 40)), "head");
  EXPECT_EQ(follow(follow(follow(record, 112), 40), 40), mesh.vertexAttributes());
  EXPECT_EQ(follow(follow(follow(record, 532), 40), 40), mesh.faceAttributes());
  float point[9];
  std::memcpy(point, mesh.data(Array::kPoints), sizeof point);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(point[i], static_cast<float>(i + 1));
}

TEST(HostMesh, TellsMarksFromOtherChanges) {
  HostMesh mesh(4, 2);
  mesh.vertexAttributes()[3 * 8 + 2] = 7;
  mesh.faceAttributes()[1 * 4 + 2] = 0x30;
  mesh.setWord(mesh.arrayRecord(Array::kFaceAttributes), host::array_offset::kElementSize, 8);
  mesh.setArray(Array::kVertexAttributes, nullptr);
  EXPECT_TRUE(mesh.onlyMarksChanged());
  EXPECT_EQ(mesh.mask(3), 7);
  EXPECT_EQ(mesh.creases(1), 0x30);
  EXPECT_EQ(mesh.mask(0) | mesh.creases(0), 0);
  std::uint8_t* const faces = mesh.faceAttributes();
  for (std::uint8_t* const byte : {faces + 1, faces + 8, faces - 1, mesh.vertexAttributes() + 33,
                                   static_cast<std::uint8_t*>(mesh.record()) + 584}) {
    const std::uint8_t before = *byte;
    *byte ^= 1U;
    EXPECT_FALSE(mesh.onlyMarksChanged());
    *byte = before;
    EXPECT_TRUE(mesh.onlyMarksChanged());
  }
}

}  // namespace
