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
  EXPECT_EQ(face.vertexCount, 88U);
  EXPECT_EQ(face.hasTexture, 1U);
  EXPECT_EQ(face.hasNormal, 0U);
  EXPECT_TRUE(face.addVertex(186, 0, 0, false, false));
  EXPECT_EQ(failedAssertion([&] { face.addVertex(999, 0, 0, false, false); }), "OBJBasic:324 addVertex 0");
}

TEST(Face, CopyResetsTheGeometryAndAssignmentKeepsIt) {
  OBJFace face;
  for (std::uint32_t v = 0; v < 3; ++v) face.addVertex(v, v + 10, v + 20, true, true);
  face.vertexIndex[87] = 77;
  face.smoothingGroup = 4;
  face.materialIndex = 2;
  face.normal = {1, 2, 3, 4};
  face.center = {5, 6, 7, 8};
  face.reserved = 9;
  const OBJFace copy(face);
  OBJFace assigned;
  assigned = face;
  EXPECT_EQ(describe(assigned), describe(face));
  EXPECT_EQ(assigned.reserved, 9.0F);
  EXPECT_EQ(assigned.vertexIndex[87], 77U);
  OBJFace reset;
  reset = face;
  reset.normal = reset.center = gZeroVector;
  EXPECT_EQ(describe(copy), describe(reset));
  EXPECT_EQ(copy.vertexIndex[87], 77U);
}

TEST(BlockIndex, DividesExactly) {
  Random random(1);
  for (const std::uint32_t size :
       {1U, 2U, 3U, 7U, 4000U, 8000U, 16000U, 32000U, 65535U, 0x80000001U, UINT32_MAX}) {
    const OBJBlockIndex index(size);
    std::vector<std::uint32_t> cases{0, 1, size - 1, size, size + 1, UINT32_MAX - 1, UINT32_MAX};
    for (int i = 0; i < 10000; ++i) {
      const std::uint32_t multiple = random() / size * size;
      cases.insert(cases.end(), {multiple, multiple - 1, multiple + 1, static_cast<std::uint32_t>(random())});
    }
    for (const std::uint32_t i : cases) {
      ASSERT_EQ(index.block(i), i / size) << i << " / " << size;
      ASSERT_EQ(index.slot(i, index.block(i)), i % size) << i << " % " << size;
    }
  }
}

TEST(BlockArrays, GrowByBlocksThatStayInPlace) {
  OBJVectorArray vectors(3);
  EXPECT_EQ(vectors.lastBlock, -1);
  ASSERT_TRUE(vectors.push_back({1, 2, 3}));
  OBJVector* first = &vectors[0];
  for (int i = 1; i < 3000; ++i) {
    const auto f = static_cast<float>(i);
    ASSERT_TRUE(vectors.push_back({f, -f, 2 * f, 0.5F}));
  }
  EXPECT_EQ(vectors.count, 3000U);
  EXPECT_EQ(vectors.lastBlock, 999);
  EXPECT_EQ(vectors.blocks.size(), 1000U);
  EXPECT_EQ(first, &vectors[0]);
  EXPECT_EQ(&vectors[2000], vectors.blocks[666] + 2);
  EXPECT_EQ(vectors[2999].y, -2999.0F);
  std::vector<float> flat(4 * 3000 + 1, -1.0F);
  vectors.ExtractVertices(flat.data());
  EXPECT_EQ(flat[4 * 2999 + 2], 5998.0F);
  EXPECT_EQ(flat[4 * 2999 + 3], 0.5F);
  EXPECT_EQ(flat.back(), -1.0F) << "exactly count x 16 bytes";
}

