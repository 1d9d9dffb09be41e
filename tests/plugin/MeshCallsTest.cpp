// The mesh calls on a host's records: what they answer, and what they leave alone.
#include <bit>
#include <cmath>

#include "TestSupport.h"
#include "plugin/Mesh3DUtils.h"
#include "plugin/PluginCall.h"

using namespace WavefrontOBJ;
using host::Array;
using host::HostMesh;

namespace {

/// A current model for one test: two quads side by side, groups "a" and "b", smoothing groups 1 and 2.
class TwoQuads : public testing::Test {
 protected:
  TwoQuads() {
    const TempFolder folder;
    gOBJModel = &model_;
    EXPECT_TRUE(model_.read(folder.write("m.obj",
                                         "v 0 0 0\nv 1 0 0\nv 2 0 0\nv 0 1 0\nv 1 1 0\nv 2 1 0\n"
                                         "g a\ns 1\nf 1 2 5 4\ng b\ns 2\nf 2 3 6 5\n"),
                            false));
  }
  ~TwoQuads() override { gOBJModel = nullptr; }

 private:
  OBJModel model_{true};
};

AMash3DDXF* recordOf(HostMesh& mesh) {
  return static_cast<AMash3DDXF*>(mesh.record());
}

}  // namespace

TEST(MeshCalls, TellWhetherAMeshIsLoaded) {
  // In the order in which they are asked; the last two are not.
  const Array arrays[] = {Array::kSubdivision, Array::kVertexAttributes, Array::kSecondAttributes,
                          Array::kPoints,      Array::kSecondPoints,     Array::kFaceAttributes,
                          Array::kGroupNames};
  const std::string subjects[] = {"Subdiv ", "Mesh attributes-", "Mesh attributes-", "Mesh point-",
                                  "Mesh point-"};
  EXPECT_TRUE(Mesh3D_IsLoaded(nullptr));
  for (const auto& [flags, offline, available] :
       {std::tuple<std::uint16_t, std::uint16_t, bool>{0xFFF7, 0, true},
        {8, 0, false},
        {0, 1, false},
        {0, 0xFFFF, false}}) {
    HostMesh mesh({{{0, 0, 0}}, {{0}}, {"x"}});
    EXPECT_TRUE(Mesh3D_IsLoaded(recordOf(mesh))) << "without some of the arrays";
    for (const Array array : {Array::kSubdivision, Array::kSecondAttributes, Array::kSecondPoints}) {
      mesh.addArray(array, 1, 8);
    }
    // From the last one on: each is told before those behind it.
    for (std::size_t i = std::size(arrays); i-- > 0;) {
      void* const block = mesh.blockRecord(arrays[i]);
      mesh.setHalf(block, host::block_offset::kStateFlags, flags);
      mesh.setHalf(block, host::block_offset::kOfflineCount, offline);
      const bool told = !available && i < std::size(subjects);
      EXPECT_EQ(Mesh3D_IsLoaded(recordOf(mesh)), !told);
      const std::string rest = "data is currently compressed or offline. Please reload and try again";
      EXPECT_EQ(gHostMessage, told ? subjects[i] + rest : "");
      gHostMessage.clear();
    }
    for (const Array array : arrays) mesh.setWord(mesh.arrayRecord(array), host::array_offset::kBlock, 0);
    EXPECT_TRUE(Mesh3D_IsLoaded(recordOf(mesh))) << "without blocks";
  }
}

