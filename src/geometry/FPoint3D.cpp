#include <cmath>

#include "geometry/Point3D.h"
#include "system/Colour.h"

namespace {

float dot(const FPoint3D& a, const FPoint3D& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// What `CCW` and `CW` compare with 0.
float turn(const FPoint3D& p, const FPoint3D& a, const FPoint3D& b, bool flat) {
  if (flat) return (a.x - p.x) * (b.y - p.y) - (a.y - p.y) * (b.x - p.x);
  return -((p.y * a.z - p.z * a.y) * b.x + (p.z * a.x - p.x * a.z) * b.y + (p.x * a.y - p.y * a.x) * b.z);
}

}  // namespace

FPoint3D::FPoint3D(const APoint3D& v)
    : x(fixed::toFloat(v.x)), y(fixed::toFloat(v.y)), z(fixed::toFloat(v.z)) {}

void FPoint3D::Unified() {
  const float sum = dot(*this, *this);
  if (sum != 0.0F) *this *= 1.0F / std::sqrt(sum);
}

void FPoint3D::Normal(float x_, float y_, float z_) {
  const FPoint3D given(x_, y_, z_);
  *this = dot(given, given) == 0.0F ? FPoint3D() : given;
  Unified();
}

void FPoint3D::NormalOne(float x_, float y_, float z_) {
  Normal(x_, y_, z_);
}

bool FPoint3D::CCW(const FPoint3D& a, const FPoint3D& b, bool flat) const {
  return turn(*this, a, b, flat) > 0.0F;
}

bool FPoint3D::CW(const FPoint3D& a, const FPoint3D& b, bool flat) const {
  return turn(*this, a, b, flat) < 0.0F;
}

void FPoint3D::ClacRefractionVector(const FPoint3D& n, const FPoint3D& v, float ratio) {
  const float r = 1.0F / ratio;
  const float c = dot(n, v);
  const float k = std::sqrt(1.0F - r * r * (1.0F - c * c));
  *this = (r * c - k) * n - r * v;
  Unified();
}

void FPoint3D::ClacRefractionVector(const FPoint3D& n, float ratio) {
  ClacRefractionVector(n, FPoint3D(0.0F, 0.0F, 1.0F), ratio);
}

void FPoint3D::HSL2RGB(FPoint3D& out) const {
  HSL_to_RGB(x, y, z, &out.x, &out.y, &out.z);
}

std::uint32_t FPoint3D::ToRGB() const {
  return PackRGB(x, y, z);
}

FPoint3D& FPoint3D::operator+=(const FPoint3D& other) {
  *this = FPoint3D(x + other.x, y + other.y, z + other.z);
  return *this;
}

FPoint3D& FPoint3D::operator-=(const FPoint3D& other) {
  *this = FPoint3D(x - other.x, y - other.y, z - other.z);
  return *this;
}

FPoint3D& FPoint3D::operator*=(float factor) {
  *this = FPoint3D(x * factor, y * factor, z * factor);
  return *this;
}
