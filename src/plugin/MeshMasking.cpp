#include "plugin/Mesh3DUtils.h"

using WavefrontOBJ::OBJFaceView;
using WavefrontOBJ::OBJModel;

namespace {

/// Writes one mask value to vertices and counts the writes.
class VertexMask {
 public:
  /// Of a mesh without vertex attributes there is no mask, see `operator bool`.
  VertexMask(AMash3D* mesh, unsigned char value) : value_(value) {
    if (mesh == nullptr || !mesh->vertexAttributes) return;
    elements_ = mesh->vertexAttributes->elements();
    const std::int32_t count = mesh->vertexAttributes->count;
    vertexCount_ = count > 0 ? static_cast<std::uint32_t>(count) : 0;
  }
  explicit operator bool() const { return elements_ != nullptr; }

  void add(const OBJFaceView& face) {
    constexpr std::size_t kElementSize = 8;
    constexpr std::size_t kMaskByte = 2;
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      const std::uint32_t vertex = face.vertexIndex[i];
      if (vertex >= vertexCount_) continue;
      elements_[vertex * kElementSize + kMaskByte] = value_;
      ++writes_;
    }
  }
  std::int32_t writes() const { return static_cast<std::int32_t>(writes_); }

 private:
  unsigned char* elements_ = nullptr;
  std::uint32_t vertexCount_ = 0;
  std::uint32_t writes_ = 0;
  unsigned char value_;
};

}  // namespace

std::int32_t Mesh3D_MaskGroupFromOBJ(AMash3D* mesh, OBJModel* model, std::uint32_t groupIndex,
                                     unsigned char maskValue) {
  VertexMask mask(mesh, maskValue);
  if (model == nullptr || groupIndex >= model->_groupNames.size() || !mask) return -1;
  for (const std::uint32_t face : model->getGroupElements(model->_groupNames[groupIndex])) {
    mask.add(model->_faces->view(face));
  }
  return mask.writes();
}

std::int32_t Mesh3D_MaskSmoothingGroupFromOBJ(AMash3D* mesh, OBJModel* model, std::uint32_t smoothIndex,
                                              unsigned char maskValue) {
  VertexMask mask(mesh, maskValue);
  if (model == nullptr || smoothIndex >= model->_smoothingGroupCount || !mask) return -1;
  const std::uint32_t number = model->_smoothingGroups[smoothIndex];
  model->_faces->forEachFace([&](std::uint32_t, const OBJFaceView& face) {
    if (face.smoothingGroup == number) mask.add(face);
  });
  return mask.writes();
}