TEST(MeshCalls, TellAndSetWhatTheMeshHas) {
  HostMesh mesh(3, 2, {"head", "", "left arm"});
  EXPECT_EQ(call(GetMesh3DInfo, mesh, "groupCount"), 3.0F);
  const auto expectName = [&mesh](const char* name, std::initializer_list<double> numbers) {
    for (const double number : numbers) {
      char block[256] = "none";
      const float answer = call(GetMesh3DInfo, mesh, "groupName", number, block);
      EXPECT_EQ(answer, std::string(name) == "none" ? -1.0F : 0.0F) << number;
      EXPECT_STREQ(block, name) << number;
    }
  };
  expectName("head", {0, -0.5});
  expectName("", {1});
  expectName("left arm", {2.9});
  expectName("none", {-1, 3, 1e300, std::nan("")});
  EXPECT_EQ(call(GetMesh3DInfo, mesh, "groupName", 0), -1.0F);
  mesh.setWord(mesh.arrayRecord(Array::kGroupNames), host::array_offset::kElementSize, UINT32_MAX - 3);
  expectName("head", {0});
  expectName("none", {1, 2});
  mesh.setWord(mesh.blockRecord(Array::kGroupNames), host::block_offset::kData, 0);
  expectName("none", {0});
  const char* keys[] = {"importScaleX",  "importScaleY",  "importScaleZ",
                        "importOffsetX", "importOffsetY", "importOffsetZ"};
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(call(SetMesh3DInfo, mesh, keys[i], static_cast<double>(i) + 0.1), 0.0F);
    const auto stored =
        std::bit_cast<float>(mesh.word(mesh.record(), host::mesh_offset::kImportScaleX + 4 * i));
    EXPECT_EQ(stored, static_cast<float>(static_cast<double>(i) + 0.1));
    EXPECT_EQ(call(GetMesh3DInfo, mesh, keys[i]), stored);
  }
  EXPECT_EQ(call(SetMesh3DInfo, mesh, keys[0], 1e300), 0.0F);
  EXPECT_TRUE(std::isinf(call(GetMesh3DInfo, mesh, keys[0])));
  for (const auto& [number, value] :
       {std::pair{300.0, 44}, {-1.0, 255}, {7.9, 7}, {-0.9, 0}, {1e300, 255}, {-1e300, 0}}) {
    EXPECT_EQ(call(SetMesh3DInfo, mesh, "maskValue", number), 0.0F);
    EXPECT_EQ(sDefaultMaskValue, value) << number;
  }
  for (const char* key : {"", "maskValue", "groupCount ", "smoothAll"}) {
    EXPECT_EQ(call(GetMesh3DInfo, mesh, key), -1.0F);
  }
  EXPECT_EQ(call(SetMesh3DInfo, mesh, "groupCount"), -1.0F);
}

