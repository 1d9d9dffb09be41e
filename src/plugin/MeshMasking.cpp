#include "plugin/Mesh3DUtils.h"
#include "plugin/ModelMarks.h"

using WavefrontOBJ::OBJFaceView;
using WavefrontOBJ::OBJModel;

namespace {

constexpr std::size_t kElementSize = 8;

/// The mask bytes of a mesh's vertices; without a first one where the mesh has none.
MarkBytes maskBytes(const AMash3D* mesh) {
  constexpr std::size_t kMaskByte = 2;
  if (mesh == nullptr || !mesh->vertexAttributes) return {nullptr, kElementSize, 0};
  unsigned char* const elements = mesh->vertexAttributes->elements();
  const std::int32_t count = mesh->vertexAttributes->count;
  return {elements != nullptr ? elements + kMaskByte : nullptr, kElementSize,
          count > 0 ? static_cast<std::uint32_t>(count) : 0};
}

/// `kStride`: that of the bytes where it is known beforehand, 0 where it is not.
template <std::size_t kStride>
std::int32_t maskWith(const MarkBytes& vertices, const OBJModel& model, const MarkedGroup& group,
                      unsigned char value) {
  std::uint32_t writes = 0;
  // By value: a byte that is written may be anything's, as far as the compiler knows.
  const auto mask = [first = vertices.first, stride = kStride != 0 ? kStride : vertices.stride,
                     limit = vertices.count, value, &writes](const OBJFaceView& face) {
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      const std::uint32_t vertex = face.vertexIndex[i];
      if (vertex >= limit) continue;
      first[vertex * stride] = value;
      ++writes;
    }
  };
  if (group.smoothing) {
    const std::uint32_t number = model._smoothingGroups[group.index];
    model._faces->forEachFace([&](std::uint32_t, const OBJFaceView& face) {
      if (face.smoothingGroup == number) mask(face);
    });
  } else {
    model._faces->forEachFaceOf(model.getGroupElements(model._groupNames[group.index]),
                                [&](std::uint32_t, const OBJFaceView& face) { mask(face); });
  }
  return static_cast<std::int32_t>(writes);
}

}  // namespace

std::int32_t maskGroup(const MarkBytes& vertices, const OBJModel& model, const MarkedGroup& group,
                       unsigned char value) {
  return vertices.stride == kElementSize ? maskWith<kElementSize>(vertices, model, group, value)
                                         : maskWith<0>(vertices, model, group, value);
}

std::int32_t Mesh3D_MaskGroupFromOBJ(AMash3D* mesh, OBJModel* model, std::uint32_t groupIndex,
                                     unsigned char maskValue) {
  const MarkBytes vertices = maskBytes(mesh);
  if (model == nullptr || groupIndex >= model->_groupNames.size() || vertices.first == nullptr) return -1;
  return maskGroup(vertices, *model, {groupIndex, false}, maskValue);
}

std::int32_t Mesh3D_MaskSmoothingGroupFromOBJ(AMash3D* mesh, OBJModel* model, std::uint32_t smoothIndex,
                                              unsigned char maskValue) {
  const MarkBytes vertices = maskBytes(mesh);
  if (model == nullptr || smoothIndex >= model->_smoothingGroupCount || vertices.first == nullptr) return -1;
  return maskGroup(vertices, *model, {smoothIndex, true}, maskValue);
}
