#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "plugin/FaceSet.h"
#include "plugin/Mesh3DUtils.h"
#include "plugin/ModelMarks.h"

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

/// Finds the edges between a set of faces and the others, face by face of the set.
class BorderCrease {
 public:
  /// The model has its links. Both must outlive this.
  BorderCrease(const OBJModel& model, const FaceSet& members) : model_(model), members_(members) {}

  /// Throws std::bad_alloc.
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
    if (bits != 0) found_.push_back({index, static_cast<unsigned char>(bits)});
  }

  /// Creases what was found. Answers the pairs of an edge and a face outside that shares it.
  std::int32_t writeTo(const MarkBytes& faces) const {
    for (const Found& face : found_) faces[face.index] |= face.bits;
    return static_cast<std::int32_t>(pairs_);
  }

 private:
  struct Corner {
    std::uint32_t vertex;
    const OBJLinks* links;  ///< unset for a vertex that the model does not have, which is at no border
    bool atBorder;          ///< false if no face outside the set uses the vertex

    /// True for a list of more than one node.
    bool isPole() const { return links->next != nullptr; }
  };

  struct Found {
    std::uint32_t index;
    unsigned char bits;
  };

  /// Fills in the corner and answers its `atBorder`. In place: a corner written field by field and then
  /// copied as a whole would wait for its own stores.
  bool lookAt(std::uint32_t vertex, Corner& corner) const {
    corner.vertex = vertex;
    bool atBorder = false;
    if (vertex < model_._links->count) {
      const OBJLinks& links = std::as_const(*model_._links)[vertex];
      corner.links = &links;
      if (links.next != nullptr) {
        // A pole's list is not searched for each of its faces.
        atBorder = true;
      } else {
        for (std::uint32_t i = 0; i < links.count; ++i) atBorder |= members_.lacks(links.faces[i]);
      }
    }
    corner.atBorder = atBorder;
    return atBorder;
  }

  /// Number of entries in a's list that are outside the set and also in b's list. The lists tell, not the
  /// faces, which may have other vertices by now.
  std::uint32_t outsideNeighbours(const Corner& a, const Corner& b) {
    if (!a.isPole()) return walk(a, b, true);
    if (!b.isPole()) return walk(b, a, false);
    // The result is the same for every face that has this edge, and all of them may have it.
    const auto [known, isNew] = poleEdges_.try_emplace(std::uint64_t{a.vertex} << 32 | b.vertex, 0);
    if (!isNew) return known->second;
    const OBJLinks* aNode = a.links;
    const OBJLinks* bNode = b.links;
    while (aNode->next != nullptr && bNode->next != nullptr) {
      aNode = aNode->next;
      bNode = bNode->next;
    }
    return known->second = aNode->next == nullptr ? walk(a, b, true) : walk(b, a, false);
  }

  /// The same by going through the list that is not the longer one.
  std::uint32_t walk(const Corner& shorter, const Corner& longer, bool shorterIsA) {
    std::uint32_t neighbours = 0;
    std::uint32_t last = UINT32_MAX;
    for (const OBJLinks* node = shorter.links; node != nullptr; node = node->next) {
      for (std::uint32_t i = 0; i < node->count; ++i) {
        const std::uint32_t face = node->faces[i];
        if (!members_.lacks(face)) continue;
        // A face that has a vertex twice is twice in its list, one entry behind the other. Each entry of a
        // counts, if b has the face at all.
        if (shorterIsA) {
          neighbours += entries(longer, face) != 0 ? 1 : 0;
        } else if (face != last) {
          neighbours += entries(longer, face);
        }
        last = face;
      }
    }
    return neighbours;
  }

  static std::uint32_t entries(const OBJLinks& node, std::uint32_t face) {
    std::uint32_t count = 0;
    for (std::uint32_t i = 0; i < node.count; ++i) count += node.faces[i] == face ? 1 : 0;
    return count;
  }

  /// How often the face is in the corner's list.
  std::uint32_t entries(const Corner& corner, std::uint32_t face) {
    if (!corner.isPole()) return entries(*corner.links, face);
    // Lists are in face order. The nodes of a pole's are kept as far as they were asked for.
    std::vector<const OBJLinks*>& nodes = poles_[corner.vertex];
    if (nodes.empty()) nodes.push_back(corner.links);
    const auto endsBefore = [face](const OBJLinks* node) { return node->faces[node->count - 1] < face; };
    while (endsBefore(nodes.back()) && nodes.back()->next != nullptr) nodes.push_back(nodes.back()->next);
    // Faces come in order, mostly.
    const bool isLast = nodes.size() == 1 || endsBefore(nodes[nodes.size() - 2]);
    const OBJLinks* node =
        isLast ? nodes.back() : *std::partition_point(nodes.begin(), nodes.end() - 1, endsBefore);
    std::uint32_t count = 0;
    for (; node != nullptr && node->faces[0] <= face; node = node->next) count += entries(*node, face);
    return count;
  }

  const OBJModel& model_;
  const FaceSet& members_;
  std::vector<Found> found_;
  std::uint32_t pairs_ = 0;
  std::unordered_map<std::uint32_t, std::vector<const OBJLinks*>> poles_;
  std::unordered_map<std::uint64_t, std::uint32_t> poleEdges_;
};

