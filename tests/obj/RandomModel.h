#pragma once

#include <algorithm>

#include "TestSupport.h"

/// A face without anything left to chance: entries of no corner are zero. Each corner has the same index for
/// vertex and texture coordinate.
struct ZeroedFace : WavefrontOBJ::OBJFace {
  ZeroedFace(std::initializer_list<std::uint32_t> corners = {}, bool texture = false) {
    for (std::uint32_t* indices : {vertexIndex, textureIndex, normalIndex}) std::fill_n(indices, 88, 0);
    for (const std::uint32_t corner : corners) addVertex(corner, corner, 0, texture, false);
  }
};

/// A model with shared vertices, faces in several groups or none or twice in one or out of order, a group
/// "default" at times, smoothing groups and materials. Every face's indices are below the counts.
inline std::unique_ptr<WavefrontOBJ::OBJModel> randomModel(Random& random) {
  auto model = std::make_unique<WavefrontOBJ::OBJModel>(true);
  const auto number = [&] { return (static_cast<float>(random()) - 2e9F) / static_cast<float>(random()); };
  const std::uint32_t vertices = 1 + below(random, 60);
  for (std::uint32_t i = 0; i < vertices; ++i) {
    model->_vertices->push_back({number(), number(), number()});
    model->_textureCoords->push_back({number(), number(), 0});
    if (below(random, 2) == 0) model->_normals->push_back({number(), number(), number()});
  }
  const std::uint32_t materials = below(random, 3), names = 1 + below(random, 5);
  WavefrontOBJ::OBJMaterial material;
  for (std::uint32_t i = 0; i < materials; ++i) model->addMaterial((material.name += 'm', material));
  for (std::uint32_t f = 0, faces = below(random, 80); f < faces; ++f) {
    ZeroedFace face;
    const bool texture = below(random, 2) == 0, normal = below(random, 2) == 0;
    for (std::uint32_t i = 1 + below(random, 6), v = random(); i > 0; --i, v = random()) {
      face.addVertex(v % vertices, v / 8 % vertices, v / 64 % vertices, texture, normal);
    }
    face.smoothingGroup = below(random, 4);
    face.materialIndex = static_cast<std::int32_t>(below(random, materials + 1)) - 1;
    model->addFace(face);
    for (std::uint32_t i = below(random, 4); i > 0; --i) {
      const char* const name[] = {"b", "a", "default", "c d", "e"};
      model->addFaceToGroup(name[below(random, names)], below(random, 20) == 0 ? below(random, f + 1) : f);
    }
  }
  return model;
}
