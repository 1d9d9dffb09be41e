#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "obj/OBJModel.h"
#include "plugin/ModelMarks.h"
#include "plugin/PluginCall.h"

using Indices = std::vector<std::uint32_t>;

/// What masking and creasing do to a mesh, in nested loops over plain vectors: slow and plain to see.
struct MeshReference {
  const WavefrontOBJ::OBJModel& model;
  std::vector<Indices> facesOfVertex;  ///< one entry for each corner, in face order
  std::vector<std::uint8_t> masks = std::vector<std::uint8_t>(facesOfVertex.size());
  std::vector<std::uint8_t> creases = std::vector<std::uint8_t>(model._faces->count);

  /// The lists of the vertices stay as they are now, whatever becomes of the faces.
  explicit MeshReference(const WavefrontOBJ::OBJModel& model_)
      : model(model_), facesOfVertex(model._vertices->count) {
    for (std::uint32_t f = 0; f < creases.size(); ++f) {
      for (const std::uint32_t v : verticesOf(f)) {
        if (v < masks.size()) facesOfVertex[v].push_back(f);
      }
    }
  }

  Indices verticesOf(std::uint32_t f) const {
    const WavefrontOBJ::OBJFaceView face = model._faces->view(f);
    Indices vertices;
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) vertices.push_back(face.vertexIndex[i]);
    return vertices;
  }

  /// Masks and creases with a list of faces. Answers the writes and the pairs.
  std::pair<float, float> mark(const Indices& list, std::uint32_t mask) {
    const auto contains = [](const Indices& faces, std::uint32_t f) {
      return std::find(faces.begin(), faces.end(), f) != faces.end();
    };
    float writes = 0;
    float pairs = 0;
    for (const std::uint32_t f : list) {
      const Indices face = verticesOf(f);
      for (std::size_t k = 0; k < face.size(); ++k) {
        const std::uint32_t a = face[k];
        const std::uint32_t b = face[(k + 1) % face.size()];
        if (a >= masks.size()) continue;
        masks[a] = static_cast<std::uint8_t>(mask);
        ++writes;
        for (const std::uint32_t h : facesOfVertex[a]) {
          if (h == f || contains(list, h) || b >= masks.size() || !contains(facesOfVertex[b], h)) continue;
          if (k < 4) creases[f] |= std::array{0x03, 0x0C, 0x30, 0xC0}[k];
          ++pairs;
        }
      }
    }
    return {writes, pairs};
  }
};

/// Masks and creases with the first groups and smoothing groups of the current model, through the calls and
/// by the reference, and tells `check` what must hold.
template <class Check>
void compareMarks(MeshReference reference, std::uint32_t mostGroups, Check check) {
  const WavefrontOBJ::OBJModel& model = reference.model;
  host::HostMesh mesh(model._vertices->count, model._faces->count);
  host::HostMesh larger(model._vertices->count + 1, model._faces->count);
  const auto compare = [&](auto function, std::size_t groups, auto facesOf) {
    for (std::uint32_t i = 0; i < std::min<std::size_t>(groups, mostGroups); ++i) {
      // Every other one onto the marks of the one before.
      if (i % 2 == 0) {
        check(call(SetMesh3DInfo, mesh, "smoothAll") == static_cast<float>(mesh.faceCount()),
              "clears creases");
        std::fill(reference.creases.begin(), reference.creases.end(), 0);
      }
      call(SetMesh3DInfo, mesh, "maskValue", i + 1);
      std::vector<std::uint8_t> masks = reference.masks;
      std::vector<std::uint8_t> creases = reference.creases;
      const auto [writes, pairs] = reference.mark(facesOf(i), i + 1);
      check(call(function, mesh, "mask", i + 1) == writes, "counts mask writes");
      check(call(function, mesh, "crease", i + 1) == pairs, "counts creased pairs");
      bool same = mesh.onlyMarksChanged();
      for (std::uint32_t v = 0; v < mesh.vertexCount(); ++v)
        same = same && mesh.mask(v) == reference.masks[v];
      for (std::uint32_t f = 0; f < mesh.faceCount(); ++f)
        same = same && mesh.creases(f) == reference.creases[f];
      check(same, "marks as the reference does");
      const MarkedGroup group{i, function == &SetMesh3DFromOBJSmoothGroup};
      const auto mask = static_cast<std::uint8_t>(i + 1);
      same =
          static_cast<float>(maskGroup({masks.data(), 1, mesh.vertexCount()}, model, group, mask)) == writes;
      const auto plainPairs = creaseGroup({creases.data(), 1, mesh.faceCount()}, *gOBJModel, group);
      same = same && static_cast<float>(plainPairs.value_or(-1)) == pairs;
      same = same && masks == reference.masks && creases == reference.creases;
      check(same, "marks plain bytes in the same way");
    }
    for (const double number : {0.0, 0.5, -1.0, static_cast<double>(groups) + 1, 1e300, std::nan("")}) {
      for (const char* key : {"mask", "crease"}) {
        check(call(function, mesh, key, number) == -1.0F, "knows the group");
        check(call(function, larger, key, number) == (number == 0.5 ? -3.0F : -1.0F),
              "tells the range first");
      }
    }
  };
  compare(&SetMesh3DFromOBJGroup, model._groupNames.size(), [&](std::uint32_t group) {
    const WavefrontOBJ::OBJElementList& list = model._groups.at(model._groupNames[group]);
    return Indices(list.begin(), list.end());
  });
  compare(&SetMesh3DFromOBJSmoothGroup, model._smoothingGroupCount, [&](std::uint32_t index) {
    Indices faces;
    for (std::uint32_t f = 0; f < model._faces->count; ++f) {
      if (model._faces->view(f).smoothingGroup == model._smoothingGroups[index]) faces.push_back(f);
    }
    return faces;
  });
}
