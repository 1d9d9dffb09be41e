#include <deque>

#include "TestSupport.h"

using namespace WavefrontOBJ;

namespace {

OBJFace randomFace(Random& random) {
  OBJFace face;
  const std::uint32_t corners = below(random, 8) == 0 ? 87 : below(random, 7);
  const bool texture = below(random, 2) == 0;
  const bool normal = below(random, 2) == 0;
  for (std::uint32_t i = 0; i < corners; ++i) {
    face.addVertex(i * 1000 + below(random, 1000), random(), random(), texture, normal);
  }
  face.smoothingGroup = random();
  face.materialIndex = static_cast<std::int32_t>(below(random, 5)) - 1;
  const auto number = [&random] { return static_cast<float>(below(random, 1000)) / 8; };
  face.normal = {number(), number(), number(), number()};
  face.center = {number(), number(), number(), number()};
  face.reserved = number();
  return face;
}

}  // namespace

// A plain vector of flat records is the reference: whatever is pushed, read, unpacked and written in whatever
// order, the array shows the same faces through views and through records.
TEST(FaceArray, ShowsTheSameFacesPackedAndFlat) {
  Random random(2);
  OBJFaceArray faces(16);
  std::deque<OBJFace> expected;  // a vector that grows would copy, which resets the geometry
  std::vector<std::pair<std::uint32_t, OBJFace*>> references;
  for (int step = 0; step < 4000; ++step) {
    const std::uint32_t action = below(random, 100);
    if (action < 60 || expected.empty()) {
      expected.emplace_back();
      expected.back() = randomFace(random);
      ASSERT_TRUE(faces.push_back(expected.back()));
    } else if (action < 62) {
      const std::uint32_t i = below(random, static_cast<std::uint32_t>(expected.size()));
      references.emplace_back(i, &faces[i]);
      ASSERT_EQ(describe(faces[i]), describe(expected[i]));
      ASSERT_EQ(faces[i].reserved, expected[i].reserved);
    } else if (action < 70 && !references.empty()) {
      const auto& [i, face] = references[below(random, static_cast<std::uint32_t>(references.size()))];
      face->smoothingGroup = expected[i].smoothingGroup = random();
      face->addVertex(5, 6, 7, false, true);
      expected[i].addVertex(5, 6, 7, false, true);
      if (face->vertexCount == 88) face->vertexCount = expected[i].vertexCount = 3;
    } else {
      const std::uint32_t i = below(random, static_cast<std::uint32_t>(expected.size()));
      ASSERT_EQ(describe(std::as_const(faces)[i]), describe(expected[i])) << "face " << i;
    }
  }
  ASSERT_EQ(faces.count, expected.size());
  ASSERT_EQ(faces.blocks.size(), (expected.size() + 15) / 16);
  std::uint32_t visited = 0;
  faces.forEachFace([&](std::uint32_t index, const OBJFaceView& view) {
    ASSERT_EQ(index, visited++);
    ASSERT_EQ(view.vertexCount, expected[index].vertexCount);
  });
  EXPECT_EQ(visited, faces.count);
  for (const auto& [i, face] : references) ASSERT_EQ(face, &faces[i]) << "references stay valid";
  for (std::uint32_t i = 0; i < faces.count; ++i) ASSERT_EQ(describe(faces[i]), describe(expected[i]));
}

TEST(FaceArray, ExtractsTheIndicesOfFacesOfOneSize) {
  OBJFaceArray faces(2);
  const std::vector<std::vector<std::uint32_t>> corners{{1, 2, 3}, {4, 5, 6, 7}, {9, 8, 7}, {}};
  for (const auto& face : corners) {
    OBJFace record;
    for (const std::uint32_t v : face) record.addVertex(v, 0, 0, false, false);
    faces.push_back(record);
  }
  faces[3];  // one block in each form
  std::uint32_t count = 99;
  std::uint32_t* indices = faces.ExtractFaceIndices(3, count);
  ASSERT_EQ(count, 2U);
  EXPECT_EQ(std::vector<std::uint32_t>(indices, indices + 6), (std::vector<std::uint32_t>{1, 2, 3, 9, 8, 7}));
  std::free(indices);
  EXPECT_EQ(faces.ExtractFaceIndices(5, count), nullptr);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(faces.FaceTypeCount(4), 1U);
  indices = faces.ExtractFaceIndices(0, count);
  EXPECT_NE(indices, nullptr);
  EXPECT_EQ(count, 1U);
  std::free(indices);
}
