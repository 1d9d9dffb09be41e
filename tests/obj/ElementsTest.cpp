#include <map>
#include <utility>

#include "RandomModel.h"
#include "TestSupport.h"

using namespace WavefrontOBJ;

TEST(Face, HoldsEachVertexOnceAndAtMost88) {
  OBJFace face;
  EXPECT_TRUE(face.addVertex(7, 1, 2, true, true));
  EXPECT_TRUE(face.addVertex(7, 8, 9, false, false));
  EXPECT_EQ(face.vertexCount, 1U);
  EXPECT_EQ(face.textureIndex[0], 1U);
  EXPECT_EQ(face.hasTexture, 1U) << "an absorbed corner changes nothing, the flags included";
  for (std::uint32_t v = 100; v < 187; ++v) face.addVertex(v, v, v, v % 2 == 0, false);
  EXPECT_TRUE(face.vertexCount == 88 && face.hasTexture == 1 && face.hasNormal == 0);
  EXPECT_TRUE(face.addVertex(186, 0, 0, false, false));
  EXPECT_EQ(failedAssertion([&] { face.addVertex(999, 0, 0, false, false); }), "OBJBasic:324 addVertex 0");
}

TEST(Face, CopyResetsTheGeometryAndAssignmentKeepsIt) {
  ZeroedFace face({5, 6, 7}, true);
  face.vertexIndex[87] = face.smoothingGroup = 77;
  face.materialIndex = 2;
  face.normal = face.center = {1, 2, 3, 4};
  face.reserved = 9;
  OBJFace copy(face), assigned;
  assigned = face;
  EXPECT_EQ(std::memcmp(&assigned, &face, sizeof face), 0);
  assigned.normal = assigned.center = gZeroVector;
  copy.reserved = 9;
  EXPECT_EQ(std::memcmp(&copy, &assigned, sizeof face), 0);
}

TEST(BlockIndex, DividesExactly) {
  Random random(1);
  for (const std::uint32_t size : {1U, 2U, 3U, 7U, 4000U, 32000U, 65535U, 0x80000001U, UINT32_MAX}) {
    const OBJBlockIndex index(size);
    for (std::uint32_t i = 0; i < 30000; ++i) {
      const std::uint32_t at = i < 3 ? 0 - i : random() / size * size + below(random, 3) - 1;
      ASSERT_EQ(index.block(at), at / size) << at << " / " << size;
      ASSERT_EQ(index.slot(at, at / size), at % size) << at << " % " << size;
    }
  }
}

// The public fields decide where a push goes, step by step as the contract has it, and whatever they are set
// to no block that is not there is touched.
template <class Array, class Element, class Field>
void pushAsTheFieldsSay(Element element, Field field, bool answers = true) {
  Random random(13);
  for (int round = 0; round < 100; ++round) {
    const std::uint32_t size = 1 + below(random, 5);
    Array array(size);
    std::vector<std::uint32_t> expected;
    for (std::uint32_t step = 1; step < 60; ++step) {
      if (below(random, 12) == 0) array.count = below(random, 12);
      if (below(random, 20) == 0) array.lastBlock = static_cast<std::int32_t>(below(random, 6)) - 2;
      if (below(random, 20) == 0 && !array.blocks.empty()) {
        if constexpr (std::is_pointer_v<std::decay_t<decltype(array.blocks[0])>>)
          std::free(array.blocks.back());
        array.blocks.pop_back();
        expected.resize(expected.size() - size);
      }
      const std::uint32_t count = array.count, slot = count % size, fresh = slot == 0 ? 1 : 0;
      const std::int64_t last = std::int64_t{array.lastBlock} + fresh, blocks = expected.size() / size;
      const bool there = last >= 0 && last < blocks + fresh;
      element.*field = step;
      ASSERT_EQ(array.push_back(element), answers && there);
      if (there) expected.resize(expected.size() + fresh * size);
      if (there) expected[static_cast<std::size_t>(last) * size + slot] = step;
      ASSERT_EQ(array.count, count + (there ? 1 : 0));
      ASSERT_EQ(array.lastBlock, there ? last : last - fresh);
      ASSERT_EQ(array.blocks.size() * size, expected.size());
    }
    for (std::uint32_t i = 0; i < expected.size(); ++i) {
      ASSERT_EQ(std::as_const(array)[i].*field, expected[i]) << i << " of blocks of " << size;
      ASSERT_EQ(array[i].*field, expected[i]);
    }
  }
}

