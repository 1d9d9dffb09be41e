#pragma once

#include <algorithm>
#include <cstdint>

#include "obj/OBJBasic.h"

namespace WavefrontOBJ {

/// One index for each corner of a face, `stride` words apart.
class OBJCornerIndices {
 public:
  /// Zero for every corner.
  OBJCornerIndices() : first_(&kZero), stride_(0) {}
  explicit OBJCornerIndices(const std::uint32_t* first, std::uint32_t stride = 1)
      : first_(first), stride_(stride) {}

  std::uint32_t operator[](std::uint32_t corner) const { return first_[corner * stride_]; }
  /// False for indices that are zero for every corner because the face does not have any.
  bool isStored() const { return stride_ != 0; }

 private:
  static constexpr std::uint32_t kZero = 0;

  const std::uint32_t* first_;
  std::uint32_t stride_;
};

/// One face for reading, wherever and however it is kept. Cheap to make and to pass by value.
/// Valid until the face array changes: a push, or the first `OBJFaceArray::operator[]` into the face's block.
struct OBJFaceView {
  OBJCornerIndices vertexIndex;
  OBJCornerIndices textureIndex;
  OBJCornerIndices normalIndex;
  std::uint32_t vertexCount = 0;  ///< 0..88
  /// Index entries behind those of the corners, which a flat record has and the packed form does not.
  std::uint32_t spareEntries = 0;
  std::uint32_t smoothingGroup = 0;
  std::int32_t materialIndex = -1;
  bool hasTexture = false;
  bool hasNormal = false;

  /// The vertex index of any corner, in use or not: 0 where there is no entry.
  std::uint32_t vertexOrZero(std::uint32_t corner) const {
    return corner < vertexCount + spareEntries ? vertexIndex[corner] : 0;
  }

  /// Indices of each corner where corners stand one behind the other: each its vertex index, then its texture
  /// index and its normal index, if it has them.
  static std::uint32_t strideOf(bool textures, bool normals) {
    return 1U + (textures ? 1U : 0U) + (normals ? 1U : 0U);
  }
  /// The view of `count` such corners, flagged as having what stands there.
  static OBJFaceView ofCorners(const std::uint32_t* corners, std::uint32_t count, bool textures,
                               bool normals) {
    const std::uint32_t stride = strideOf(textures, normals);
    OBJFaceView view;
    view.vertexIndex = OBJCornerIndices(corners, stride);
    if (textures) view.textureIndex = OBJCornerIndices(corners + 1, stride);
    if (normals) view.normalIndex = OBJCornerIndices(corners + stride - 1, stride);
    view.vertexCount = count;
    view.hasTexture = textures;
    view.hasNormal = normals;
    return view;
  }

  /// The view of a flat record. Indices are seen even where their flag is off: a face of an extracted group
  /// has its flags cleared and its indices intact.
  static OBJFaceView of(const OBJFace& face) {
    OBJFaceView view;
    view.vertexIndex = OBJCornerIndices(face.vertexIndex);
    view.textureIndex = OBJCornerIndices(face.textureIndex);
    view.normalIndex = OBJCornerIndices(face.normalIndex);
    view.vertexCount = std::min(face.vertexCount, OBJFace::kMaxVertexCount);
    view.spareEntries = OBJFace::kMaxVertexCount - view.vertexCount;
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

}  // namespace WavefrontOBJ
