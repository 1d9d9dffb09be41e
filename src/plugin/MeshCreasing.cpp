#include <algorithm>
#include <new>
#include <unordered_map>
#include <utility>

#include "plugin/FaceSet.h"
#include "plugin/Mesh3DUtils.h"

using WavefrontOBJ::OBJFace;
using WavefrontOBJ::OBJFaceView;
using WavefrontOBJ::OBJLinks;
using WavefrontOBJ::OBJModel;

namespace {

constexpr std::size_t kElementSize = 4;
constexpr std::size_t kCreaseByte = 2;

/// The crease bytes of a mesh's faces; null where the mesh has none that can be written.
unsigned char* creaseElements(const AMash3DDXF* mesh) {
  if (mesh == nullptr || !mesh->faceAttributes || !mesh->faceAttributes->block) return nullptr;
  if (mesh->faceAttributes->elementSize != kElementSize) return nullptr;
  return mesh->faceAttributes->elements();
}

/// Creases the edges between a set of faces and the others, face by face of the set.
class BorderCrease {
 public:
  /// The model has its links. All three must outlive this.
  BorderCrease(const OBJModel& model, const FaceSet& members, unsigned char* elements)
      : model_(model), members_(members), elements_(elements) {}

  void add(std::uint32_t index, const OBJFaceView& face) {
    Corner corners[OBJFace::kMaxVertexCount];
    bool anyBorder = false;
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      anyBorder |= lookAt(face.vertexIndex[i], corners[i]);
    }
    if (!anyBorder) return;
    std::uint32_t bits = 0;
    for (std::uint32_t k = 0; k < face.vertexCount; ++k) {
      const Corner& a = corners[k];
      const Corner& b = corners[k + 1 < face.vertexCount ? k + 1 : 0];
      if (!a.atBorder || !b.atBorder) continue;
      const std::uint32_t neighbours = outsideNeighbours(a, b);
      pairs_ += neighbours;
      // Host faces have four sides at most: further edges count and have no bits.
      if (neighbours != 0 && k < 4) bits |= 3U << 2 * k;
    }
    if (bits != 0) elements_[index * kElementSize + kCreaseByte] |= static_cast<unsigned char>(bits);
  }

  /// Pairs of an edge and a face outside that shares it.
  std::int32_t pairs() const { return static_cast<std::int32_t>(pairs_); }

 private:
  struct Corner {
    std::uint32_t vertex;
    const OBJLinks* links;  ///< null for a vertex that the model does not have
    bool atBorder;          ///< false if no face outside the set uses the vertex
  };

  /// Fills in the corner and answers its `atBorder`. In place: a corner written field by field and then
  /// copied as a whole would wait for its own stores.
  bool lookAt(std::uint32_t vertex, Corner& corner) const {
    corner.vertex = vertex;
    corner.links = nullptr;
    bool atBorder = false;
    if (vertex < model_._links->count) {
      const OBJLinks& links = std::as_const(*model_._links)[vertex];
      corner.links = &links;
      // A pole's list is not searched for each of its faces.
      atBorder = links.next != nullptr;
      for (std::uint32_t i = 0; i < links.count; ++i) atBorder |= members_.lacks(links.faces[i]);
    }
    corner.atBorder = atBorder;
    return atBorder;
  }

  /// Number of entries in a's list that are outside the set and also in b's list. The shorter list is walked;
  /// the faces themselves tell whether they are in the other.
  std::uint32_t outsideNeighbours(const Corner& a, const Corner& b) {
    const OBJLinks* aNode = a.links;
    const OBJLinks* bNode = b.links;
    if (aNode->next != nullptr && bNode->next != nullptr) return neighboursOfPoles(a, b);
    return aNode->next == nullptr ? walkFirst(a, b) : walkSecond(a, b);
  }

  /// The same where both lists are long. What is found is kept: the result is the same for every face that
  /// has this edge, and all of them may have it.
  std::uint32_t neighboursOfPoles(const Corner& a, const Corner& b) {
    const std::uint64_t edge = std::uint64_t{a.vertex} << 32 | b.vertex;
    const auto known = poleEdges_.find(edge);
    if (known != poleEdges_.end()) return known->second;
    const OBJLinks* aNode = a.links;
    const OBJLinks* bNode = b.links;
    while (aNode->next != nullptr && bNode->next != nullptr) {
      aNode = aNode->next;
      bNode = bNode->next;
    }
    const std::uint32_t neighbours = aNode->next == nullptr ? walkFirst(a, b) : walkSecond(a, b);
    try {
      poleEdges_.emplace(edge, neighbours);
    } catch (const std::bad_alloc&) {
      // Then it is counted again.
    }
    return neighbours;
  }

