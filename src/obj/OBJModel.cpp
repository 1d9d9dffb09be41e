#include "obj/OBJModel.h"

#include <algorithm>
#include <new>
#include <unordered_map>
#include <utility>

#include "obj/internal/OBJFaceGeometry.h"

namespace WavefrontOBJ {
namespace {

constexpr std::uint32_t kSmallBlock = 4000;
constexpr std::uint32_t kLargeBlock = 16000;

}  // namespace

OBJModel::OBJModel(bool small)
    : _vertices(std::make_unique<OBJVectorArray>(small ? kSmallBlock : kLargeBlock)),
      _normals(std::make_unique<OBJVectorArray>(small ? kSmallBlock : kLargeBlock)),
      _textureCoords(std::make_unique<OBJVectorArray>(2 * (small ? kSmallBlock : kLargeBlock))),
      _faces(std::make_unique<OBJFaceArray>(small ? kSmallBlock : kLargeBlock)) {}

OBJModel::~OBJModel() {
  _faces.reset();
  _normals.reset();
  _textureCoords.reset();
  _vertices.reset();
  _links.reset();
}

void OBJModel::addFace(OBJFace& face) {
  face.ComputeNormalAndCenter(*_vertices);
  if (_faces->push_back(face)) fileLastFace(face.materialIndex);
}

bool OBJModel::appendFace(const OBJFaceView& face, bool inPlace) {
  const OBJFaceGeometry geometry = faceGeometry(face, *_vertices);
  if (inPlace) {
    _faces->commitCorners(face, geometry);
  } else if (!_faces->push_back(face, geometry)) {
    return false;
  }
  fileLastFace(face.materialIndex);
  return true;
}

bool OBJModel::appendFace(const OBJFaceView& face, const OBJPlacedCorners& corners) {
  if (!_faces->push_back(face, faceGeometry(face, *_vertices), corners)) return false;
  fileLastFace(face.materialIndex);
  return true;
}

void OBJModel::fileLastFace(std::int32_t materialIndex) {
  // -1, for none, is past every list.
  const auto list = static_cast<std::uint32_t>(materialIndex);
  if (list < _materialFaces.size()) _materialFaces[list].addFace(_faces->count - 1);
}

// Both make room first, so that no failed allocation leaves one half of a pair behind.

void OBJModel::addMaterial(const OBJMaterial& material) {
  if (_materialFaces.size() == _materialFaces.capacity())
    _materialFaces.reserve(2 * _materialFaces.size() + 1);
  _materials.push_back(material);
  _materialFaces.emplace_back();
}

OBJElementList& OBJModel::groupList(const std::string& name) {
  const auto found = _groups.find(name);
  if (found != _groups.end()) return found->second;
  if (_groupNames.size() == _groupNames.capacity()) _groupNames.reserve(2 * _groupNames.size() + 1);
  std::string listed(name);
  OBJElementList& list = _groups[name];
  _groupNames.push_back(std::move(listed));
  return list;
}

void OBJModel::addFaceToGroup(const std::string& name, std::uint32_t faceIndex) {
  groupList(name).addFace(faceIndex);
}

std::int32_t OBJModel::getMaterialIndex(std::string name) const {
  const auto found = std::find_if(_materials.begin(), _materials.end(),
                                  [&name](const OBJMaterial& material) { return material.name == name; });
  return found == _materials.end() ? -1 : static_cast<std::int32_t>(found - _materials.begin());
}

OBJMaterial& OBJModel::getMaterial(std::string name) {
  const std::int32_t index = getMaterialIndex(std::move(name));
  return _materials.at(index == -1 ? _materials.size() : static_cast<std::size_t>(index));
}

bool OBJModel::LinkVertsToFaces() try {
  if (_links != nullptr) return true;
  auto links = std::make_unique<OBJLinkArray>(_vertices->blockSize);
  if (!links->reserve(_vertices->count)) return false;
  // The last node of each chain that has overflowed: appending to a vertex that hundreds of thousands of
  // faces share must not walk its chain every time.
  std::unordered_map<std::uint32_t, OBJLinks*> lastNodes;
  _faces->forEachFace([&](std::uint32_t index, const OBJFaceView& face) {
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      const std::uint32_t vertex = face.vertexIndex[i];
      if (vertex >= links->count) continue;
      OBJLinks* node = &(*links)[vertex];
      if (node->next != nullptr) node = lastNodes[vertex];
      node->push_back(index);
      if (node->next != nullptr) lastNodes[vertex] = node->next;
    }
  });
  _links = std::move(links);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

std::int32_t OBJModel::GetVertToFaceCount(std::uint32_t vertex) const {
  if (_links == nullptr || vertex >= _links->count) return -1;
  return static_cast<std::int32_t>(std::as_const(*_links)[vertex].size());
}

std::uint32_t OBJModel::GetFaceForVertexIndex(std::uint32_t vertex, std::int32_t i) const {
  if (_links == nullptr || vertex >= _links->count || i < 0) return 0;
  return std::as_const(*_links)[vertex][static_cast<std::uint32_t>(i)];
}

}  // namespace WavefrontOBJ
