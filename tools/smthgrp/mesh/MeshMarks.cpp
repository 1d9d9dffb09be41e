#include "smthgrp/mesh/MeshMarks.h"

#include <algorithm>

namespace smthgrp {

std::vector<CreasedEdge> creasedEdges(const host::HostMesh& mesh, const host::MeshDescription& description) {
  constexpr std::uint32_t kEdgesWithBits = 4;
  constexpr std::uint32_t kFull = 3;
  std::vector<CreasedEdge> edges;
  for (std::uint32_t i = 0; i < mesh.faceCount(); ++i) {
    const std::vector<std::uint32_t>& corners = description.faces[i];
    const auto count = static_cast<std::uint32_t>(corners.size());
    for (std::uint32_t k = 0; k < std::min(count, kEdgesWithBits); ++k) {
      const std::uint32_t bits = mesh.creases(i) >> 2 * k & kFull;
      const auto [first, last] = std::minmax({corners[k], corners[(k + 1) % count]});
      // The only edge of a face of one corner is a point.
      if (bits != 0 && first != last) edges.push_back({{first, last}, static_cast<float>(bits) / kFull});
    }
  }
  std::sort(edges.begin(), edges.end(), [](const CreasedEdge& a, const CreasedEdge& b) {
    return a.vertices != b.vertices ? a.vertices < b.vertices : a.crease > b.crease;
  });
  const auto sameEdge = [](const CreasedEdge& a, const CreasedEdge& b) { return a.vertices == b.vertices; };
  edges.erase(std::unique(edges.begin(), edges.end(), sameEdge), edges.end());
  return edges;
}

std::uint64_t maskedVertices(const host::HostMesh& mesh) {
  std::uint64_t count = 0;
  for (std::uint32_t i = 0; i < mesh.vertexCount(); ++i) count += mesh.mask(i) != 0 ? 1 : 0;
  return count;
}

MasksAside::MasksAside(host::HostMesh& mesh, std::uint8_t value)
    : mesh_(mesh), value_(value), before_(mesh.vertexCount()) {
  const auto other = static_cast<std::uint8_t>(~value);
  for (std::uint32_t i = 0; i < mesh.vertexCount(); ++i) {
    before_[i] = mesh.mask(i);
    mesh.setMask(i, other);
  }
}

MasksAside::~MasksAside() {
  for (std::uint32_t i = 0; i < mesh_.vertexCount(); ++i) {
    if (mesh_.mask(i) != value_) mesh_.setMask(i, before_[i]);
  }
}

std::uint64_t MasksAside::written() const {
  std::uint64_t count = 0;
  for (std::uint32_t i = 0; i < mesh_.vertexCount(); ++i) count += mesh_.mask(i) == value_ ? 1 : 0;
  return count;
}

CreasesAside::CreasesAside(host::HostMesh& mesh) : mesh_(mesh), before_(mesh.faceCount()) {
  for (std::uint32_t i = 0; i < mesh.faceCount(); ++i) {
    before_[i] = mesh.creases(i);
    mesh.setCreases(i, 0);
  }
}

CreasesAside::~CreasesAside() {
  for (std::uint32_t i = 0; i < mesh_.faceCount(); ++i) {
    mesh_.setCreases(i, static_cast<std::uint8_t>(mesh_.creases(i) | before_[i]));
  }
}

}  // namespace smthgrp