TEST_F(TwoQuads, AreMarkedWhereTheMeshCanServe) {
  constexpr Array kVertices = Array::kVertexAttributes;
  constexpr Array kFaces = Array::kFaceAttributes;
  constexpr auto kArray = &HostMesh::arrayRecord;
  constexpr auto kBlock = &HostMesh::blockRecord;
  // Each row spoils one word of a record; the calls then answer so, and write nothing.
  const struct {
    const char* what;
    Array array;
    void* (HostMesh::*record)(Array) const;
    std::size_t offset;
    std::uint32_t value;
    float mask, crease, smoothAll;
  } rows[] = {
      {"nothing", kFaces, kArray, 92, 4, 4, 1, 2},
      {"no vertex attributes", kVertices, nullptr, 112, 0, -3, -3, 2},
      {"no vertex block", kVertices, kArray, 40, 0, -1, 1, 2},
      {"no vertex data", kVertices, kBlock, 40, 0, -1, 1, 2},
      {"fewer vertices", kVertices, kArray, 44, 5, -3, -3, 2},
      {"negative vertices", kVertices, kArray, 44, 0x80000000, -3, -3, 2},
      {"no face attributes", kFaces, nullptr, 532, 0, 4, -1, -1},
      {"no face block", kFaces, kArray, 40, 0, 4, -1, -1},
      {"no face data", kFaces, kBlock, 40, 0, 4, -1, -1},
      {"eight bytes a face", kFaces, kArray, 92, 8, 4, -1, -1},
      {"one face", kFaces, kArray, 44, 1, 4, -1, 1},
      {"three faces", kFaces, kArray, 44, 3, 4, -1, 3},
      {"negative faces", kFaces, kArray, 44, 0xFFFFFFFE, 4, -1, -2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    for (const auto apply : {&SetMesh3DFromOBJGroup, &SetMesh3DFromOBJSmoothGroup}) {
      HostMesh mesh(6, 3);
      mesh.setWord(mesh.arrayRecord(kFaces), host::array_offset::kCount, 2);
      call(SetMesh3DInfo, mesh, "maskValue", 0xEE);
      mesh.setWord(row.record != nullptr ? (mesh.*row.record)(row.array) : mesh.record(), row.offset,
                   row.value);
      EXPECT_EQ(call(apply, mesh, "mask", 2.9), row.mask);
      for (std::uint32_t v = 0; v < 6; ++v) EXPECT_EQ(mesh.mask(v), row.mask > 0 && v % 3 > 0 ? 0xEE : 0);
      EXPECT_EQ(call(apply, mesh, "crease", 1), row.crease);
      EXPECT_EQ(mesh.creases(0), row.crease == 1 ? 0x0C : 0);
      EXPECT_EQ(mesh.creases(1), 0);
      EXPECT_EQ(call(SetMesh3DInfo, mesh, "smoothAll"), row.smoothAll);
      EXPECT_EQ(mesh.creases(0), 0);
      EXPECT_TRUE(mesh.onlyMarksChanged());
    }
  }
  HostMesh mesh(6, 2);
  char block[8];
  EXPECT_EQ(call(GetMesh3DInfo, mesh, "groupCount"), -1.0F);
  EXPECT_EQ(call(GetMesh3DInfo, mesh, "groupName", 0, block), -1.0F);
  EXPECT_EQ(call(SetMesh3DFromOBJGroup, mesh, "Mask", 1), -1.0F);
  void* noMesh[5] = {};
  for (const auto function : {&GetMesh3DInfo, &SetMesh3DInfo, &SetMesh3DFromOBJGroup}) {
    EXPECT_EQ(call(function, nullptr, 1, nullptr, mesh.hostData()), -1.0F);
    for (const char* key : {"mask", "maskValue"}) {
      EXPECT_EQ(call(function, key, 1), -1.0F);
      EXPECT_EQ(call(function, key, 1, nullptr, noMesh), -1.0F);
    }
  }
}

// What the calls see to before.
TEST_F(TwoQuads, AreRefusedByTheFunctionsThemselves) {
  HostMesh mesh(5, 2);
  AMash3DDXF* const record = recordOf(mesh);
  EXPECT_EQ(Mesh3D_MaskGroupFromOBJ(record, gOBJModel, 1, 9), 3) << "vertices that the mesh does not have";
  EXPECT_EQ(mesh.mask(4), 9);
  mesh.setWord(mesh.arrayRecord(Array::kVertexAttributes), host::array_offset::kCount, UINT32_MAX);
  EXPECT_EQ(Mesh3D_MaskGroupFromOBJ(record, gOBJModel, 1, 9), 0);
  for (const auto& [badRecord, badModel, group] : {std::tuple{record, static_cast<OBJModel*>(nullptr), 0U},
                                                   {nullptr, gOBJModel, 0U},
                                                   {record, gOBJModel, 2U}}) {
    EXPECT_EQ(Mesh3D_MaskGroupFromOBJ(badRecord, badModel, group, 1), -1);
    EXPECT_EQ(Mesh3D_MaskSmoothingGroupFromOBJ(badRecord, badModel, group, 1), -1);
    EXPECT_EQ(Mesh3D_CreaseGroupsFromOBJ(badRecord, badModel, group), -1);
    EXPECT_EQ(Mesh3D_CreaseSmoothingGroupFromOBJ(badRecord, badModel, group), -1);
  }
  EXPECT_EQ(Mesh3D_ClearAllCreasing(nullptr), -1);
  EXPECT_EQ(Mesh3D_GetVertexAttribCount(nullptr), 0);
  gOBJModel = nullptr;
  EXPECT_EQ(call(SetMesh3DFromOBJGroup, mesh, "mask", 1), -1.0F);
  EXPECT_EQ(call(SetMesh3DFromOBJSmoothGroup, mesh, "mask", 1), -1.0F);
  EXPECT_TRUE(mesh.onlyMarksChanged());
}
