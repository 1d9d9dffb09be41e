// What two threads may do at once: everything with models of their own, and questions to one that they share.
// The thread sanitizer tells what they may not (preset "thread").
#include <thread>

#include "TestSupport.h"
#include "plugin/CallLimits.h"
#include "plugin/Mesh3DUtils.h"
#include "plugin/PluginCall.h"

using namespace WavefrontOBJ;

namespace {

std::string marksBy(OBJModel& model) {
  host::HostMesh mesh(model._vertices->count, model._faces->count);
  auto* const record = static_cast<AMash3DDXF*>(mesh.record());
  std::string text = std::to_string(Mesh3D_MaskGroupFromOBJ(record, &model, 1, 7)) + " " +
                     std::to_string(Mesh3D_MaskSmoothingGroupFromOBJ(record, &model, 1, 9)) + " " +
                     std::to_string(Mesh3D_CreaseGroupsFromOBJ(record, &model, 0)) + " " +
                     std::to_string(Mesh3D_CreaseSmoothingGroupFromOBJ(record, &model, 0));
  for (std::uint32_t v = 0; v < mesh.vertexCount(); ++v) text += " " + std::to_string(mesh.mask(v));
  for (std::uint32_t f = 0; f < mesh.faceCount(); ++f) text += " " + std::to_string(mesh.creases(f));
  return text;
}

}  // namespace

TEST(Threads, WorkOnTheirOwnModelsAndReadOneTogether) {
  const TempFolder folder;
  folder.write("m.mtl", "newmtl red\nKd 1 0 0\nnewmtl blue\nKd 0 0 1\n");
  std::string text = "mtllib m.mtl\nv 0 0 0\nv 0 0 1\n";
  for (int i = 1; text.size() < 2U << 20; ++i) {
    // A ribbon in three groups and two smoothing groups.
    const auto corner = [i](int n) { return " " + std::to_string(2 * i + n) + "/" + std::to_string(i); };
    text += "v 0.1 0 " + std::to_string(i) + "\nv 1e-3 2 0\nvt 0.5 1\ng " + "abc"[i / 10 % 3] + "\ns " +
            "12"[i / 5 % 2] + "\nusemtl " + (i % 2 == 0 ? "red" : "blue") + "\nf" + corner(-1) + corner(0) +
            corner(2) + corner(1) + "\n";
  }
  const std::string path = folder.write("m.obj", text);
  OBJModel shared(true);
  ASSERT_TRUE(shared.read(path, false));
  ASSERT_TRUE(shared.LinkVertsToFaces());
  std::string results[3];
  const auto work = [&](int thread) {
    const std::string whole = "whole" + std::to_string(thread);
    const std::string group = "group" + std::to_string(thread);
    OBJModel own(true);
    own.read(path, false);
    own.write(folder.path(whole), true, nullptr);
    OBJModel again(true);
    again.read(folder.path(whole), true);
    own.SwapVertices(again);
    shared.WriteGroup(folder.path(group), 1, nullptr);
    std::uint32_t start = 0;
    results[thread] = marksBy(own) + describe(*own._vertices) + marksBy(shared) + describe(shared) +
                      std::to_string(shared.GetGroupVertexRange(1, start)) + shared.GetFaceGroupName(17) +
                      describe(*shared.ExtractGroup(2)) + folder.read(whole) + folder.read(group);
  };
  // Which have threads of their own read the file.
  KSmthGrpImpt_SetThreads(2);
  std::thread first(work, 1);
  std::thread second(work, 2);
  first.join();
  second.join();
  KSmthGrpImpt_SetThreads(1);
  work(0);
  KSmthGrpImpt_SetThreads(0);
  EXPECT_TRUE(results[1] == results[0] && results[2] == results[0]);
}
