// The mesh calls on a host's records: what they answer, and what they leave alone.
#include <sys/mman.h>

#include <functional>
#include <limits>
#include <vector>

#include "TestSupport.h"
#include "host/HostMesh.h"
#include "plugin/KOBJRev01.h"
#include "plugin/Mesh3DUtils.h"

using namespace WavefrontOBJ;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Call = decltype(&Version);

float call(Call function, host::HostMesh& mesh, const char* key, double number = 0, char* block1 = nullptr) {
  return function(key, number, block1, 0, 0, 0, mesh.hostData());
}

/// A current model for one test: two quads side by side, groups "a" and "b", smoothing groups 1 and 2.
class TwoQuads {
 public:
  TwoQuads() {
    const TempFolder folder;
    gOBJModel = &model_;
    EXPECT_TRUE(model_.read(folder.write("m.obj",
                                         "v 0 0 0\nv 1 0 0\nv 2 0 0\nv 0 1 0\nv 1 1 0\nv 2 1 0\n"
                                         "g a\ns 1\nf 1 2 5 4\ng b\ns 2\nf 2 3 6 5\n"),
                            false));
  }
  ~TwoQuads() { gOBJModel = nullptr; }

 private:
  OBJModel model_{true};
};

}  // namespace

// The records as plain bytes, at the offsets that the host has.
TEST(MeshCalls, ReadAndWriteRecordsByTheirBytes) {
  constexpr std::size_t kArea = 1 << 16;
  void* area = mmap(nullptr, kArea, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(area, MAP_FAILED);
  auto* bytes = static_cast<unsigned char*>(area);
  const auto put = [bytes](std::size_t offset, auto value) {
    std::memcpy(bytes + offset, &value, sizeof value);
  };
  const auto field = [bytes](std::size_t offset) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(bytes + offset));
  };
  // Mesh at 0, vertex attributes' array, block and data at 1024, 1536 and 2048, those of the faces 4096 on.
  for (const std::size_t at : {1024, 4096}) {
    put(at + 40, field(at + 512));
    put(at + 512 + 40, field(at + 1024));
  }
  put(112, field(1024));
  put(532, field(4096));
  put(1024 + 44, std::int32_t{6});
  put(4096 + 44, std::int32_t{2});
  put(4096 + 92, std::int32_t{4});
  put(592, 2.5F);

  const TwoQuads model;
  void* hostData[5] = {nullptr, nullptr, nullptr, nullptr, bytes};
  EXPECT_EQ(GetMesh3DInfo("importScaleZ", 0, nullptr, 0, 0, 0, hostData), 2.5F);
  EXPECT_EQ(SetMesh3DInfo("maskValue", 0xEE, nullptr, 0, 0, 0, hostData), 0.0F);
  EXPECT_EQ(SetMesh3DFromOBJGroup("mask", 2, nullptr, 0, 0, 0, hostData), 4.0F);
  EXPECT_EQ(SetMesh3DFromOBJGroup("crease", 2, nullptr, 0, 0, 0, hostData), 1.0F);
  std::vector<unsigned char> vertices(48);
  for (const int v : {1, 2, 4, 5}) vertices[v * 8 + 2] = 0xEE;
  EXPECT_EQ(std::memcmp(bytes + 2048, vertices.data(), vertices.size()), 0);
  // The second quad's last edge is the one that both have.
  EXPECT_EQ(std::memcmp(bytes + 5120, "\0\0\0\0\0\0\xC0\0", 8), 0);
  munmap(area, kArea);
}

TEST(MeshCalls, TellWhetherAMeshIsLoaded) {
  using host::Array;
  const struct {
    Array array;
    bool asked;
  } rows[] = {{Array::kSubdivision, true}, {Array::kVertexAttributes, true}, {Array::kSecondAttributes, true},
              {Array::kPoints, true},      {Array::kSecondPoints, true},     {Array::kFaceAttributes, false},
              {Array::kGroupNames, false}};
  for (const auto& [array, asked] : rows) {
    SCOPED_TRACE(static_cast<int>(array));
    host::HostMesh mesh({{{0, 0, 0}}, {{0}}, {"x"}});
    auto* record = static_cast<AMash3DDXF*>(mesh.record());
    EXPECT_TRUE(Mesh3D_IsLoaded(record));
    if (mesh.arrayRecord(array) == nullptr) mesh.addArray(array, 1, 8);
    const auto loadedWith = [&](std::uint16_t flags, std::uint16_t offline) {
      mesh.setHalf(mesh.blockRecord(array), host::block_offset::kStateFlags, flags);
      mesh.setHalf(mesh.blockRecord(array), host::block_offset::kOfflineCount, offline);
      return Mesh3D_IsLoaded(record);
    };
    EXPECT_TRUE(loadedWith(0xFFF7, 0));
    EXPECT_EQ(loadedWith(0x0008, 0), !asked);
    EXPECT_EQ(loadedWith(0, 1), !asked);
    EXPECT_EQ(loadedWith(0, 0xFFFF), !asked);
    mesh.setWord(mesh.arrayRecord(array), host::array_offset::kBlock, 0);
    EXPECT_TRUE(Mesh3D_IsLoaded(record));
  }
}

