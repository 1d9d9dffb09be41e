// Vector and face geometry. Built without contraction of multiply and add, so that every platform rounds
// alike.
#include <cmath>

#include "obj/OBJFaceView.h"
#include "obj/OBJVectorArray.h"

namespace WavefrontOBJ {
namespace {

OBJVector normalOfCorners(const OBJVector& p0, const OBJVector& p1, const OBJVector& p2) {
  const OBJVector e1(p1.x - p0.x, p1.y - p0.y, p1.z - p0.z);
  const OBJVector e2(p2.x - p0.x, p2.y - p0.y, p2.z - p0.z);
  return e1.cross(e2).normalizeTo1();
}

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
  OBJVector corner[3];
  if (face.vertexCount > 0) corner[0] = corner[1] = corner[2] = vertices.elementOrZero(face.vertexIndex[0]);
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;
  for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
    const OBJVector& position = vertices.elementOrZero(face.vertexIndex[i]);
    if (i < 3) corner[i] = position;
    x += position.x;
    y += position.y;
    z += position.z;
  }
  const auto n = static_cast<float>(face.vertexCount);
  OBJFaceGeometry geometry;
  geometry.normal = normalOfCorners(corner[0], corner[1], corner[2]);
  geometry.center = OBJVector(x / n, y / n, z / n);
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
