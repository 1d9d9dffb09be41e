#include <algorithm>

#include "RandomModel.h"
#include "TestSupport.h"

using namespace WavefrontOBJ;

namespace {

void addFace(OBJModel& model, const std::string& group, std::initializer_list<std::uint32_t> corners) {
  OBJFace face;
  for (const std::uint32_t v : corners) face.addVertex(v, v + 1, v + 2, true, true);
  face.smoothingGroup = 6;
  face.materialIndex = 3;
  model.addFace(face);
  model.addFaceToGroup(group, model._faces->count - 1);
}

}  // namespace

TEST(Groups, VertexRanges) {
  OBJModel model(true);
  std::uint32_t start = 99;
  EXPECT_EQ(model.GetGroupVertexRange(0, start), 0U);
  EXPECT_EQ(start, 0U) << "an empty model";
  for (int i = 0; i < 50; ++i) model._vertices->push_back({static_cast<float>(i), 0, 0});
  addFace(model, "five", {5, 7, 9});
  addFace(model, "wide", {2, 40});
  addFace(model, "one", {7});
  addFace(model, "past", {48, 49, 53});
  model.addFaceToGroup("z", 0);
  model._groups["z"] = {};
  struct Case {
    std::uint32_t group, start, count;
  };
  for (const Case& c : {Case{0, 5, 5}, Case{1, 2, 39}, Case{2, 7, 0}, Case{3, 48, 6}, Case{4, 50, 0},
                        Case{5, 50, 0}, Case{UINT32_MAX, 50, 0}}) {
    EXPECT_EQ(model.GetGroupVertexRange(c.group, start), c.count) << c.group;
    EXPECT_EQ(start, c.start) << c.group;
  }
  EXPECT_EQ(model.GetSmoothingGroupVertexRange(6, start), 52U);
  EXPECT_EQ(start, 2U);
  EXPECT_EQ(model.GetSmoothingGroupVertexRange(5, start), 0U);
  EXPECT_EQ(start, 50U);
  EXPECT_EQ(model.GetSmoothingGroupFaceCount(6), 4U);
}

TEST(Groups, MembershipAndNames) {
  OBJModel model(true);
  for (int i = 0; i < 5; ++i) addFace(model, i == 0 ? "z" : "a", {0, 1, 2});
  model.addFaceToGroup("a", 0);
  addFace(model, "gone", {1, 2, 3});
  model._groups["gone"] = {};
  EXPECT_TRUE(model.IsFaceInGroup(0, "a"));
  EXPECT_FALSE(model.IsFaceInGroup(1, "z"));
  EXPECT_EQ(model.GetFaceGroupName(0), "z") << "first in the file, not in the alphabet";
  EXPECT_EQ(model.GetFaceGroupName(5), "default");
  EXPECT_THROW(model.getGroupElements("new"), std::string);
  try {
    model.getGroupElements("new");
  } catch (const std::string& text) {
    EXPECT_EQ(text, "Out of bounds");
  }
  EXPECT_FALSE(model.IsFaceInGroup(0, "new"));
  EXPECT_EQ(model.getGroupElements("new").size(), 0U) << "the question made an empty entry";
  EXPECT_EQ(model._groupNames.size(), 3U);
}

TEST(Groups, Extraction) {
  Random random(9);
  int extracted = 0;
  for (int round = 0; round < 200; ++round) {
    const auto model = randomModel(random);
    const std::string before = describe(*model);
    for (std::uint32_t g = 0; g <= model->_groupNames.size(); ++g) {
      const auto group = model->ExtractGroup(g);
      std::uint32_t start = 0;
      const std::uint32_t count = model->GetGroupVertexRange(g, start);
      ASSERT_EQ(group == nullptr, count == 0);
      if (group == nullptr) continue;
      ++extracted;
      ASSERT_EQ(group->_vertices->count, count);
      const OBJElementList& list = model->getGroupElements(model->_groupNames[g]);
      ASSERT_EQ(group->_faces->count, list.size());
      ASSERT_EQ(group->_groupNames, std::vector<std::string>{model->_groupNames[g]});
      for (std::uint32_t j = 0; j < list.size(); ++j) {
        OBJFace expected = std::as_const(*model->_faces)[list[j]];
        for (std::uint32_t i = 0; i < expected.vertexCount; ++i) expected.vertexIndex[i] -= start;
        expected.hasTexture = expected.hasNormal = 0;
        expected.ComputeNormalAndCenter(*group->_vertices);
        ASSERT_EQ(describe((*group->_faces)[j]), describe(expected)) << "indices stay, flags are cleared";
        ASSERT_EQ(group->getGroupElements(model->_groupNames[g])[j], j);
      }
    }
    ASSERT_EQ(describe(*model), before);
  }
  EXPECT_GT(extracted, 100);
}

TEST(Groups, ExtractionChoosesTheBlockSizeByTheRange) {
  for (const std::uint32_t count : {64000U, 64001U}) {
    OBJModel model(false);
    for (std::uint32_t i = 0; i < count; ++i) model._vertices->push_back({});
    addFace(model, "a", {0, count - 1});
    EXPECT_EQ(model.ExtractGroup(0)->_vertices->blockSize, count == 64000 ? 4000U : 16000U);
  }
  OBJModel model(true);
  model._vertices->push_back({3, 3, 3});
  addFace(model, "a", {0, 2});
  EXPECT_EQ((*model.ExtractGroup(0)->_vertices)[2].x, 0.0F) << "a missing position";
}
