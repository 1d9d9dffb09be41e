#include <span>

#include "RandomModel.h"
#include "TestSupport.h"

using namespace WavefrontOBJ;

namespace {

void addFace(OBJModel& model, const std::string& group, std::initializer_list<std::uint32_t> corners) {
  ZeroedFace face(corners);
  face.smoothingGroup = 6;
  model.addFace(face);
  model.addFaceToGroup(group, model._faces->count - 1);
}

}  // namespace

TEST(Model, FilesFacesUnderMaterials) {
  OBJModel model(true);
  OBJMaterial material;
  material.name = "skin";
  for (material.Ns = 1; material.Ns < 3; ++material.Ns) model.addMaterial(material);
  EXPECT_EQ(model.getMaterialIndex("skin"), 0);
  EXPECT_EQ(model.getMaterialIndex("Skin"), -1);
  EXPECT_EQ(model.getMaterial("skin").Ns, 1.0);
  EXPECT_THROW(model.getMaterial("bone"), std::out_of_range);
  ZeroedFace face({0, 1, 2});
  for (const std::int32_t index : {1, -1, 1, 2, 7}) model.addFace((face.materialIndex = index, face));
  EXPECT_EQ(describe(model._materialFaces[0]) + "|" + describe(model._materialFaces[1]), "|0 2 ");
}

// Poles with thousands of faces, vertices without any, corners past the last vertex.
TEST(Model, LinksVerticesToFaces) {
  Random random(8);
  OBJModel model(true);
  for (int i = 0; i < 8000; ++i) model._vertices->push_back({0, 0, 0});
  std::vector<std::vector<std::uint32_t>> expected(13000);
  for (std::uint32_t f = 0; f < 5000; ++f) {
    ZeroedFace face({below(random, 3), 3 + below(random, 7500), f % 50 == 0 ? 8000 + f : 7800});
    for (const std::uint32_t vertex : std::span(face.vertexIndex, 3)) expected[vertex].push_back(f);
    model.addFace(face);
  }
  EXPECT_EQ(model.GetVertToFaceCount(0), -1);
  ASSERT_TRUE(model.LinkVertsToFaces());
  addFace(model, "late", {0, 1, 2});
  ASSERT_TRUE(model.LinkVertsToFaces()) << "never refreshed";
  for (std::uint32_t v = 0; v < 8000; ++v) {
    const auto count = static_cast<std::int32_t>(expected[v].size());
    ASSERT_EQ(model.GetVertToFaceCount(v), count) << v;
    for (std::int32_t i = 0; i < count; i += 1 + count / 50) {
      ASSERT_EQ(model.GetFaceForVertexIndex(v, i), expected[v][static_cast<std::size_t>(i)]) << v;
    }
    ASSERT_EQ(model.GetFaceForVertexIndex(v, count), 0U);
  }
  EXPECT_EQ(model.GetVertToFaceCount(8000), -1);
  EXPECT_EQ(model.GetFaceForVertexIndex(7800, -1), 0U);
}

TEST(Groups, VertexRangesMembershipAndNames) {
  OBJModel model(true);
  std::uint32_t start = 99;
  EXPECT_EQ(model.GetGroupVertexRange(0, start), 0U);
  EXPECT_EQ(start, 0U) << "an empty model";
  for (int i = 0; i < 50; ++i) model._vertices->push_back({1, 0, 0});
  addFace(model, "five", {5, 7, 9});
  addFace(model, "a wide", {2, 40});
  addFace(model, "one", {7});
  addFace(model, "past", {48, 49, 53});
  model.addFaceToGroup("a wide", 0);
  model.addFaceToGroup("empty", 0);
  model._groups["empty"] = {};
  const std::uint32_t expected[][2] = {{5, 5}, {2, 39}, {7, 0}, {48, 6}, {50, 0}, {50, 0}};
  for (std::uint32_t group = 0; group < std::size(expected); ++group) {
    EXPECT_EQ(model.GetGroupVertexRange(group, start), expected[group][1]) << group;
    EXPECT_EQ(start, expected[group][0]) << group;
  }
  EXPECT_EQ(model.GetSmoothingGroupVertexRange(6, start), 52U);
  EXPECT_EQ((*model.ExtractGroup(3)->_vertices)[2].x, 0.0F) << "a missing position";

  EXPECT_TRUE(model.IsFaceInGroup(0, "a wide"));
  EXPECT_FALSE(model.IsFaceInGroup(1, "five"));
  EXPECT_EQ(model.GetFaceGroupName(0), "five") << "first in the file, not in the alphabet";
  EXPECT_EQ(model.GetFaceGroupName(5), "default");
  EXPECT_THROW(model.getGroupElements("new"), std::string);
  EXPECT_FALSE(model.IsFaceInGroup(0, "new"));
  EXPECT_EQ(model.getGroupElements("new").size(), 0U) << "the question made an empty entry";
  EXPECT_EQ(model._groupNames.size(), 5U);
}

TEST(Groups, Extraction) {
  for (const std::uint32_t count : {64000U, 64001U}) {
    OBJModel model(false);
    for (std::uint32_t i = 0; i < count + 5; ++i) model._vertices->push_back({static_cast<float>(i), 0, 0});
    ZeroedFace face({5, count + 4, 9, 7}, true);
    face.hasNormal = 1;
    face.textureIndex[80] = face.smoothingGroup = 3;
    face.materialIndex = 2;
    for (int i = 0; i < 3; ++i) model.addFace(face);
    for (const std::uint32_t f : {2U, 1U}) model.addFaceToGroup("a", f);
    const auto group = model.ExtractGroup(0);
    EXPECT_EQ(group->_vertices->blockSize, count == 64000 ? 4000U : 16000U);
    EXPECT_EQ(group->_vertices->count, count);
    EXPECT_EQ((*group->_vertices)[3].x, 8.0F);
    for (std::uint32_t i = 0; i < 4; ++i) face.vertexIndex[i] -= 5;
    face.hasTexture = face.hasNormal = 0;
    face.ComputeNormalAndCenter(*group->_vertices);
    for (std::uint32_t i = 0; i < 2; ++i) EXPECT_EQ(describe((*group->_faces)[i]), describe(face));
    EXPECT_EQ((*group->_faces)[1].textureIndex[80], 3U);
    EXPECT_EQ(describe(group->getGroupElements("a")), "0 1 ");
  }
}
