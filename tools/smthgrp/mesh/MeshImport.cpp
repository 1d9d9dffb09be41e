#include "smthgrp/mesh/MeshImport.h"

#include <unordered_map>
#include <utility>

namespace smthgrp {

using WavefrontOBJ::OBJFaceView;
using WavefrontOBJ::OBJModel;

host::MeshDescription importMesh(const OBJModel& model) {
  host::MeshDescription mesh;
  const WavefrontOBJ::OBJVectorArray& vertices = *model._vertices;
  mesh.vertices.reserve(vertices.count);
  for (std::uint32_t i = 0; i < vertices.count; ++i) {
    const WavefrontOBJ::OBJVector& v = vertices.blocks[i / vertices.blockSize][i % vertices.blockSize];
    mesh.vertices.push_back({v.x, v.y, v.z});
  }
  mesh.faces.reserve(model._faces->count);
  model._faces->forEachFace([&](std::uint32_t /*index*/, const OBJFaceView& face) {
    std::vector<std::uint32_t>& corners = mesh.faces.emplace_back(face.vertexCount);
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) corners[i] = face.vertexIndex[i];
  });
  return mesh;
}

VertexUse VertexUse::ofGroups(const OBJModel& model, const std::vector<std::string>& names,
                              const host::MeshDescription& mesh) {
  std::vector<std::vector<std::uint32_t>> faces;
  faces.reserve(names.size());
  for (const std::string& name : names) {
    const auto found = model._groups.find(name);
    std::vector<std::uint32_t>& list = faces.emplace_back();
    if (found != model._groups.end()) list.assign(found->second.begin(), found->second.end());
  }
  return VertexUse(std::move(faces), mesh);
}

VertexUse VertexUse::ofSmoothingGroups(const OBJModel& model, const std::vector<std::uint32_t>& numbers,
                                       const host::MeshDescription& mesh) {
  std::unordered_map<std::uint32_t, std::size_t> indices;
  for (std::size_t i = 0; i < numbers.size(); ++i) indices.emplace(numbers[i], i);
  std::vector<std::vector<std::uint32_t>> faces(numbers.size());
  model._faces->forEachFace([&](std::uint32_t index, const OBJFaceView& face) {
    const auto found = indices.find(face.smoothingGroup);
    if (found != indices.end()) faces[found->second].push_back(index);
  });
  return VertexUse(std::move(faces), mesh);
}

/// Two passes over the corners: first which vertices have several users, then how many of them each group
/// has.
VertexUse::VertexUse(std::vector<std::vector<std::uint32_t>> facesOfGroups, const host::MeshDescription& mesh)
    : faces_(std::move(facesOfGroups)), shared_(faces_.size()) {
  constexpr std::uint32_t kNobody = UINT32_MAX;
  std::vector<std::uint32_t> lastUser(mesh.vertices.size(), kNobody);
  std::vector<bool> severalUsers(mesh.vertices.size());
  const auto forEachVertex = [&](std::uint32_t group, auto visit) {
    for (const std::uint32_t face : faces_[group]) {
      for (const std::uint32_t vertex : mesh.faces[face]) {
        if (vertex < lastUser.size() && lastUser[vertex] != group) {
          visit(vertex);
          lastUser[vertex] = group;
        }
      }
    }
  };
  const auto groups = static_cast<std::uint32_t>(faces_.size());
  for (std::uint32_t group = 0; group < groups; ++group) {
    forEachVertex(group, [&](std::uint32_t vertex) {
      if (lastUser[vertex] != kNobody) severalUsers[vertex] = true;
    });
  }
  lastUser.assign(lastUser.size(), kNobody);
  for (std::uint32_t group = 0; group < groups; ++group) {
    forEachVertex(group, [&](std::uint32_t vertex) { shared_[group] += severalUsers[vertex] ? 1 : 0; });
  }
}

}  // namespace smthgrp
