// Groups applied to the host's mesh, compared with nested loops over plain vectors.
#include "TestSupport.h"
#include "plugin/MeshReference.h"

using namespace WavefrontOBJ;

// Few vertices for many faces: edges with many faces, poles, faces that have a vertex twice, corners past the
// last vertex, faces in several groups and twice in one.
TEST(MeshGroups, MarkWhatNestedLoopsMark) {
  Random random(11);
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    OBJModel model(true);
    const std::uint32_t vertices = 2 + below(random, 30);
    for (std::uint32_t i = 0; i < vertices; ++i) model._vertices->push_back({});
    const std::uint32_t span = below(random, 4) == 0 ? vertices + 2 : vertices;
    const auto fill = [&](OBJFace& face) {
      face.vertexCount = 1 + below(random, below(random, 8) == 0 ? 24 : 5);
      for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
        // Two poles; not through addVertex, which takes no vertex twice.
        face.vertexIndex[i] = below(random, 3) == 0 ? below(random, 2) : below(random, span);
        face.textureIndex[i] = face.normalIndex[i] = 0;
      }
      face.smoothingGroup = below(random, 4);
    };
    for (std::uint32_t f = below(random, 150); f > 0; --f) {
      OBJFace face;
      fill(face);
      model.addFace(face);
      for (std::uint32_t i = below(random, 4); i > 0; --i) {
        model.addFaceToGroup(std::string(1, "abc"[below(random, 3)]), model._faces->count - 1);
      }
    }
    for (const std::uint32_t number : {0, 1, 2, 3}) {
      model._smoothingGroups[model._smoothingGroupCount++] = number;
    }
    const MeshReference reference(model);
    if (round % 3 == 0) {
      // The lists of the vertices are made once.
      ASSERT_TRUE(model.LinkVertsToFaces());
      for (std::uint32_t f = 0; f < model._faces->count; f += 1 + below(random, 4)) fill((*model._faces)[f]);
    }
    gOBJModel = &model;
    compareMarks(reference, 4, [](bool holds, const char* what) { EXPECT_TRUE(holds) << what; });
    gOBJModel = nullptr;
  }
}
