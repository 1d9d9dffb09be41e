#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "obj/OBJModel.h"

/// What masking and creasing do to a mesh, in nested loops over plain vectors: slow and plain to see.
struct MeshReference {
  std::vector<std::vector<std::uint32_t>> faces;          ///< vertex indices
  std::vector<std::vector<std::uint32_t>> facesOfVertex;  ///< one entry for each corner, in face order
  std::vector<std::uint8_t> masks;
  std::vector<std::uint8_t> creases;

  explicit MeshReference(const WavefrontOBJ::OBJModel& model)
      : facesOfVertex(model._vertices->count), masks(model._vertices->count), creases(model._faces->count) {
    for (std::uint32_t f = 0; f < model._faces->count; ++f) {
      const WavefrontOBJ::OBJFaceView view = model._faces->view(f);
      std::vector<std::uint32_t>& face = faces.emplace_back();
      for (std::uint32_t i = 0; i < view.vertexCount; ++i) {
        face.push_back(view.vertexIndex[i]);
        if (face.back() < facesOfVertex.size()) facesOfVertex[face.back()].push_back(f);
      }
    }
  }

  std::int32_t mask(const std::vector<std::uint32_t>& list, std::uint8_t value) {
    std::int32_t writes = 0;
    for (const std::uint32_t f : list) {
      for (const std::uint32_t v : faces[f]) {
        if (v >= masks.size()) continue;
        masks[v] = value;
        ++writes;
      }
    }
    return writes;
  }

  std::int32_t crease(const std::vector<std::uint32_t>& list) {
    std::vector<bool> member(faces.size());
    for (const std::uint32_t f : list) member[f] = true;
    std::int32_t pairs = 0;
    for (const std::uint32_t f : list) {
      const std::vector<std::uint32_t>& face = faces[f];
      for (std::size_t k = 0; k < face.size(); ++k) {
        const std::uint32_t a = face[k];
        const std::uint32_t b = face[(k + 1) % face.size()];
        if (a >= facesOfVertex.size() || b >= facesOfVertex.size()) continue;
        for (const std::uint32_t h : facesOfVertex[a]) {
          if (h == f || member[h]) continue;
          const std::vector<std::uint32_t>& others = facesOfVertex[b];
          if (std::find(others.begin(), others.end(), h) == others.end()) continue;
          constexpr std::uint8_t kEdgeBits[] = {0x03, 0x0C, 0x30, 0xC0};
          if (k < 4) creases[f] |= kEdgeBits[k];
          ++pairs;
        }
      }
    }
    return pairs;
  }
};

/// The entries of a group's list.
inline std::vector<std::uint32_t> facesOfGroup(const WavefrontOBJ::OBJModel& model, std::uint32_t group) {
  const WavefrontOBJ::OBJElementList& list = model._groups.at(model._groupNames[group]);
  return {list.begin(), list.end()};
}

/// The faces that carry the smoothing group at `index` of the model's table.
inline std::vector<std::uint32_t> facesOfSmoothingGroup(const WavefrontOBJ::OBJModel& model,
                                                        std::uint32_t index) {
  std::vector<std::uint32_t> faces;
  for (std::uint32_t f = 0; f < model._faces->count; ++f) {
    if (model._faces->view(f).smoothingGroup == model._smoothingGroups[index]) faces.push_back(f);
  }
  return faces;
}
