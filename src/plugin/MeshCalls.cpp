#include <cstring>
#include <string_view>

#include "obj/OBJModel.h"
#include "plugin/CallSupport.h"
#include "plugin/HostNumber.h"
#include "plugin/KOBJRev01.h"
#include "plugin/Mesh3DUtils.h"

using WavefrontOBJ::OBJModel;

namespace {

/// The mesh in the host's table; null without either.
AMash3DDXF* meshOf(void* hostData) {
  constexpr std::size_t kMeshEntry = 4;
  return hostData != nullptr ? static_cast<AMash3DDXF**>(hostData)[kMeshEntry] : nullptr;
}

/// The field of the mesh that `key` names; null for any other key.
float* importField(AMash3DDXF& mesh, std::string_view key) {
  if (key == "importScaleX") return &mesh.importScaleX;
  if (key == "importScaleY") return &mesh.importScaleY;
  if (key == "importScaleZ") return &mesh.importScaleZ;
  if (key == "importOffsetX") return &mesh.importOffsetX;
  if (key == "importOffsetY") return &mesh.importOffsetY;
  if (key == "importOffsetZ") return &mesh.importOffsetZ;
  return nullptr;
}

/// Name `index`, from 0, of the mesh's groups; null where there is none.
const char* groupName(const AMash3DDXF& mesh, std::int32_t index) {
  const AMemArray* names = mesh.groupNames.get();
  if (names == nullptr || index < 0 || index >= names->count) return nullptr;
  const unsigned char* elements = names->elements();
  // Only the first element of a negative size lies within the data.
  if (elements == nullptr || (index > 0 && names->elementSize < 0)) return nullptr;
  const auto offset = static_cast<std::size_t>(index) * static_cast<std::size_t>(names->elementSize);
  return reinterpret_cast<const char*>(elements + offset);
}

/// What the two calls on groups have in common: `mask` and `crease` get the mesh and the index from 0 of a
/// group that `number`, from 1, addresses among `groupCount`.
template <class Mask, class Crease>
float applyGroup(const char* text, double number, char* block1, std::size_t groupCount, void* hostData,
                 Mask mask, Crease crease) {
  const std::uint32_t n = indexFromNumber(number);
  if (text == nullptr || !(number > 0.0) || n > groupCount) return -1.0F;
  const std::string_view key = text;
  AMash3DDXF* mesh = meshOf(hostData);
  if (mesh == nullptr || (key != "mask" && key != "crease")) return -1.0F;
  // A mesh of another vertex count is not the one that the model's file was imported as.
  const std::int64_t vertices = gOBJModel->_vertices->count;
  if (vertices != Mesh3D_GetVertexAttribCount(mesh)) return -3.0F;
  // A number in (0, 1) wraps round to an index that no table has, and fails in there.
  return guarded(block1,
                 [&] { return static_cast<float>(key == "mask" ? mask(mesh, n - 1) : crease(mesh, n - 1)); });
}

}  // namespace

KSMTH_CALL(GetMesh3DInfo) {
  AMash3DDXF* mesh = meshOf(hostData);
  if (mesh == nullptr || text == nullptr) return -1.0F;
  const std::string_view key = text;
  if (key == "groupCount") {
    const AMemArray* names = mesh->groupNames.get();
    return names != nullptr ? static_cast<float>(names->count) : -1.0F;
  }
  if (key == "groupName") {
    // From 0, unlike every index of the OBJ calls: fixed by the host's contract.
    const char* name = groupName(*mesh, integerFromNumber(number));
    if (name == nullptr || block1 == nullptr) return -1.0F;
    answer(block1, name);
    return 0.0F;
  }
  const float* field = importField(*mesh, key);
  return field != nullptr ? *field : -1.0F;
}

KSMTH_CALL(SetMesh3DInfo) {
  AMash3DDXF* mesh = meshOf(hostData);
  // The mask value needs no mesh, and fails without one all the same: fixed by the host's contract.
  if (mesh == nullptr || text == nullptr) return -1.0F;
  const std::string_view key = text;
  if (key == "maskValue") {
    sDefaultMaskValue = static_cast<std::uint8_t>(static_cast<std::uint32_t>(integerFromNumber(number)));
    return 0.0F;
  }
  if (key == "smoothAll") return static_cast<float>(Mesh3D_ClearAllCreasing(mesh));
  float* field = importField(*mesh, key);
  if (field == nullptr) return -1.0F;
  *field = singleFromNumber(number);
  return 0.0F;
}

KSMTH_CALL(SetMesh3DFromOBJGroup) {
  OBJModel* model = gOBJModel;
  if (model == nullptr) return -1.0F;
  return applyGroup(
      text, number, block1, model->_groupNames.size(), hostData,
      [model](AMash3DDXF* mesh, std::uint32_t group) {
        return Mesh3D_MaskGroupFromOBJ(mesh, model, group, sDefaultMaskValue);
      },
      [model](AMash3DDXF* mesh, std::uint32_t group) {
        return Mesh3D_CreaseGroupsFromOBJ(mesh, model, group);
      });
}

KSMTH_CALL(SetMesh3DFromOBJSmoothGroup) {
  OBJModel* model = gOBJModel;
  if (model == nullptr) return -1.0F;
  return applyGroup(
      text, number, block1, model->_smoothingGroupCount, hostData,
      [model](AMash3DDXF* mesh, std::uint32_t group) {
        return Mesh3D_MaskSmoothingGroupFromOBJ(mesh, model, group, sDefaultMaskValue);
      },
      [model](AMash3DDXF* mesh, std::uint32_t group) {
        return Mesh3D_CreaseSmoothingGroupFromOBJ(mesh, model, group);
      });
}
