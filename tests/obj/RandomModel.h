#pragma once

#include <algorithm>

#include "TestSupport.h"

/// A face without anything left to chance: the index arrays are zero.
struct ZeroedFace : WavefrontOBJ::OBJFace {
  ZeroedFace() {
    for (std::uint32_t* indices : {vertexIndex, textureIndex, normalIndex}) {
      std::fill_n(indices, kMaxVertexCount, 0);
    }
  }
  /// The same index for vertex and texture coordinate of each corner.
  ZeroedFace(std::initializer_list<std::uint32_t> corners, bool texture = false) : ZeroedFace() {
    for (const std::uint32_t corner : corners) addVertex(corner, corner, 0, texture, false);
  }
};

/// A model with shared vertices, faces in several groups or none or twice in one or out of order, a group
/// "default" at times, smoothing groups and materials. Every face's indices are below the counts.
inline std::unique_ptr<WavefrontOBJ::OBJModel> randomModel(Random& random) {
  using namespace WavefrontOBJ;
  auto model = std::make_unique<OBJModel>(true);
  const auto number = [&random] {
    return (static_cast<float>(random()) - 2e9F) / static_cast<float>(1 + below(random, 1U << 31));
  };
  const std::uint32_t vertices = 1 + below(random, 60);
  for (std::uint32_t i = 0; i < vertices; ++i) {
    model->_vertices->push_back({number(), number(), number()});
    model->_textureCoords->push_back({number(), number(), 0});
    if (below(random, 2) == 0) model->_normals->push_back({number(), number(), number()});
  }
  const std::uint32_t materials = below(random, 3);
  for (std::uint32_t i = 0; i < materials; ++i) {
    OBJMaterial material;
    material.name = "m" + std::to_string(i);
    model->addMaterial(material);
  }
  const std::vector<std::string> names{"b", "a", "default", "c d", "e"};
  const std::uint32_t nameCount = 1 + below(random, 5);
  for (std::uint32_t f = below(random, 80); f > 0; --f) {
    ZeroedFace face;
    const bool texture = below(random, 2) == 0;
    const bool normal = below(random, 2) == 0;
    for (std::uint32_t i = 1 + below(random, 6); i > 0; --i) {
      face.addVertex(below(random, vertices), below(random, vertices), below(random, vertices), texture,
                     normal);
    }
    face.smoothingGroup = below(random, 4);
    face.materialIndex = static_cast<std::int32_t>(below(random, materials + 1)) - 1;
    model->addFace(face);
    const std::uint32_t last = model->_faces->count - 1;
    for (std::uint32_t i = below(random, 4); i > 0; --i) {
      model->addFaceToGroup(names[below(random, nameCount)],
                            below(random, 20) == 0 ? below(random, last + 1) : last);
    }
  }
  return model;
}
