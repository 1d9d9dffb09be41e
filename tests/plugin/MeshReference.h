#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "obj/OBJModel.h"
#include "plugin/PluginCall.h"

/// What masking and creasing do to a mesh, in nested loops over plain vectors: slow and plain to see.
struct MeshReference {
  const WavefrontOBJ::OBJModel& model;
  std::vector<std::vector<std::uint32_t>> facesOfVertex;  ///< one entry for each corner, in face order
  std::vector<std::uint8_t> masks;
  std::vector<std::uint8_t> creases;

  /// The lists of the vertices stay as they are now, whatever becomes of the faces.
  explicit MeshReference(const WavefrontOBJ::OBJModel& model_)
      : model(model_),
        facesOfVertex(model._vertices->count),
        masks(model._vertices->count),
        creases(model._faces->count) {
    for (std::uint32_t f = 0; f < creases.size(); ++f) {
      for (const std::uint32_t v : verticesOf(f)) {
        if (v < masks.size()) facesOfVertex[v].push_back(f);
      }
    }
  }

  std::vector<std::uint32_t> verticesOf(std::uint32_t f) const {
    const WavefrontOBJ::OBJFaceView face = model._faces->view(f);
    std::vector<std::uint32_t> vertices(face.vertexCount);
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) vertices[i] = face.vertexIndex[i];
    return vertices;
  }

  float mask(const std::vector<std::uint32_t>& list, std::uint32_t value) {
    float writes = 0;
    for (const std::uint32_t f : list) {
      for (const std::uint32_t v : verticesOf(f)) {
        if (v >= masks.size()) continue;
        masks[v] = static_cast<std::uint8_t>(value);
        ++writes;
      }
    }
    return writes;
  }

  float crease(const std::vector<std::uint32_t>& list) {
    const auto contains = [](const std::vector<std::uint32_t>& faces, std::uint32_t f) {
      return std::find(faces.begin(), faces.end(), f) != faces.end();
    };
    float pairs = 0;
    for (const std::uint32_t f : list) {
      const std::vector<std::uint32_t> face = verticesOf(f);
      for (std::size_t k = 0; k < face.size(); ++k) {
        const std::uint32_t a = face[k];
        const std::uint32_t b = face[(k + 1) % face.size()];
        if (a >= masks.size() || b >= masks.size()) continue;
        for (const std::uint32_t h : facesOfVertex[a]) {
          if (h == f || contains(list, h) || !contains(facesOfVertex[b], h)) continue;
          constexpr std::uint8_t kEdgeBits[] = {0x03, 0x0C, 0x30, 0xC0};
          if (k < 4) creases[f] |= kEdgeBits[k];
          ++pairs;
        }
      }
    }
    return pairs;
  }
};

/// Masks and creases with the first groups and smoothing groups of the current model, through the calls and
/// by the reference, and tells `check` what must hold.
template <class Check>
void compareMarks(MeshReference reference, std::uint32_t mostGroups, Check check) {
  const WavefrontOBJ::OBJModel& model = reference.model;
  host::HostMesh mesh(model._vertices->count, model._faces->count);
  host::HostMesh larger(model._vertices->count + 1, model._faces->count);
  const auto apply = [&](auto function, std::size_t groups, auto facesOf) {
    for (std::uint32_t i = 0; i < std::min<std::size_t>(groups, mostGroups); ++i) {
      const std::vector<std::uint32_t> faces = facesOf(i);
      // Every other one onto the marks of the one before.
      if (i % 2 == 0) {
        check(call(SetMesh3DInfo, mesh, "smoothAll") == static_cast<float>(mesh.faceCount()),
              "clears creases");
        std::fill(reference.creases.begin(), reference.creases.end(), 0);
      }
      check(call(SetMesh3DInfo, mesh, "maskValue", i + 1) == 0.0F, "sets a mask value");
      check(call(function, mesh, "mask", i + 1) == reference.mask(faces, i + 1), "counts mask writes");
      check(call(function, mesh, "crease", i + 1) == reference.crease(faces), "counts creased pairs");
      check(call(function, larger, "crease", i + 1) == -3.0F, "refuses a mesh of another vertex count");
      bool same = true;
      for (std::uint32_t v = 0; v < mesh.vertexCount(); ++v)
        same = same && mesh.mask(v) == reference.masks[v];
      check(same, "masks the vertices");
      for (std::uint32_t f = 0; f < mesh.faceCount(); ++f)
        same = same && mesh.creases(f) == reference.creases[f];
      check(same, "creases the faces");
    }
    for (const double number : {0.0, 0.5, -1.0, static_cast<double>(groups) + 1, 1e300, std::nan("")}) {
      for (const char* key : {"mask", "crease"})
        check(call(function, mesh, key, number) == -1.0F, "has no group");
    }
  };
  apply(&SetMesh3DFromOBJGroup, model._groupNames.size(), [&](std::uint32_t group) {
    const WavefrontOBJ::OBJElementList& list = model._groups.at(model._groupNames[group]);
    return std::vector<std::uint32_t>(list.begin(), list.end());
  });
  apply(&SetMesh3DFromOBJSmoothGroup, model._smoothingGroupCount, [&](std::uint32_t index) {
    std::vector<std::uint32_t> faces;
    for (std::uint32_t f = 0; f < model._faces->count; ++f) {
      if (model._faces->view(f).smoothingGroup == model._smoothingGroups[index]) faces.push_back(f);
    }
    return faces;
  });
  check(mesh.onlyMarksChanged(), "writes nothing but marks");
}
