#include <deque>
#include <utility>

#include "RandomModel.h"
#include "TestSupport.h"

using namespace WavefrontOBJ;

namespace {

/// A face that the packed form can hold; one in eight has something that it cannot.
void fillRandomly(OBJFace& face, Random& random) {
  face = ZeroedFace();
  const bool texture = below(random, 2) == 0, normal = below(random, 2) == 0;
  for (std::uint32_t i = below(random, 8) == 0 ? 88 : below(random, 7); i > 0; --i) {
    face.addVertex(i * 1000 + below(random, 1000), random(), random(), texture, normal);
  }
  face.smoothingGroup = below(random, 3);
  face.materialIndex = static_cast<std::int32_t>(below(random, 2)) - 1;
  face.normal.w = face.center.z = static_cast<float>(below(random, 1000)) / 8;
  face.center.w = below(random, 48) == 0 ? 2.0F : 1.0F;
  face.reserved = below(random, 48) == 0 ? 1.0F : -1.0F;
  std::uint32_t* const odd[] = {&face.vertexIndex[87], &face.textureIndex[87], &face.normalIndex[87],
                                &face.hasTexture,      &face.hasNormal,        &face.vertexCount};
  if (const std::uint32_t i = below(random, 48); i < 6) *odd[i] = i < 5 ? 7 : 1000;
}

bool sameBytes(const OBJFace& a, const OBJFace& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

// A plain sequence of flat records is the reference: whatever is pushed, read, unpacked and written in
// whatever order, every byte of every record is as given, whichever form a block is in.
TEST(FaceArray, KeepsRecordsAsGiven) {
  Random random(2);
  OBJFaceArray faces(16);
  std::deque<OBJFace> expected;  // a vector that grows would copy, which resets the geometry
  std::vector<std::pair<std::uint32_t, OBJFace*>> references;
  for (int step = 0; step < 16000; ++step) {
    const std::uint32_t action = below(random, 100);
    const auto size = static_cast<std::uint32_t>(expected.size());
    const std::uint32_t i = below(random, std::max(size, 1U));
    if (action < 50 || size == 0) {
      fillRandomly(expected.emplace_back(), random);
      ASSERT_TRUE(faces.push_back(expected.back()));
    } else if (action < 55) {
      ASSERT_TRUE(faces.push_back(faces[i])) << "one of its own";
      expected.emplace_back() = expected[i];
    } else if (action < 60) {
      const OBJFaceView view = faces.view(i);
      ASSERT_EQ(view.smoothingGroup, expected[i].smoothingGroup);
      if (expected[i].vertexCount > 88 || expected[i].hasTexture > 1 || expected[i].hasNormal > 1) continue;
      ASSERT_TRUE(faces.push_back(view, faces.geometry(i)));
      OBJFace& copy = expected.emplace_back() = expected[i];
      for (std::uint32_t* indices : {copy.vertexIndex, copy.textureIndex, copy.normalIndex}) {
        std::fill(indices + copy.vertexCount, indices + 88, 0);
      }
    } else if (action < 62) {
      references.emplace_back(i, &faces[i]);
    } else if (action < 70 && !references.empty()) {
      const auto& [at, face] = references[below(random, static_cast<std::uint32_t>(references.size()))];
      face->vertexIndex[3] = expected[at].vertexIndex[3] = random();
      face->smoothingGroup = expected[at].smoothingGroup = random();
    } else {
      ASSERT_TRUE(sameBytes(std::as_const(faces)[i], expected[i])) << "face " << i;
    }
  }
  std::uint32_t visited = 0;
  faces.forEachFace([&](std::uint32_t index, const OBJFaceView& view) {
    ASSERT_EQ(index, visited++);
    ASSERT_EQ(view.vertexCount, std::min(expected[index].vertexCount, 88U));
  });
  ASSERT_EQ(visited, expected.size());
  for (const auto& [i, face] : references) ASSERT_EQ(face, &faces[i]) << "references stay valid";
  for (std::uint32_t i = 0; i < visited; ++i) ASSERT_TRUE(sameBytes(faces[i], expected[i])) << i;
}

TEST(FaceArray, ExtractsFacesOfOneSizeAndStoresViews) {
  OBJFaceArray faces(2);
  const ZeroedFace given[] = {{1, 2, 3}, {4, 5, 6, 7}, {9, 8, 7}, {}};
  for (const ZeroedFace& face : given) faces.push_back(face);
  faces[3];  // one block in each form
  std::uint32_t count = 99;
  std::uint32_t* indices = faces.ExtractFaceIndices(3, count);
  ASSERT_EQ(count, 2U);
  EXPECT_EQ(std::vector<std::uint32_t>(indices, indices + 6), (std::vector<std::uint32_t>{1, 2, 3, 9, 8, 7}));
  std::free(indices);
  EXPECT_EQ(faces.ExtractFaceIndices(5, count), nullptr);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(faces.FaceTypeCount(4), 1U);

  OBJFaceArray gap(4);
  gap.push_back(given[0]);
  gap.count = 2;
  ASSERT_TRUE(gap.push_back(gap.view(0), gap.geometry(0)));
  EXPECT_EQ(gap.view(2).vertexIndex[0], 1U) << "a view goes where the count says";
}
