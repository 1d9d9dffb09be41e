#pragma once

#include <algorithm>
#include <cstdint>

#include "obj/OBJBasic.h"

namespace WavefrontOBJ {

/// One face for reading, wherever and however it is kept. Cheap to make and to pass by value.
/// Valid until the face array changes: a push, or the first `OBJFaceArray::operator[]` into the face's block.
struct OBJFaceView {
  const std::uint32_t* vertexIndex = nullptr;   ///< `vertexCount` entries
  const std::uint32_t* textureIndex = nullptr;  ///< likewise; null stands for all zeros, only without texture
  const std::uint32_t* normalIndex = nullptr;   ///< likewise; null stands for all zeros, only without normals
  std::uint32_t vertexCount = 0;                ///< 0..88
  std::uint32_t smoothingGroup = 0;
  std::int32_t materialIndex = -1;
  bool hasTexture = false;
  bool hasNormal = false;

  /// The view of a flat record. Indices are seen even where their flag is off: a face of an extracted group
  /// has its flags cleared and its indices intact.
  static OBJFaceView of(const OBJFace& face) {
    OBJFaceView view;
    view.vertexIndex = face.vertexIndex;
    view.textureIndex = face.textureIndex;
    view.normalIndex = face.normalIndex;
    view.vertexCount = std::min(face.vertexCount, OBJFace::kMaxVertexCount);
    view.smoothingGroup = face.smoothingGroup;
    view.materialIndex = face.materialIndex;
    view.hasTexture = face.hasTexture != 0;
    view.hasNormal = face.hasNormal != 0;
    return view;
  }
};

/// What a face carries besides its corners.
struct OBJFaceGeometry {
  OBJVector normal;
  OBJVector center;
  float reserved = -1.0F;
};

/// Normal and centre of a face, computed as `OBJFace::getNormal` and `getCenter` say.
OBJFaceGeometry faceGeometry(const OBJFaceView& face, const OBJVectorArray& vertices);

}  // namespace WavefrontOBJ
