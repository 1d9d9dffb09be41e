#include "document/Borders.h"

#include <algorithm>
#include <unordered_map>

#include "document/ElementRows.h"
#include "document/IndexSet.h"

namespace WavefrontOBJ {
namespace {

IndexSet setOfVertices(const OBJDocument& document, std::span<const std::uint32_t> faces) {
  IndexSet set(document.vectorCount(VectorKind::position));
  for (const std::uint32_t face : faces) {
    for (const std::int32_t vertex : document.faces().vertices(face))
      set.add(static_cast<std::uint32_t>(vertex));
  }
  return set;
}

/// Calls `visit(face, corner, next corner)` for all corners of all faces.
template <class Visit>
void forEachCorner(const ElementTable& faces, Visit visit) {
  for (std::uint32_t face = 0; face < faces.size(); ++face) {
    const std::uint32_t begin = faces.begin(face);
    const std::uint32_t end = faces.begin(face + 1);
    for (std::uint32_t corner = begin; corner < end; ++corner) {
      visit(face, corner, corner + 1 < end ? corner + 1 : begin);
    }
  }
}

/// Brings `order`, or all corners where it is empty, into the order of `key(corner)`, which is below `keys`;
/// what has the same one stays in its order.
template <class Key>
void sortBy(std::vector<std::uint32_t>& order, std::uint32_t corners, std::size_t keys, Key key) {
  std::vector<std::uint32_t> begins(keys + 1);
  for (std::uint32_t c = 0; c < corners; ++c) ++begins[static_cast<std::size_t>(key(c)) + 1];
  for (std::size_t i = 1; i < begins.size(); ++i) begins[i] += begins[i - 1];
  std::vector<std::uint32_t> sorted(corners);
  for (std::uint32_t i = 0; i < corners; ++i) {
    const std::uint32_t c = order.empty() ? i : order[i];
    sorted[begins[static_cast<std::size_t>(key(c))]++] = c;
  }
  order = std::move(sorted);
}

Border borderFrom(const FaceEdges& edges, const IndexSet& chosen, std::vector<std::uint32_t> corners) {
  Border border;
  border.edges.reserve(chosen.size());
  chosen.forEach([&](std::uint32_t edge) { border.edges.push_back(edges.vertices(edge)); });
  border.corners = std::move(corners);
  return border;
}

}  // namespace

std::vector<std::int32_t> verticesOf(const OBJDocument& document, std::span<const std::uint32_t> faces) {
  const IndexSet set = setOfVertices(document, faces);
  std::vector<std::int32_t> vertices;
  vertices.reserve(set.size());
  set.forEach([&](std::uint32_t vertex) { vertices.push_back(static_cast<std::int32_t>(vertex)); });
  return vertices;
}

std::vector<std::uint8_t> maskOf(const OBJDocument& document, std::span<const std::uint32_t> faces,
                                 std::uint8_t value) {
  std::vector<std::uint8_t> mask(document.vectorCount(VectorKind::position));
  for (const std::uint32_t face : faces) {
    for (const std::int32_t vertex : document.faces().vertices(face))
      mask[static_cast<std::size_t>(vertex)] = value;
  }
  return mask;
}

FaceEdges::FaceEdges(const OBJDocument& document) : document_(document) {
  const ElementTable& faces = document.faces();
  const std::uint32_t corners = faces.cornerTotal();
  const std::span<const std::int32_t> vertices = faces.vertexColumn();
  // The other end of each corner's edge; for a while in the room of the edges themselves.
  edgeOfCorner_.resize(corners);
  forEachCorner(faces, [&](std::uint32_t, std::uint32_t corner, std::uint32_t next) {
    edgeOfCorner_[corner] = static_cast<std::uint32_t>(vertices[next]);
  });
  const auto ends = [&](std::uint32_t corner) {
    const std::int32_t one = vertices[corner];
    const auto other = static_cast<std::int32_t>(edgeOfCorner_[corner]);
    return std::array<std::int32_t, 2>{std::min(one, other), std::max(one, other)};
  };
  const std::size_t vertexCount = document.vectorCount(VectorKind::position);
  std::vector<std::uint32_t> order;
  sortBy(order, corners, vertexCount, [&](std::uint32_t corner) { return ends(corner)[1]; });
  sortBy(order, corners, vertexCount, [&](std::uint32_t corner) { return ends(corner)[0]; });
  std::vector<std::uint32_t> edgeOfCorner(corners, kNoEdge);
  for (const std::uint32_t corner : order) {
    const std::array<std::int32_t, 2> pair = ends(corner);
    if (pair[0] == pair[1]) continue;
    if (vertices_.empty() || vertices_.back() != pair) {
      vertices_.push_back(pair);
      begins_.push_back(0);
    }
    ++begins_.back();
    edgeOfCorner[corner] = size() - 1;
  }
  edgeOfCorner_ = std::move(edgeOfCorner);
  // From counts to where each edge's faces begin; walking through the faces backwards fills them from the
  // last.
  begins_.push_back(0);
  for (std::size_t i = 1; i < begins_.size(); ++i) begins_[i] += begins_[i - 1];
  faces_.resize(begins_.back());
  for (std::uint32_t face = faces.size(); face-- > 0;) {
    for (std::uint32_t corner = faces.begin(face + 1); corner-- > faces.begin(face);) {
      if (edgeOfCorner_[corner] != kNoEdge) faces_[--begins_[edgeOfCorner_[corner]]] = face;
    }
  }
}

Border borderOf(const FaceEdges& edges, std::span<const std::uint32_t> faces, bool open) {
  constexpr std::size_t kManyFaces = 8;
  const ElementTable& table = edges.document().faces();
  IndexSet members(table.size());
  for (const std::uint32_t face : faces) members.add(face);
  IndexSet chosen(edges.size());
  std::vector<std::uint32_t> corners;
  // All faces of the list may share one edge, whose faces are looked through once.
  std::unordered_map<std::uint32_t, bool> known;
  const auto endsHere = [&](std::span<const std::uint32_t> users) {
    return (open && users.size() == 1) || std::any_of(users.begin(), users.end(), [&](std::uint32_t face) {
             return !members.contains(face);
           });
  };
  members.forEach([&](std::uint32_t face) {
    for (std::uint32_t corner = table.begin(face); corner < table.begin(face + 1); ++corner) {
      const std::uint32_t edge = edges.edgeFrom(corner);
      if (edge == FaceEdges::kNoEdge) continue;
      const std::span<const std::uint32_t> users = edges.faces(edge);
      bool border = false;
      if (users.size() < kManyFaces) {
        border = endsHere(users);
      } else {
        const auto [entry, isNew] = known.try_emplace(edge, false);
        if (isNew) entry->second = endsHere(users);
        border = entry->second;
      }
      if (!border) continue;
      chosen.add(edge);
      corners.push_back(corner);
    }
  });
  return borderFrom(edges, chosen, std::move(corners));
}

Border smoothingBorders(const FaceEdges& edges) {
  const std::vector<std::uint64_t> numbers = smoothingOfElements(edges.document(), ElementKind::face);
  IndexSet chosen(edges.size());
  for (std::uint32_t edge = 0; edge < edges.size(); ++edge) {
    const std::span<const std::uint32_t> users = edges.faces(edge);
    const bool border = std::any_of(users.begin() + 1, users.end(), [&](std::uint32_t face) {
      return numbers[face] != numbers[users.front()];
    });
    if (border) chosen.add(edge);
  }
  std::vector<std::uint32_t> corners;
  const std::uint32_t total = edges.document().faces().cornerTotal();
  for (std::uint32_t corner = 0; corner < total; ++corner) {
    const std::uint32_t edge = edges.edgeFrom(corner);
    if (edge != FaceEdges::kNoEdge && chosen.contains(edge)) corners.push_back(corner);
  }
  return borderFrom(edges, chosen, std::move(corners));
}

}  // namespace WavefrontOBJ