TEST(MeshCalls, TellAndSetWhatTheMeshHas) {
  host::HostMesh mesh(3, 2, {"head", "", "left arm"});
  EXPECT_EQ(call(GetMesh3DInfo, mesh, "groupCount"), 3.0F);
  const struct {
    double index;
    const char* name;  // null for -1
  } names[] = {{0, "head"},
               {1, ""},
               {2, "left arm"},
               {2.9, "left arm"},
               {-0.5, "head"},
               {-1, nullptr},
               {3, nullptr},
               {1e300, nullptr},
               {-1e300, nullptr},
               {kNaN, nullptr},
               {4294967296.0, nullptr},
               {kInfinity, nullptr}};
  for (const auto& [index, name] : names) {
    SCOPED_TRACE(index);
    char block[256] = "untouched";
    EXPECT_EQ(call(GetMesh3DInfo, mesh, "groupName", index, block), name != nullptr ? 0.0F : -1.0F);
    EXPECT_STREQ(block, name != nullptr ? name : "untouched");
  }
  EXPECT_EQ(call(GetMesh3DInfo, mesh, "groupName", 0, nullptr), -1.0F);

  const char* keys[] = {"importScaleX",  "importScaleY",  "importScaleZ",
                        "importOffsetX", "importOffsetY", "importOffsetZ"};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(call(SetMesh3DInfo, mesh, keys[i], i + 0.1), 0.0F);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(call(GetMesh3DInfo, mesh, keys[i]), static_cast<float>(i + 0.1));
    float stored = 0;
    std::memcpy(&stored, static_cast<char*>(mesh.record()) + 584 + 4 * i, sizeof stored);
    EXPECT_EQ(stored, static_cast<float>(i + 0.1));
  }
  EXPECT_EQ(call(SetMesh3DInfo, mesh, keys[0], 1e300), 0.0F);
  EXPECT_EQ(call(GetMesh3DInfo, mesh, keys[0]), std::numeric_limits<float>::infinity());

  const struct {
    double number;
    int value;
  } masks[] = {{300, 44},    {-1, 255},   {7.9, 7},  {-0.9, 0},          {256, 0},
               {1e300, 255}, {-1e300, 0}, {kNaN, 0}, {2147483648.0, 255}};
  for (const auto& [number, value] : masks) {
    EXPECT_EQ(call(SetMesh3DInfo, mesh, "maskValue", number), 0.0F);
    EXPECT_EQ(sDefaultMaskValue, value) << number;
  }
  for (const char* key : {"", "groupcount", "maskValue", "groupCount ", "smoothAll"}) {
    EXPECT_EQ(call(GetMesh3DInfo, mesh, key), -1.0F) << key;
  }
  EXPECT_EQ(call(SetMesh3DInfo, mesh, "groupCount"), -1.0F);
}