TEST(BlockArrays, PushWhereTheirFieldsSay) {
  pushAsTheFieldsSay<OBJVectorArray>(OBJVector(), &OBJVector::x);
  pushAsTheFieldsSay<OBJFaceArray>(ZeroedFace(), &OBJFace::smoothingGroup);
  pushAsTheFieldsSay<OBJLinkArray>(OBJLinks(), &OBJLinks::count, false);  // false in every case
}

TEST(BlockMemory, GivesPlacesOfTheirOwn) {
  Random random(7);
  OBJBlockMemory memory;
  std::map<unsigned char*, std::size_t> taken;
  for (std::size_t total = 0; total < 24U << 20;) {
    const std::size_t count = below(random, 1U << (8 + below(random, 9))), size = 1 + below(random, 16);
    auto* const place = static_cast<unsigned char*>(memory.take(count, size));
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(place) % alignof(std::max_align_t), 0U);
    if (count == 0) continue;
    std::fill_n(place, count * size, 0xA5);
    ASSERT_TRUE(taken.emplace(place, count * size).second);
    const auto next = taken.upper_bound(place);
    ASSERT_TRUE(next == taken.end() || place + count * size <= next->first);
    total += count * size;
  }
  EXPECT_EQ(memory.take(SIZE_MAX / 8, 9), nullptr);
}

TEST(BlockArrays, StayInPlaceAndCheckTheBlockAndNotTheCount) {
  OBJVectorArray vectors(3);
  OBJFaceArray faces(4);
  OBJLinkArray links(4);
  EXPECT_EQ(failedAssertion([&] { vectors[0]; }), "OBJVectorArray:61 operator[] 0");
  EXPECT_EQ(failedAssertion([&] { faces[0]; }), "OBJFaceArray:64 operator[] 0");
  EXPECT_EQ(failedAssertion([&] { std::as_const(faces)[0]; }), "OBJFaceArray:64 operator[] 0");
  EXPECT_EQ(failedAssertion([&] { links[0]; }), "OBJLinkArray:140 operator[] 0");
  for (int i = 0; i < 3000; ++i) vectors.push_back({static_cast<float>(i), 1, 2, 0.5F});
  EXPECT_EQ(&vectors[2000], vectors.blocks[666] + 2);
  vectors.push_back(vectors[7]);
  EXPECT_EQ(vectors[3000].x, 7.0F);
  EXPECT_EQ(vectors[3002].w, 0.0F) << "an unwritten slot holds nothing of other memory";
  std::vector<float> flat(4 * 3001 + 1, -1.0F);
  vectors.ExtractVertices(flat.data());
  EXPECT_EQ(flat[4 * 2999], 2999.0F);
  EXPECT_EQ(flat[4 * 3000 + 3], 0.5F);
  EXPECT_EQ(flat.back(), -1.0F) << "exactly count x 16 bytes";
  vectors.count = 4000;
  EXPECT_EQ(vectors.elementOrZero(3500).w, 1.0F) << "no such block";
  OBJFaceArray huge(UINT32_MAX);
  EXPECT_FALSE(huge.push_back(gNullFace)) << "no memory is that large";
  EXPECT_EQ(huge.lastBlock, -1);
}

TEST(Links, ChainNodesOfTwelve) {
  OBJLinkArray array(2);
  ASSERT_TRUE(array.reserve(5));
  EXPECT_EQ(array.count, 5U);
  EXPECT_EQ(array.lastBlock, 2);
  EXPECT_FALSE(array.reserve(1)) << "only an empty array";
  OBJLinks& links = array[4];
  for (std::uint32_t face = 0; face < 30; ++face) {
    EXPECT_TRUE(links.push_back(face * 7));
    EXPECT_EQ(links.next == nullptr, face < 12) << face;
    EXPECT_EQ(links[face], face * 7);
  }
  EXPECT_EQ(links.next->next->count, 6U);
  EXPECT_EQ(links[30], 0U);
  array.push_back(array[4]);
  EXPECT_EQ(array.blocks.size(), 3U) << "the last block had a slot left";
  array[4].push_back(1);
  EXPECT_EQ(array[5].size(), 30U) << "the copy has nodes of its own";
  EXPECT_EQ(array[5][29], 203U);
}
