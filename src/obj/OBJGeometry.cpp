// Vector and face geometry. Built without contraction of multiply and add, so that every platform rounds
// alike.
#include <bit>
#include <cmath>

#include "obj/OBJVectorArray.h"
#include "obj/internal/OBJFaceGeometry.h"

namespace WavefrontOBJ {
namespace {

// Four floats that are worked on at once, each as if alone.
using Float4 = float __attribute__((vector_size(16)));
static_assert(sizeof(Float4) == sizeof(OBJVector));

/// `value` rounded to single precision, also where it goes on in double precision: compilers have been seen
/// to drop a conversion there and back (g++ 12 does when it vectorises).
float rounded(double value) {
  volatile auto single = static_cast<float>(value);
  return single;
}

}  // namespace

void OBJVector::rotate(float ax, float ay, float az) {
  const double sinX = std::sin(double{ax});
  const double cosX = std::cos(double{ax});
  const double sinY = std::sin(double{ay});
  const double cosY = std::cos(double{ay});
  const double sinZ = std::sin(double{az});
  const double cosZ = std::cos(double{az});
  const float x1 = rounded(x * cosZ - y * sinZ);
  const float y1 = rounded(x * sinZ + y * cosZ);
  const float x2 = rounded(z * sinY + x1 * cosY);
  const float z1 = rounded(z * cosY - x1 * sinY);
  const float y2 = rounded(y1 * cosX - z1 * sinX);
  const float z2 = rounded(y1 * sinX + z1 * cosX);
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
  OBJVectorArray::Reader positions(vertices);
  // What a function answers is no `Float4`: the ABI of some platforms has no place for it.
  const auto corner = [&](std::uint32_t i) -> const OBJVector& {
    return positions.elementOrZero(face.vertexOrZero(i));
  };
  Float4 corners[3];
  for (std::uint32_t i = 0; i < 3; ++i) corners[i] = std::bit_cast<Float4>(corner(i));
  Float4 sum = {};
  for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
    sum += i < 3 ? corners[i] : std::bit_cast<Float4>(corner(i));
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
