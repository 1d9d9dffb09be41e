// Groups applied to the host's mesh, compared with nested loops over plain vectors.
#include "TestSupport.h"
#include "host/HostMesh.h"
#include "plugin/KOBJRev01.h"
#include "plugin/MeshComparison.h"

using namespace WavefrontOBJ;

namespace {

/// Few vertices for many faces: edges with many faces, poles, faces that have a vertex twice, corners past
/// the last vertex, faces in several groups and twice in one.
std::unique_ptr<OBJModel> tangledModel(Random& random) {
  auto model = std::make_unique<OBJModel>(true);
  const std::uint32_t vertices = 2 + below(random, 30);
  for (std::uint32_t i = 0; i < vertices; ++i) model->_vertices->push_back({});
  const std::uint32_t span = below(random, 4) == 0 ? vertices + 2 : vertices;
  for (std::uint32_t f = below(random, 150); f > 0; --f) {
    OBJFace face;
    face.vertexCount = 1 + below(random, below(random, 8) == 0 ? 12 : 5);
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      // Two poles; not through addVertex, which takes no vertex twice.
      face.vertexIndex[i] = below(random, 3) == 0 ? below(random, 2) : below(random, span);
      face.textureIndex[i] = face.normalIndex[i] = 0;
    }
    face.smoothingGroup = below(random, 4);
    model->addFace(face);
    for (std::uint32_t i = below(random, 4); i > 0; --i) {
      model->addFaceToGroup(std::string(1, static_cast<char>('a' + below(random, 3))),
                            model->_faces->count - 1);
    }
  }
  for (std::uint32_t number = 0; number < 4; ++number) {
    model->_smoothingGroups[model->_smoothingGroupCount++] = number;
  }
  return model;
}

std::unique_ptr<OBJModel> readModel(const std::string& text) {
  const TempFolder folder;
  auto model = std::make_unique<OBJModel>(true);
  EXPECT_TRUE(model->read(folder.write("m.obj", text), false)) << model->_errorMessage;
  return model;
}

}  // namespace

TEST(MeshGroups, MarkWhatNestedLoopsMark) {
  Random random(11);
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    const auto model = tangledModel(random);
    const CurrentModel current(*model);
    compareMeshCalls(*model);
  }
}

// Both ends of the one edge of a book with many pages are poles.
TEST(MeshGroups, MarkPolesAndTheirEdges) {
  OBJModel model(true);
  const std::uint32_t pages = 400;
  for (std::uint32_t i = 0; i < pages + 2; ++i) model._vertices->push_back({});
  for (std::uint32_t page = 0; page < pages; ++page) {
    OBJFace face;
    const bool turned = page % 3 == 0;
    for (const std::uint32_t v : {turned ? 1U : 0U, turned ? 0U : 1U, page + 2}) {
      face.addVertex(v, 0, 0, false, false);
    }
    model.addFace(face);
    model.addFaceToGroup(page % 5 == 0 ? "a" : "b", page);
  }
  const CurrentModel current(model);
  compareMeshCalls(model);
}

TEST(MeshGroups, CreaseTheEdgesTowardOthers) {
  // A strip of three quads; the middle one is the group and has its second and last edge at a border.
  const auto model = readModel(
      "v 0 0 0\nv 1 0 0\nv 2 0 0\nv 3 0 0\nv 0 1 0\nv 1 1 0\nv 2 1 0\nv 3 1 0\n"
      "g left\nf 1 2 6 5\ng middle\nf 2 3 7 6\ng right\nf 3 4 8 7\n");
  const CurrentModel current(*model);
  host::HostMesh mesh(8, 3);
  mesh.faceAttributes()[4 + 2] = 0x01;
  EXPECT_EQ(SetMesh3DFromOBJGroup("crease", 2, nullptr, 0, 0, 0, mesh.hostData()), 2.0F);
  EXPECT_EQ(mesh.creases(0), 0);
  EXPECT_EQ(mesh.creases(1), 0xCD);
  EXPECT_EQ(mesh.creases(2), 0);
  // A group that is the whole mesh has no border.
  for (std::uint32_t f = 0; f < 3; ++f) model->addFaceToGroup("all", f);
  host::HostMesh whole(8, 3);
  EXPECT_EQ(SetMesh3DFromOBJGroup("crease", 4, nullptr, 0, 0, 0, whole.hostData()), 0.0F);
  EXPECT_EQ(creasesOf(whole), std::vector<std::uint8_t>(3));
  // A hexagon counts its border at its sixth edge and has no bits for it.
  const auto hexagon = readModel(
      "v 0 0 0\nv 1 0 0\nv 2 1 0\nv 1 2 0\nv 0 2 0\nv -1 1 0\nv -2 0 0\n"
      "g six\nf 1 2 3 4 5 6\ng other\nf 1 6 7\n");
  const CurrentModel currentHexagon(*hexagon);
  host::HostMesh six(7, 2);
  EXPECT_EQ(SetMesh3DFromOBJGroup("crease", 1, nullptr, 0, 0, 0, six.hostData()), 1.0F);
  EXPECT_EQ(six.creases(0), 0);
  EXPECT_EQ(SetMesh3DFromOBJGroup("crease", 2, nullptr, 0, 0, 0, six.hostData()), 1.0F);
  EXPECT_EQ(six.creases(1), 0x03);
}
