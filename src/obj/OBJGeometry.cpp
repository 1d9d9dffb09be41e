// Vector and face geometry. Built without contraction of multiply and add, so that every platform rounds
// alike.
#include <bit>
#include <cmath>

#include "obj/OBJFaceView.h"
#include "obj/OBJVectorArray.h"

namespace WavefrontOBJ {
namespace {

// Four floats that are worked on at once, each as if alone.
using Float4 = float __attribute__((vector_size(16)));
static_assert(sizeof(Float4) == sizeof(OBJVector));

}  // namespace

void OBJVector::rotate(float ax, float ay, float az) {
  const double sinX = std::sin(double{ax});
  const double cosX = std::cos(double{ax});
  const double sinY = std::sin(double{ay});
  const double cosY = std::cos(double{ay});
  const double sinZ = std::sin(double{az});
  const double cosZ = std::cos(double{az});
  const auto x1 = static_cast<float>(x * cosZ - y * sinZ);
  const auto y1 = static_cast<float>(x * sinZ + y * cosZ);
  const auto x2 = static_cast<float>(z * sinY + x1 * cosY);
  const auto z1 = static_cast<float>(z * cosY - x1 * sinY);
  const auto y2 = static_cast<float>(y1 * cosX - z1 * sinX);
  const auto z2 = static_cast<float>(y1 * sinX + z1 * cosX);
  x = x2;
  y = y2;
  z = z2;
}

OBJVector OBJVector::cross(const OBJVector& b) const {
  return {y * b.z - z * b.y, z * b.x - x * b.z, x * b.y - y * b.x};
}

OBJVector OBJVector::normalizeTo1() const {
  const float scale = 1.0F / std::sqrt(x * x + y * y + z * z);
  return {x * scale, y * scale, z * scale, w * scale};
}

OBJFaceGeometry faceGeometry(const OBJFaceView& face, const OBJVectorArray& vertices) {
  // A corner that the face does not have coincides with the first: the normal is then not finite.
  Float4 corners[3] = {};
  Float4 sum = {};
  for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
    const auto position = std::bit_cast<Float4>(vertices.elementOrZero(face.vertexIndex[i]));
    if (i == 0) corners[1] = corners[2] = position;
    if (i < 3) corners[i] = position;
    sum += position;
  }
  Float4 center = sum / static_cast<float>(face.vertexCount);
  center[3] = 1.0F;

  // `OBJVector::cross` and `normalizeTo1` of two edges.
  const Float4 a = corners[1] - corners[0];
  const Float4 b = corners[2] - corners[0];
  Float4 normal = __builtin_shufflevector(a, a, 1, 2, 0, 3) * __builtin_shufflevector(b, b, 2, 0, 1, 3) -
                  __builtin_shufflevector(a, a, 2, 0, 1, 3) * __builtin_shufflevector(b, b, 1, 2, 0, 3);
  normal[3] = 1.0F;
  const Float4 squares = normal * normal;
  normal *= 1.0F / std::sqrt(squares[0] + squares[1] + squares[2]);

  OBJFaceGeometry geometry;
  geometry.normal = std::bit_cast<OBJVector>(normal);
  geometry.center = std::bit_cast<OBJVector>(center);
  return geometry;
}

OBJVector OBJFace::getNormal(const OBJVectorArray& vertices) const {
  return faceGeometry(OBJFaceView::of(*this), vertices).normal;
}

OBJVector OBJFace::getCenter(const OBJVectorArray& vertices) const {
  return faceGeometry(OBJFaceView::of(*this), vertices).center;
}

void OBJFace::ComputeNormalAndCenter(const OBJVectorArray& vertices) {
  const OBJFaceGeometry geometry = faceGeometry(OBJFaceView::of(*this), vertices);
  normal = geometry.normal;
  center = geometry.center;
}

}  // namespace WavefrontOBJ
