// What two threads may do at once: everything with models of their own, and questions to one that they share.
// The thread sanitizer tells what they may not (preset "thread").
#include <sstream>
#include <thread>

#include "TestSupport.h"
#include "host/HostMesh.h"
#include "plugin/Mesh3DUtils.h"

using namespace WavefrontOBJ;

namespace {

constexpr int kSide = 60;

/// A square sheet of quads in three groups and two smoothing groups, with textures and materials.
std::string sheet() {
  std::ostringstream text;
  text << "mtllib m.mtl\n";
  for (int i = 0; i <= kSide; ++i) {
    for (int j = 0; j <= kSide; ++j)
      text << "v " << i << " " << j * 0.1 << " 0\nvt " << i << " " << j << "\n";
  }
  for (int i = 0; i < kSide; ++i) {
    text << "g "
         << "abc"[i % 3] << "\ns " << i % 2 + 1 << "\nusemtl " << (i % 2 == 0 ? "red" : "blue") << "\n";
    for (int j = 1; j <= kSide; ++j) {
      const int v = i * (kSide + 1) + j;
      text << "f " << v << "/" << v << " " << v + 1 << "/1 " << v + kSide + 2 << "/2 " << v + kSide + 1
           << "/3\n";
    }
  }
  return text.str();
}

std::string marksBy(OBJModel& model) {
  host::HostMesh mesh(model._vertices->count, model._faces->count);
  auto* const record = static_cast<AMash3DDXF*>(mesh.record());
  std::string text = std::to_string(Mesh3D_MaskGroupFromOBJ(record, &model, 1, 7)) + " " +
                     std::to_string(Mesh3D_MaskSmoothingGroupFromOBJ(record, &model, 1, 9)) + " " +
                     std::to_string(Mesh3D_CreaseGroupsFromOBJ(record, &model, 0)) + " " +
                     std::to_string(Mesh3D_CreaseSmoothingGroupFromOBJ(record, &model, 0)) + " ";
  for (std::uint32_t v = 0; v < mesh.vertexCount(); ++v) text += static_cast<char>('0' + mesh.mask(v));
  for (std::uint32_t f = 0; f < mesh.faceCount(); ++f) text += std::to_string(mesh.creases(f));
  return text;
}

std::string answersOf(const OBJModel& model) {
  std::uint32_t start = 0;
  return describe(model) + std::to_string(model.GetGroupVertexRange(1, start)) +
         model.GetFaceGroupName(kSide) + std::to_string(model.GetSmoothingGroupFaceCount(2)) +
         describe(*model.ExtractGroup(2));
}

}  // namespace

TEST(Threads, WorkOnTheirOwnModelsAndReadOneTogether) {
  const TempFolder folder;
  folder.write("m.mtl", "newmtl red\nKd 1 0 0\nnewmtl blue\nKd 0 0 1\n");
  const std::string path = folder.write("m.obj", sheet());
  OBJModel shared(true);
  ASSERT_TRUE(shared.read(path, false));
  ASSERT_TRUE(shared.LinkVertsToFaces());
  std::string results[3];
  const auto work = [&](int thread) {
    const std::string name = std::to_string(thread);
    OBJModel own(true);
    own.read(path, false);
    own.write(folder.path("whole" + name), true, nullptr);
    OBJModel again(true);
    again.read(folder.path("whole" + name), true);
    own.SwapVertices(again);
    shared.WriteGroup(folder.path("group" + name), 1, nullptr);
    results[thread] = marksBy(own) + answersOf(own) + marksBy(shared) + answersOf(shared) +
                      folder.read("whole" + name) + folder.read("group" + name);
  };
  std::thread first(work, 1);
  std::thread second(work, 2);
  first.join();
  second.join();
  work(0);
  EXPECT_EQ(results[1], results[0]);
  EXPECT_EQ(results[2], results[0]);
  EXPECT_TRUE(results[0].starts_with("4800 7200 ")) << results[0].substr(0, 40);
}