TEST(BlockArrays, CheckTheBlockAndNotTheCount) {
  OBJVectorArray vectors(4);
  OBJFaceArray faces(4);
  OBJLinkArray links(4);
  EXPECT_EQ(failedAssertion([&] { vectors[0]; }), "OBJVectorArray:61 operator[] 0");
  EXPECT_EQ(failedAssertion([&] { faces[0]; }), "OBJFaceArray:64 operator[] 0");
  EXPECT_EQ(failedAssertion([&] { links[0]; }), "OBJLinkArray:140 operator[] 0");
  vectors.push_back({1, 1, 1});
  faces.push_back(gNullFace);
  EXPECT_FALSE(links.push_back(gZeroLinks)) << "false in every case";
  EXPECT_EQ(links.count, 1U);
  EXPECT_EQ(failedAssertion([&] { vectors[3], faces[3], links[3]; }), "") << "unwritten slots of a block";
  EXPECT_EQ(vectors[3].x, 0.0F) << "an unwritten slot holds nothing of other memory";
  EXPECT_EQ(failedAssertion([&] { vectors[4]; }), "OBJVectorArray:61 operator[] 0");
  EXPECT_EQ(failedAssertion([&] { faces.view(4); }), "OBJFaceArray:64 operator[] 0");
  EXPECT_EQ(failedAssertion([&] { links[UINT32_MAX]; }), "OBJLinkArray:140 operator[] 0");
}

TEST(BlockArrays, AnswerFalseWhenABlockCannotBeHad) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer's allocator ends the process instead of answering null";
#endif
  volatile std::uint32_t hidden = UINT32_MAX;  // compilers know that no block is that large
  const std::uint32_t huge = hidden;
  OBJVectorArray vectors(huge);
  OBJFaceArray faces(huge);
  if (vectors.push_back({1, 2, 3})) GTEST_SKIP() << "this machine hands out 64 GB";
  EXPECT_FALSE(faces.push_back(gNullFace));
  EXPECT_EQ(vectors.count + faces.count, 0U);
  EXPECT_EQ(vectors.lastBlock, -1);
  EXPECT_EQ(faces.lastBlock, -1);
  EXPECT_TRUE(vectors.blocks.empty());
  OBJLinkArray links(huge);
  EXPECT_FALSE(links.reserve(5));
  EXPECT_EQ(links.count, 0U);
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
  }
  EXPECT_EQ(links.size(), 30U);
  EXPECT_EQ(links.next->next->count, 6U);
  EXPECT_EQ(links[11], 77U);
  EXPECT_EQ(links[12], 84U);
  EXPECT_EQ(links[29], 203U);
  EXPECT_EQ(links[30], 0U);
  EXPECT_FALSE(array.push_back(gZeroLinks));
  EXPECT_EQ(array.count, 6U);
  EXPECT_EQ(array[5].size(), 0U);
  EXPECT_EQ(array.blocks.size(), 3U) << "the last block had a slot left";
  array.push_back(gZeroLinks);
  EXPECT_EQ(array.blocks.size(), 4U);
}

TEST(ElementList, KeepsOrderAcrossChunksAndCopies) {
  OBJElementList list;
  for (std::uint32_t i = 0; i < 5000; ++i) list.addFace(i * 3);
  OBJElementList copy(list);
  copy.addFace(1);
  OBJElementList assigned;
  assigned.addFace(9);
  assigned = list;
  for (std::uint32_t i = 0; i < 5000; ++i) {
    ASSERT_EQ(list[i], i * 3);
    ASSERT_EQ(assigned[i], i * 3);
  }
  EXPECT_EQ(list.size(), 5000U);
  EXPECT_EQ(copy.size(), 5001U);
  EXPECT_EQ(copy[5000], 1U);
  const OBJElementList moved(std::move(copy));
  EXPECT_EQ(std::distance(moved.begin(), moved.end()), 5001);
}

// The default ends the process with the fixed texts.
TEST(AssertionDeathTest, EndsTheProcess) {
  OBJVectorArray vectors(4);
  EXPECT_DEATH(vectors[0], "OBJVectorArray:61: operator\\[\\]: Assertion `0' failed");
  EXPECT_DEATH(
      {
        OBJSetAssertionHandler([](const char*, const char*, int, const char*) { std::puts("returns"); });
        OBJAssertionFailed("f", "F", 1, "0");
      },
      "");
  EXPECT_EXIT(
      {
        OBJSetAssertionHandler([](const char* function, const char*, int line, const char*) {
          std::fprintf(stderr, "%s at %d", function, line);
          std::_Exit(3);
        });
        vectors[0];
      },
      testing::ExitedWithCode(3), "operator\\[\\] at 61");
}