TEST(MeshCalls, RefuseWhatTheyCannotServe) {
  const TwoQuads model;
  // Each row spoils one thing; the calls then answer so, and write nothing.
  using Mesh = host::HostMesh;
  using host::Array;
  const auto point = [](Array array, void* (Mesh::*record)(Array) const, std::size_t offset,
                        std::uint32_t value) {
    return [=](Mesh& mesh) { mesh.setWord((mesh.*record)(array), offset, value); };
  };
  constexpr Array kVertices = Array::kVertexAttributes;
  constexpr Array kFaces = Array::kFaceAttributes;
  const struct {
    const char* what;
    std::function<void(Mesh&)> spoil;
    float mask;
    float crease;
    float smoothAll;
  } rows[] = {
      {"nothing", [](Mesh&) {}, 4, 1, 2},
      {"no mesh", [](Mesh& mesh) { mesh.hostData()[4] = nullptr; }, -1, -1, -1},
      {"no vertex attributes", [](Mesh& mesh) { mesh.setArray(kVertices, nullptr); }, -3, -3, 2},
      {"no vertex block", point(kVertices, &Mesh::arrayRecord, 40, 0), -1, 1, 2},
      {"no vertex data", point(kVertices, &Mesh::blockRecord, 40, 0), -1, 1, 2},
      {"fewer vertices", point(kVertices, &Mesh::arrayRecord, 44, 5), -3, -3, 2},
      {"negative vertices", point(kVertices, &Mesh::arrayRecord, 44, 0x80000000), -3, -3, 2},
      {"no face attributes", [](Mesh& mesh) { mesh.setArray(kFaces, nullptr); }, 4, -1, -1},
      {"no face block", point(kFaces, &Mesh::arrayRecord, 40, 0), 4, -1, -1},
      {"no face data", point(kFaces, &Mesh::blockRecord, 40, 0), 4, -1, -1},
      {"eight bytes a face", point(kFaces, &Mesh::arrayRecord, 92, 8), 4, -1, -1},
      {"one face", point(kFaces, &Mesh::arrayRecord, 44, 1), 4, -1, 1},
      {"negative faces", point(kFaces, &Mesh::arrayRecord, 44, 0xFFFFFFFE), 4, -1, -2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    for (const Call apply : {&SetMesh3DFromOBJGroup, &SetMesh3DFromOBJSmoothGroup}) {
      Mesh mesh(6, 2, {"x"});
      call(SetMesh3DInfo, mesh, "maskValue", 0xEE);
      row.spoil(mesh);
      EXPECT_EQ(call(apply, mesh, "mask", 2), row.mask);
      for (std::uint32_t v = 0; v < 6; ++v) {
        const bool masked = row.mask > 0 && v % 3 > 0;
        EXPECT_EQ(mesh.mask(v), masked ? 0xEE : 0) << v;
      }
      EXPECT_EQ(call(apply, mesh, "crease", 1), row.crease);
      EXPECT_EQ(mesh.creases(0), row.crease == 1 ? 0x0C : 0);
      EXPECT_EQ(mesh.creases(1), 0);
      EXPECT_EQ(call(SetMesh3DInfo, mesh, "smoothAll"), row.smoothAll);
      EXPECT_TRUE(mesh.onlyMarksChanged());
    }
  }
  Mesh mesh(6, 2);
  EXPECT_EQ(call(SetMesh3DInfo, mesh, "maskValue", 0xEE), 0.0F);
  EXPECT_EQ(call(GetMesh3DInfo, mesh, "groupCount"), -1.0F);
  char block[8] = "";
  EXPECT_EQ(call(GetMesh3DInfo, mesh, "groupName", 0, block), -1.0F);
  for (const Call function : {&GetMesh3DInfo, &SetMesh3DInfo, &SetMesh3DFromOBJGroup}) {
    EXPECT_EQ(call(function, mesh, nullptr, 1), -1.0F);
    EXPECT_EQ(function("mask", 1, nullptr, 0, 0, 0, nullptr), -1.0F);
  }
  Mesh other(7, 2);
  for (const Call apply : {&SetMesh3DFromOBJGroup, &SetMesh3DFromOBJSmoothGroup}) {
    for (const double number : {0.0, -1.0, 3.0, 1e300, -1e300, kNaN, kInfinity, 4294967297.0}) {
      EXPECT_EQ(call(apply, mesh, "mask", number), -1.0F) << number;
      EXPECT_EQ(call(apply, other, "mask", number), -1.0F) << number;
    }
    // In range, and then the index of no group.
    for (const char* key : {"mask", "crease"}) {
      EXPECT_EQ(call(apply, mesh, key, 0.5), -1.0F);
      EXPECT_EQ(call(apply, other, key, 0.5), -3.0F);
    }
    EXPECT_EQ(call(apply, mesh, "Mask", 1), -1.0F);
    EXPECT_EQ(call(apply, mesh, "mask", 2.9), 4.0F);
  }
  for (std::uint32_t v = 0; v < 7; ++v) EXPECT_EQ(other.mask(v), 0);
}

TEST(MeshCalls, WriteNothingWithoutAModel) {
  host::HostMesh mesh(6, 2);
  call(SetMesh3DInfo, mesh, "maskValue", 0xEE);
  for (const Call apply : {&SetMesh3DFromOBJGroup, &SetMesh3DFromOBJSmoothGroup}) {
    EXPECT_EQ(call(apply, mesh, "mask", 1), -1.0F);
  }
  EXPECT_EQ(Mesh3D_MaskGroupFromOBJ(static_cast<AMash3D*>(mesh.record()), nullptr, 0, 1), -1);
  EXPECT_EQ(Mesh3D_CreaseSmoothingGroupFromOBJ(static_cast<AMash3DDXF*>(mesh.record()), nullptr, 0), -1);
  EXPECT_EQ(Mesh3D_GetVertexAttribCount(nullptr), 0);
  for (std::uint32_t v = 0; v < 6; ++v) EXPECT_EQ(mesh.mask(v), 0);
  EXPECT_TRUE(mesh.onlyMarksChanged());
}

// A mesh that has fewer vertices than the model, which the calls refuse: the others are passed over.
TEST(MeshCalls, MaskPassesOverVerticesThatTheMeshDoesNotHave) {
  const TwoQuads model;
  host::HostMesh mesh(5, 2);
  EXPECT_EQ(Mesh3D_MaskGroupFromOBJ(static_cast<AMash3D*>(mesh.record()), gOBJModel, 1, 9), 3);
  EXPECT_EQ(mesh.mask(4), 9);
  mesh.setWord(mesh.arrayRecord(host::Array::kVertexAttributes), host::array_offset::kCount, 0xFFFFFFFF);
  EXPECT_EQ(Mesh3D_MaskGroupFromOBJ(static_cast<AMash3D*>(mesh.record()), gOBJModel, 1, 9), 0);
  EXPECT_TRUE(mesh.onlyMarksChanged());
}
