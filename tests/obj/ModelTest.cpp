#include "TestSupport.h"

using namespace WavefrontOBJ;

namespace {

OBJFace triangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  OBJFace face;
  for (const std::uint32_t v : {a, b, c}) face.addVertex(v, 0, 0, false, false);
  return face;
}

}  // namespace

TEST(Model, StartsEmptyWithTheBlockSizesOfItsKind) {
  const OBJModel small(true);
  const OBJModel large(false);
  EXPECT_EQ(small._vertices->blockSize, 4000U);
  EXPECT_EQ(small._normals->blockSize, 4000U);
  EXPECT_EQ(small._faces->blockSize, 4000U);
  EXPECT_EQ(small._textureCoords->blockSize, 8000U);
  EXPECT_EQ(large._vertices->blockSize, 16000U);
  EXPECT_EQ(large._faces->blockSize, 16000U);
  EXPECT_EQ(large._textureCoords->blockSize, 32000U);
  EXPECT_EQ(small._links, nullptr);
  EXPECT_EQ(describe(small), describe(large));
}

TEST(Model, FilesFacesUnderMaterialsAndGroups) {
  OBJModel model(true);
  OBJMaterial material;
  material.name = "skin";
  material.Ns = 1;
  model.addMaterial(material);
  material.Ns = 2;
  model.addMaterial(material);
  EXPECT_EQ(model.getMaterialIndex("skin"), 0);
  EXPECT_EQ(model.getMaterialIndex("Skin"), -1);
  EXPECT_EQ(model.getMaterial("skin").Ns, 1.0);
  EXPECT_THROW(model.getMaterial("bone"), std::out_of_range);
  for (const std::int32_t index : {1, -1, 1, 7}) {
    OBJFace face = triangle(0, 1, 2);
    face.materialIndex = index;
    model.addFace(face);
    model.addFaceToGroup(index == 1 ? "z" : "a", model._faces->count - 1);
  }
  model.addFaceToGroup("a", 1);
  EXPECT_EQ(describe(model._materialFaces[0]), "");
  EXPECT_EQ(describe(model._materialFaces[1]), "0 2 ");
  EXPECT_EQ(model._groupNames, (std::vector<std::string>{"z", "a"}));
  EXPECT_EQ(describe(model._groups.at("a")), "1 3 1 ");
}

// Poles with thousands of faces, vertices without any, corners past the last vertex.
TEST(Model, LinksVerticesToFaces) {
  Random random(8);
  OBJModel model(true);
  for (int i = 0; i < 9000; ++i) model._vertices->push_back({0, 0, 0});
  std::vector<std::vector<std::uint32_t>> expected(9000);
  for (std::uint32_t f = 0; f < 5000; ++f) {
    OBJFace face = triangle(below(random, 3), 3 + below(random, 8000), f % 50 == 0 ? 9000 + f : 8500);
    for (std::uint32_t i = 0; i < 3; ++i) {
      if (face.vertexIndex[i] < 9000) expected[face.vertexIndex[i]].push_back(f);
    }
    model.addFace(face);
  }
  EXPECT_EQ(model.GetVertToFaceCount(0), -1);
  EXPECT_EQ(model.GetFaceForVertexIndex(0, 0), 0U);
  ASSERT_TRUE(model.LinkVertsToFaces());
  ASSERT_TRUE(model.LinkVertsToFaces()) << "once";
  for (std::uint32_t v = 0; v < 9000; ++v) {
    const auto count = static_cast<std::int32_t>(expected[v].size());
    ASSERT_EQ(model.GetVertToFaceCount(v), count) << v;
    for (std::int32_t i = 0; i < count; i += 1 + count / 50) {
      ASSERT_EQ(model.GetFaceForVertexIndex(v, i), expected[v][static_cast<std::size_t>(i)]) << v;
    }
    ASSERT_EQ(model.GetFaceForVertexIndex(v, count), 0U);
  }
  EXPECT_EQ(model.GetVertToFaceCount(9000), -1);
  EXPECT_EQ(model.GetFaceForVertexIndex(8500, -1), 0U);
  OBJFace late = triangle(0, 1, 2);
  model.addFace(late);
  EXPECT_EQ(model.GetVertToFaceCount(0), static_cast<std::int32_t>(expected[0].size())) << "never refreshed";
}
