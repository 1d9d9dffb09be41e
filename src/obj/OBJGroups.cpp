#include <algorithm>
#include <utility>

#include "obj/OBJFaceGroups.h"
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

OBJFaceGroups::OBJFaceGroups(const OBJModel& model) {
  const std::uint32_t faceCount = model._faces->count;
  const auto forEachEntry = [&](auto visit) {
    for (std::uint32_t group = 0; group < model._groupNames.size(); ++group) {
      for (const std::uint32_t face : model._groups.at(model._groupNames[group])) {
        if (face < faceCount) visit(face, group);
      }
    }
  };
  // A counting sort by face. Each face's groups come out in the order of the names.
  begin_.assign(std::size_t{faceCount} + 2, 0);
  forEachEntry([&](std::uint32_t face, std::uint32_t) { ++begin_[face + 2]; });
  for (std::size_t i = 2; i < begin_.size(); ++i) begin_[i] += begin_[i - 1];
  groups_.resize(begin_.back());
  forEachEntry([&](std::uint32_t face, std::uint32_t group) { groups_[begin_[face + 1]++] = group; });
  begin_.pop_back();
}

std::uint32_t OBJFaceGroups::first(std::uint32_t face) const {
  return begin_[face] == begin_[face + 1] ? kNone : groups_[begin_[face]];
}

bool OBJFaceGroups::contains(std::uint32_t face, std::uint32_t group) const {
  const std::uint32_t* const groups = groups_.data();
  return std::binary_search(groups + begin_[face], groups + begin_[face + 1], group);
}

std::uint32_t OBJModel::GetGroupVertexRange(std::uint32_t group, std::uint32_t& start) const {
  start = _vertices != nullptr ? _vertices->count : 0;
  if (start == 0 || group >= _groupNames.size()) return 0;
  VertexRange range{start};
  for (const std::uint32_t face : _groups.at(_groupNames[group])) range.add(_faces->view(face));
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

std::unique_ptr<OBJModel> OBJModel::ExtractGroup(std::uint32_t group) const {
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
    std::uint32_t vertices[OBJFace::kMaxVertexCount];
    OBJFaceView face = _faces->view(index);
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) vertices[i] = face.vertexIndex[i] - start;
    face.vertexIndex = OBJCornerIndices(vertices);
    // Switched off, not removed: the indices stay in the faces. So do the material indices, for which the new
    // model has no materials and hence no face lists.
    face.hasTexture = false;
    face.hasNormal = false;
    if (!extracted->_faces->push_back(face, faceGeometry(face, *extracted->_vertices))) return nullptr;
    extracted->addFaceToGroup(name, added++);
  }
  return extracted;
}

}  // namespace WavefrontOBJ