/// The crease bytes of a mesh that belongs to the model; nothing otherwise.
std::optional<MarkBytes> creaseTarget(const AMash3DDXF* mesh, const OBJModel& model) {
  unsigned char* elements = creaseElements(mesh);
  const std::int64_t modelFaces = model._faces->count;
  if (elements == nullptr || mesh->faceAttributes->count != modelFaces) return std::nullopt;
  return MarkBytes{elements + kCreaseByte, kElementSize, model._faces->count};
}

std::int32_t crease(const AMash3DDXF* mesh, OBJModel& model, const MarkedGroup& group) {
  const auto faces = creaseTarget(mesh, model);
  return faces ? creaseGroup(*faces, model, group).value_or(-1) : -1;
}

}  // namespace

std::int32_t Mesh3D_ClearAllCreasing(AMash3DDXF* mesh) {
  unsigned char* elements = creaseElements(mesh);
  if (elements == nullptr) return -1;
  const std::int32_t count = mesh->faceAttributes->count;
  for (std::int64_t i = 0; i < count; ++i) elements[i * kElementSize + kCreaseByte] = 0;
  return count;
}

std::optional<std::int32_t> creaseGroup(const MarkBytes& faces, OBJModel& model, const MarkedGroup& group) {
  if (!model.LinkVertsToFaces()) return std::nullopt;
  FaceSet members(model._faces->count);
  BorderCrease border(model, members);
  if (group.smoothing) {
    const std::uint32_t number = model._smoothingGroups[group.index];
    model._faces->forEachFace([&](std::uint32_t index, const OBJFaceView& face) {
      if (face.smoothingGroup == number) members.add(index);
    });
    model._faces->forEachFace([&](std::uint32_t index, const OBJFaceView& face) {
      if (face.smoothingGroup == number) border.add(index, face);
    });
  } else {
    const auto& list = model.getGroupElements(model._groupNames[group.index]);
    for (const std::uint32_t face : list) members.add(face);
    model._faces->forEachFaceOf(list,
                                [&](std::uint32_t face, const OBJFaceView& view) { border.add(face, view); });
  }
  return border.writeTo(faces);
}

std::int32_t Mesh3D_CreaseGroupsFromOBJ(AMash3DDXF* mesh, OBJModel* model, std::uint32_t groupIndex) {
  if (model == nullptr || groupIndex >= model->_groupNames.size()) return -1;
  return crease(mesh, *model, {groupIndex, false});
}

std::int32_t Mesh3D_CreaseSmoothingGroupFromOBJ(AMash3DDXF* mesh, OBJModel* model,
                                                std::uint32_t smoothIndex) {
  if (model == nullptr || smoothIndex >= model->_smoothingGroupCount) return -1;
  return crease(mesh, *model, {smoothIndex, true});
}
