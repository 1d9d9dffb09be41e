#include "host/HostMesh.h"

#include <bit>

#include "TestSupport.h"

namespace {

using host::Arena;
using host::Array;
using host::HostMesh;

/// The object that the pointer field at `offset` of `record` leads to.
const std::uint8_t* follow(const HostMesh& mesh, const void* record, std::size_t offset) {
  const std::uintptr_t window = reinterpret_cast<std::uintptr_t>(record) & ~std::uintptr_t{UINT32_MAX};
  return reinterpret_cast<const std::uint8_t*>(window | mesh.word(record, offset));
}

TEST(Arena, KeepsToItsWindowAndItsRoom) {
  constexpr std::uint64_t kWindow = std::uint64_t{1} << 32;
  for (const std::uint64_t bytes : {16U, 0x7FFFFFF0U}) {
    for (const std::uint64_t first : {kWindow - bytes, kWindow - bytes + 16, kWindow - 16, kWindow}) {
      EXPECT_EQ(Arena::placeIn(first, bytes),
                first > kWindow - bytes && first < kWindow ? first + bytes : first);
    }
  }
  Arena arena(64);
  EXPECT_THROW(arena.allocate(64), std::bad_alloc);
  const std::uint8_t* const memory = arena.allocate(47);
  EXPECT_GE(memory - arena.begin(), 16) << "nothing lies where an address may pass for null";
  EXPECT_EQ(arena.end() - memory, 64);
  EXPECT_EQ(arena.end()[-1], Arena::kPattern);
  EXPECT_THROW(Arena(UINT32_MAX), std::bad_alloc);
}

TEST(HostMesh, LaysTheRecordsOut) {
  const std::string longName(71, 'x');
  HostMesh mesh({{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, {{0, 1, 2}}, {"head", longName, std::string(72, 'y')}});
  mesh.addArray(Array::kSubdivision, 5, 8);
  const void* const record = mesh.hostData()[4];
  ASSERT_EQ(record, mesh.record());
  const struct {
    std::size_t offset;
    std::uint32_t count, elementSize;
  } rows[] = {{100, 3, 12}, {112, 3, 8}, {116, 3, 76}, {408, 5, 8}, {532, 1, 4}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.offset);
    const std::uint8_t* const array = follow(mesh, record, row.offset);
    ASSERT_GE(array - static_cast<const std::uint8_t*>(record), 608 + 16) << "behind the last field";
    EXPECT_EQ(mesh.word(array, 44), row.count);
    EXPECT_EQ(mesh.word(array, 92), row.elementSize);
    const std::uint8_t* const block = follow(mesh, array, 40);
    EXPECT_EQ(block[32] | block[33] | block[74] | block[75], 0);
    EXPECT_EQ(follow(mesh, block, 40), mesh.data(static_cast<Array>(row.offset)));
  }
  EXPECT_EQ(mesh.word(record, 536) | mesh.word(record, 552), 0U);
  for (const std::size_t i : {0, 1, 2, 3, 4, 5}) {
    EXPECT_EQ(mesh.word(record, 584 + 4 * i), std::bit_cast<std::uint32_t>(i < 3 ? 1.0F : 0.0F));
  }
  const auto* names = reinterpret_cast<const char*>(mesh.data(Array::kGroupNames));
  EXPECT_STREQ(names, "head");
  EXPECT_EQ(names + 76, longName);
  EXPECT_EQ(names + 2 * 76, std::string(72, 'y'));
  const float points[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(std::memcmp(mesh.data(Array::kPoints), points, sizeof points), 0);
  EXPECT_TRUE(mesh.onlyMarksChanged());
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
    *byte ^= 1U;
    EXPECT_FALSE(mesh.onlyMarksChanged());
    *byte ^= 1U;
    EXPECT_TRUE(mesh.onlyMarksChanged());
  }
}

}  // namespace
