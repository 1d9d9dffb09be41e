#include <algorithm>
#include <new>
#include <utility>

#include "obj/OBJModel.h"

namespace WavefrontOBJ {
namespace {

/// Smallest and largest vertex index of the faces seen.
struct VertexRange {
  std::uint32_t smallest;
  std::uint32_t largest = 0;

  void add(const OBJFaceView& face) {
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      smallest = std::min(smallest, face.vertexIndex[i]);
      largest = std::max(largest, face.vertexIndex[i]);
    }
  }
  /// Faces that touch a single vertex have nothing to hand over: 0.
  std::uint32_t count() const { return smallest >= largest ? 0 : largest - smallest + 1; }
};

}  // namespace

std::uint32_t OBJModel::GetGroupVertexRange(std::uint32_t group, std::uint32_t& start) const {
  start = _vertices != nullptr ? _vertices->count : 0;
  if (start == 0 || group >= _groupNames.size()) return 0;
  VertexRange range{start};
  _faces->forEachFaceOf(_groups.at(_groupNames[group]),
                        [&](std::uint32_t, const OBJFaceView& face) { range.add(face); });
  start = range.smallest;
  return range.count();
}

std::uint32_t OBJModel::GetSmoothingGroupVertexRange(std::uint32_t number, std::uint32_t& start) const {
  VertexRange range{_vertices != nullptr ? _vertices->count : 0};
  _faces->forEachFace([&](std::uint32_t, const OBJFaceView& face) {
    if (face.smoothingGroup == number) range.add(face);
  });
  start = range.smallest;
  return range.count();
}

std::uint32_t OBJModel::GetSmoothingGroupFaceCount(std::uint32_t number) const {
  std::uint32_t faces = 0;
  _faces->forEachFace(
      [&](std::uint32_t, const OBJFaceView& face) { faces += face.smoothingGroup == number ? 1 : 0; });
  return faces;
}

bool OBJModel::IsFaceInGroup(std::uint32_t face, const std::string& name) {
  const OBJElementList& list = _groups[name];
  return std::find(list.begin(), list.end(), face) != list.end();
}

std::string OBJModel::GetFaceGroupName(std::uint32_t face) const {
  for (const std::string& name : _groupNames) {
    const OBJElementList& list = _groups.at(name);
    if (std::find(list.begin(), list.end(), face) != list.end()) return name;
  }
  return "default";
}

const OBJElementList& OBJModel::getGroupElements(std::string name) const {
  const auto found = _groups.find(name);
  if (found == _groups.end()) throw std::string("Out of bounds");
  return found->second;
}

std::unique_ptr<OBJModel> OBJModel::ExtractGroup(std::uint32_t group) const try {
  std::uint32_t start = 0;
  const std::uint32_t count = GetGroupVertexRange(group, start);
  if (count == 0) return nullptr;
  auto extracted = std::make_unique<OBJModel>(count < 64001);
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!extracted->_vertices->push_back(_vertices->elementOrZero(start + i))) return nullptr;
  }
  const std::string& name = _groupNames[group];
  std::uint32_t added = 0;
  for (const std::uint32_t index : _groups.at(name)) {
    OBJFace face = std::as_const(*_faces)[index];
    const std::uint32_t corners = std::min(face.vertexCount, OBJFace::kMaxVertexCount);
    for (std::uint32_t i = 0; i < corners; ++i) face.vertexIndex[i] -= start;
    // Switched off, not removed: the indices stay in the faces. So do the material indices, for which the new
    // model has no materials and hence no face lists.
    face.hasTexture = 0;
    face.hasNormal = 0;
    extracted->addFace(face);
    if (extracted->_faces->count != added + 1) return nullptr;
    extracted->addFaceToGroup(name, added++);
  }
  return extracted;
} catch (const std::bad_alloc&) {
  return nullptr;
}

}  // namespace WavefrontOBJ
