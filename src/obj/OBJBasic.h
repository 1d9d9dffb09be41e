#pragma once

#include <cstdint>
#include <type_traits>

#include "KSmthExport.h"

namespace WavefrontOBJ {

class OBJFaceBlock;
class OBJVectorArray;

/// Four single-precision components. A position, a normal or a texture coordinate (u, v, w in `x`, `y`, `z`).
/// `w` is 1 for everything that is read from a file or computed, except after `normalizeTo1`.
struct KSMTH_API OBJVector {
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;
  float w = 1.0F;

  constexpr OBJVector() = default;
  constexpr OBJVector(float x_, float y_, float z_, float w_ = 1.0F) : x(x_), y(y_), z(z_), w(w_) {}

  /// Rotates in place about z by `az`, then about y by `ay`, then about x by `ax` (radians, right-handed).
  /// Each of the three steps is rounded to single precision before the next. `w` is unchanged.
  void rotate(float ax, float ay, float az);

  /// The cross product of this vector and `b`, with w = 1.
  OBJVector cross(const OBJVector& b) const;

  /// This vector with all four components multiplied by 1 / length of (x, y, z).
  /// `w` is scaled too, by the host's contract: a normal made from a cross product carries w = 1 / length. A
  /// vector of length 0 gives a result that is not finite.
  OBJVector normalizeTo1() const;
};
static_assert(sizeof(OBJVector) == 16 && std::is_trivially_copyable_v<OBJVector>,
              "ExtractVertices hands vectors out as four packed floats");

/// One polygon as a flat record: the value that is passed in and handed out. Copied as it stands, it owns
/// nothing. Faces at rest are kept smaller, see `OBJFaceArray`.
struct KSMTH_API OBJFace {
  /// Corners that the record has room for. The 89th distinct corner is a failed assertion.
  static constexpr std::uint32_t kMaxVertexCount = 88;

  std::uint32_t vertexCount;                    ///< corners in use, 0..88
  std::uint32_t vertexIndex[kMaxVertexCount];   ///< from 0, into the model's vertices
  std::uint32_t textureIndex[kMaxVertexCount];  ///< from 0, into the texture coordinates; see `hasTexture`
  std::uint32_t normalIndex[kMaxVertexCount];   ///< from 0, into the normals; see `hasNormal`
  std::uint32_t hasTexture;                     ///< not 0: the face carries texture indices
  std::uint32_t hasNormal;                      ///< not 0: the face carries normal indices
  std::uint32_t smoothingGroup;                 ///< number of the last "s" line, 0 for none
  std::int32_t materialIndex;                   ///< index into the model's materials, -1 for none
  OBJVector normal;                             ///< as of `ComputeNormalAndCenter`
  OBJVector center;                             ///< likewise
  float reserved;                               ///< -1 by default; read by nothing

  /// An empty face: no corners, no material, normal and centre (0, 0, 0, 1). The index arrays stay unset.
  OBJFace();
  /// Copies corners (all 88 entries), flags, smoothing group and material. The copy's normal and centre are
  /// (0, 0, 0, 1) and its `reserved` is unset: fixed by the host's contract.
  OBJFace(const OBJFace& other);
  /// Copies every field, normal, centre and `reserved` included.
  OBJFace& operator=(const OBJFace& other) = default;

  /// Adds one corner (indices from 0) and sets both flags of the face to those given.
  /// A vertex that the face already holds changes nothing, which absorbs a token that the reader reads twice.
  /// Always answers true; the 89th distinct corner fails the assertion.
  bool addVertex(std::uint32_t vertex, std::uint32_t texture, std::uint32_t normalIdx, bool withTexture,
                 bool withNormal);

  /// Unit normal of the first three vertex indices (right-hand rule), whatever `vertexCount` is. Not finite
  /// for degenerate faces. An index past the last vertex reads as `gZeroVector`.
  OBJVector getNormal(const OBJVectorArray& vertices) const;
  /// Mean of all corners in single precision, w = 1. An index past the last vertex reads as `gZeroVector`.
  OBJVector getCenter(const OBJVectorArray& vertices) const;
  /// Stores `getNormal` and `getCenter` in the face.
  void ComputeNormalAndCenter(const OBJVectorArray& vertices);

  /// Reverses the order of the vertex indices. Texture and normal indices keep their order and the stored
  /// normal its direction: fixed by the host's contract.
  void ReverseFace();

 private:
  friend class OBJFaceArray;
  /// The face in a slot of a block, every field.
  OBJFace(const OBJFaceBlock& block, std::uint32_t slot);
};

/// The faces that use one vertex: a chain of nodes of 12. A plain record; the array that holds the first
/// node of a chain owns the overflow nodes.
struct KSMTH_API OBJLinks {
  static constexpr std::uint32_t kFacesPerNode = 12;

  std::uint32_t count = 0;             ///< entries in use in this node, 0..12
  std::uint32_t faces[kFacesPerNode];  ///< face indices, in the order of linking
  OBJLinks* next = nullptr;            ///< overflow node, or null

  /// Appends a face index at the end of the chain, which may add a node (from the ordinary allocator).
  /// Answers true. Throws std::bad_alloc. Walks the chain: cost grows with its length.
  bool push_back(std::uint32_t face);
  /// The i-th face index along the chain; 0 past its end.
  std::uint32_t operator[](std::uint32_t i) const;
  /// Number of face indices along the chain.
  std::uint32_t size() const;
};
static_assert(std::is_trivially_copyable_v<OBJLinks>, "link slots are written by plain copy");

KSMTH_API extern const OBJVector gZeroVector;  ///< (0, 0, 0, 1): also stands for a missing position
KSMTH_API extern const OBJFace gNullFace;      ///< a default-constructed face
KSMTH_API extern const OBJLinks gZeroLinks;    ///< an empty list

}  // namespace WavefrontOBJ
