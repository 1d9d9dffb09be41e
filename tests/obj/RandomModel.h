#pragma once

#include "TestSupport.h"

/// A model with shared vertices, faces in several groups or none or twice in one, a group "default" at times,
/// smoothing groups and materials. Every face's indices are below the counts.
inline std::unique_ptr<WavefrontOBJ::OBJModel> randomModel(Random& random) {
  using namespace WavefrontOBJ;
  auto model = std::make_unique<OBJModel>(true);
  const std::uint32_t vertices = 1 + below(random, 60);
  for (std::uint32_t i = 0; i < vertices; ++i) {
    const auto number = [&random] {
      return (static_cast<float>(random()) - 2e9F) / static_cast<float>(1 + below(random, 1U << 31));
    };
    model->_vertices->push_back({number(), number(), number()});
    model->_textureCoords->push_back({number(), number(), 0});
    if (below(random, 2) == 0) model->_normals->push_back({number(), number(), number()});
  }
  for (std::uint32_t i = below(random, 3); i > 0; --i) {
    OBJMaterial material;
    material.name = "m" + std::to_string(i);
    model->addMaterial(material);
  }
  const std::vector<std::string> names{"b", "a", "default", "c d", "e"};
  const std::uint32_t nameCount = 1 + below(random, 5);
  for (std::uint32_t f = below(random, 80); f > 0; --f) {
    OBJFace face;
    std::fill_n(face.vertexIndex, face.kMaxVertexCount, 0);
    const bool texture = below(random, 2) == 0;
    const bool normal = below(random, 2) == 0;
    for (std::uint32_t i = 1 + below(random, 6); i > 0; --i) {
      face.addVertex(below(random, vertices), below(random, vertices), below(random, vertices), texture,
                     normal);
    }
    face.smoothingGroup = below(random, 4);
    face.materialIndex =
        static_cast<std::int32_t>(below(random, static_cast<std::uint32_t>(model->_materials.size()) + 1)) -
        1;
    model->addFace(face);
    for (std::uint32_t i = below(random, 4); i > 0; --i) {
      model->addFaceToGroup(names[below(random, nameCount)], model->_faces->count - 1);
    }
  }
  return model;
}