  std::uint32_t walkFirst(const Corner& a, const Corner& b) const {
    std::uint32_t neighbours = 0;
    forEachOutside(a.links, [&](std::uint32_t face) { neighbours += uses(face, b.vertex) != 0 ? 1 : 0; });
    return neighbours;
  }

  std::uint32_t walkSecond(const Corner& a, const Corner& b) const {
    std::uint32_t neighbours = 0;
    std::uint32_t last = UINT32_MAX;
    forEachOutside(b.links, [&](std::uint32_t face) {
      // A face that has b twice is in its list twice, one entry behind the other, and is one neighbour.
      if (face != last) neighbours += uses(face, a.vertex);
      last = face;
    });
    return neighbours;
  }

  template <class Visitor>
  void forEachOutside(const OBJLinks* links, Visitor visit) const {
    for (; links != nullptr; links = links->next) {
      for (std::uint32_t i = 0; i < links->count; ++i) {
        if (members_.lacks(links->faces[i])) visit(links->faces[i]);
      }
    }
  }

  /// Corners of the face that are this vertex.
  std::uint32_t uses(std::uint32_t index, std::uint32_t vertex) const {
    const OBJFaceView face = model_._faces->view(index);
    std::uint32_t corners = 0;
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) corners += face.vertexIndex[i] == vertex ? 1 : 0;
    return corners;
  }

  const OBJModel& model_;
  const FaceSet& members_;
  unsigned char* elements_;
  std::uint32_t pairs_ = 0;
  std::unordered_map<std::uint64_t, std::uint32_t> poleEdges_;
};

/// The face elements of a mesh that belongs to the model, which then has its links; null otherwise.
unsigned char* creaseTarget(const AMash3DDXF* mesh, OBJModel& model) {
  unsigned char* elements = creaseElements(mesh);
  if (elements == nullptr) return nullptr;
  const std::int64_t modelFaces = model._faces->count;
  if (mesh->faceAttributes->count != modelFaces || !model.LinkVertsToFaces()) return nullptr;
  return elements;
}

}  // namespace

std::int32_t Mesh3D_ClearAllCreasing(AMash3DDXF* mesh) {
  unsigned char* elements = creaseElements(mesh);
  if (elements == nullptr) return -1;
  const std::int32_t count = mesh->faceAttributes->count;
  for (std::int64_t i = 0; i < count; ++i) elements[i * kElementSize + kCreaseByte] = 0;
  return count;
}

std::int32_t Mesh3D_CreaseGroupsFromOBJ(AMash3DDXF* mesh, OBJModel* model, std::uint32_t groupIndex) {
  if (model == nullptr || groupIndex >= model->_groupNames.size()) return -1;
  unsigned char* elements = creaseTarget(mesh, *model);
  if (elements == nullptr) return -1;
  const auto& list = model->getGroupElements(model->_groupNames[groupIndex]);
  FaceSet members(model->_faces->count);
  for (const std::uint32_t face : list) members.add(face);
  BorderCrease border(*model, members, elements);
  for (const std::uint32_t face : list) border.add(face, model->_faces->view(face));
  return border.pairs();
}

std::int32_t Mesh3D_CreaseSmoothingGroupFromOBJ(AMash3DDXF* mesh, OBJModel* model,
                                                std::uint32_t smoothIndex) {
  if (model == nullptr || smoothIndex >= model->_smoothingGroupCount) return -1;
  unsigned char* elements = creaseTarget(mesh, *model);
  if (elements == nullptr) return -1;
  const std::uint32_t number = model->_smoothingGroups[smoothIndex];
  FaceSet members(model->_faces->count);
  model->_faces->forEachFace([&](std::uint32_t index, const OBJFaceView& face) {
    if (face.smoothingGroup == number) members.add(index);
  });
  BorderCrease border(*model, members, elements);
  model->_faces->forEachFace([&](std::uint32_t index, const OBJFaceView& face) {
    if (face.smoothingGroup == number) border.add(index, face);
  });
  return border.pairs();
}
