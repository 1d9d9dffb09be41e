#include "smthgrp/mesh/LongFaces.h"

#include <algorithm>

namespace smthgrp {
namespace {

using Corners = std::vector<std::uint32_t>;

constexpr std::size_t kEdgesWithBits = 4;

std::uint64_t edgeKey(std::uint32_t a, std::uint32_t b) {
  return std::uint64_t{std::min(a, b)} << 32 | std::max(a, b);
}

/// Calls `visit` with the ends of each edge beyond the fourth.
template <class Visitor>
void forEachEdgeWithoutBits(const Corners& face, Visitor visit) {
  for (std::size_t k = kEdgesWithBits; k < face.size(); ++k) visit(face[k], face[(k + 1) % face.size()]);
}

}  // namespace

LongFaces::LongFaces(const host::MeshDescription& mesh) : mesh_(mesh), inPart_(mesh.faces.size()) {
  std::vector<bool> isEnd(mesh.vertices.size());
  for (const Corners& face : mesh.faces) {
    forEachEdgeWithoutBits(face, [&](std::uint32_t a, std::uint32_t b) {
      if (a >= isEnd.size() || b >= isEnd.size()) return;
      isEnd[a] = isEnd[b] = true;
      edges_.try_emplace(edgeKey(a, b));
    });
  }
  if (edges_.empty()) return;
  Corners ends;
  for (std::uint32_t i = 0; i < mesh.faces.size(); ++i) {
    ends.clear();
    for (const std::uint32_t vertex : mesh.faces[i]) {
      if (vertex < isEnd.size() && isEnd[vertex]) ends.push_back(vertex);
    }
    for (std::size_t a = 0; a < ends.size(); ++a) {
      for (std::size_t b = a + 1; b < ends.size(); ++b) {
        const auto found = edges_.find(edgeKey(ends[a], ends[b]));
        if (found != edges_.end()) found->second.users.push_back(i);
      }
    }
  }
}

void LongFaces::addCreased(const std::vector<std::uint32_t>& members) {
  if (edges_.empty()) return;
  ++groups_;
  std::vector<bool> isMember(mesh_.faces.size());
  for (const std::uint32_t face : members) isMember[face] = true;
  for (const std::uint32_t face : members) {
    forEachEdgeWithoutBits(mesh_.faces[face], [&](std::uint32_t a, std::uint32_t b) {
      const auto found = edges_.find(edgeKey(a, b));
      if (found == edges_.end()) return;
      Edge& edge = found->second;
      // Many faces may have the edge; its users are looked through once.
      if (edge.group != groups_) {
        edge.group = groups_;
        edge.border = std::any_of(edge.users.begin(), edge.users.end(),
                                  [&](std::uint32_t user) { return !isMember[user]; });
      }
      if (edge.border) inPart_[face] = true;
    });
  }
}

std::size_t LongFaces::creasedInPart() const {
  return static_cast<std::size_t>(std::count(inPart_.begin(), inPart_.end(), true));
}

}  // namespace smthgrp
