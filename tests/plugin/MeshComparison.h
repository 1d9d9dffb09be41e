#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "host/HostMesh.h"
#include "plugin/KOBJRev01.h"
#include "plugin/MeshReference.h"

/// Makes a model the current one for a while.
class CurrentModel {
 public:
  explicit CurrentModel(WavefrontOBJ::OBJModel& model) { gOBJModel = &model; }
  CurrentModel(const CurrentModel&) = delete;
  CurrentModel& operator=(const CurrentModel&) = delete;
  ~CurrentModel() { gOBJModel = nullptr; }
};

inline std::vector<std::uint8_t> masksOf(const host::HostMesh& mesh) {
  std::vector<std::uint8_t> masks;
  for (std::uint32_t v = 0; v < mesh.vertexCount(); ++v) masks.push_back(mesh.mask(v));
  return masks;
}

inline std::vector<std::uint8_t> creasesOf(const host::HostMesh& mesh) {
  std::vector<std::uint8_t> creases;
  for (std::uint32_t f = 0; f < mesh.faceCount(); ++f) creases.push_back(mesh.creases(f));
  return creases;
}

/// Masks and creases with every group and smoothing group of the current model, through the calls and by
/// reference.
inline void compareMeshCalls(const WavefrontOBJ::OBJModel& model) {
  host::HostMesh mesh(model._vertices->count, model._faces->count);
  MeshReference reference(model);
  const auto set = [&](const char* key, double number) {
    return SetMesh3DInfo(key, number, nullptr, 0, 0, 0, mesh.hostData());
  };
  const auto apply = [&](auto call, std::uint32_t count, auto facesOf) {
    for (std::uint32_t i = 0; i < count; ++i) {
      SCOPED_TRACE(i);
      const std::vector<std::uint32_t> faces = facesOf(model, i);
      const auto value = static_cast<std::uint8_t>(i + 1);
      set("maskValue", value);
      EXPECT_EQ(call("mask", i + 1, nullptr, 0, 0, 0, mesh.hostData()), reference.mask(faces, value));
      EXPECT_EQ(masksOf(mesh), reference.masks);
      // Every other one onto a clean mesh.
      if (i % 2 == 0) {
        EXPECT_EQ(set("smoothAll", 0), static_cast<float>(model._faces->count));
        std::fill(reference.creases.begin(), reference.creases.end(), 0);
      }
      EXPECT_EQ(call("crease", i + 1, nullptr, 0, 0, 0, mesh.hostData()), reference.crease(faces));
      EXPECT_EQ(creasesOf(mesh), reference.creases);
    }
  };
  apply(&SetMesh3DFromOBJGroup, static_cast<std::uint32_t>(model._groupNames.size()), facesOfGroup);
  apply(&SetMesh3DFromOBJSmoothGroup, model._smoothingGroupCount, facesOfSmoothingGroup);
  EXPECT_TRUE(mesh.onlyMarksChanged());
}
