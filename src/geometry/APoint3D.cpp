#include <algorithm>
#include <cmath>

#include "geometry/ByteSwap.h"
#include "geometry/Point3D.h"
#include "geometry/Trig.h"
#include "system/Host.h"

namespace {

std::int32_t dot(const APoint3D& a, const APoint3D& b) {
  return fixed::add(fixed::add(fixed::mul(a.x, b.x), fixed::mul(a.y, b.y)), fixed::mul(a.z, b.z));
}

float dot(const FPoint3D& a, const FPoint3D& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

double dotInDouble(const APoint3D& a, const APoint3D& b) {
  return fixed::toDouble(a.x) * fixed::toDouble(b.x) + fixed::toDouble(a.y) * fixed::toDouble(b.y) +
         fixed::toDouble(a.z) * fixed::toDouble(b.z);
}

FPoint3D cross(const FPoint3D& a, const FPoint3D& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

FPoint3D unified(FPoint3D v) {
  v.Unified();
  return v;
}

APoint3D fromReal(double x, double y, double z) {
  return {fixed::fromReal(x), fixed::fromReal(y), fixed::fromReal(z)};
}

/// The raw value of a component of a vector of length 256.
std::int32_t checkedL24(double component) {
  if (component <= -32767.0 || component >= 32767.0) Sys_BreakToDebugger();
  return fixed::fromReal(component);
}

}  // namespace

APoint3D::APoint3D(const FPoint3D& v) : APoint3D(fromReal(v.x, v.y, v.z)) {}

APoint3D APoint3D::FromWhole(std::int32_t x, std::int32_t y, std::int32_t z) {
  return {fixed::fromWhole(x), fixed::fromWhole(y), fixed::fromWhole(z)};
}

std::int32_t APoint3D::Magnitude() const {
  return fixed::fromReal(std::sqrt(fixed::toFloat(dot(*this, *this))));
}

float APoint3D::FMagnitude() const {
  return std::sqrt(FDot(*this));
}

float APoint3D::FDot(const APoint3D& other) const {
  return dot(FPoint3D(*this), FPoint3D(other));
}

std::int32_t APoint3D::CosAngle(const APoint3D& other) const {
  const double lengths = std::sqrt(dotInDouble(*this, *this)) * std::sqrt(dotInDouble(other, other));
  if (lengths == 0.0) return 0;
  return fixed::fromReal(std::clamp(dotInDouble(*this, other) / lengths, -1.0, 1.0));
}

void APoint3D::Cross(const APoint3D& a, const APoint3D& b) {
  *this = APoint3D(fixed::sub(fixed::mul(a.y, b.z), fixed::mul(a.z, b.y)),
                   fixed::sub(fixed::mul(a.z, b.x), fixed::mul(a.x, b.z)),
                   fixed::sub(fixed::mul(a.x, b.y), fixed::mul(a.y, b.x)));
}

void APoint3D::FCross(const APoint3D& a, const APoint3D& b) {
  *this = APoint3D(cross(FPoint3D(a), FPoint3D(b)));
}

std::int32_t APoint3D::Unified() {
  const std::int32_t magnitude = Magnitude();
  if (magnitude == 0) return 0;
  // The 1 keeps the length below 1, see the header.
  const std::int32_t factor = truncateToInt32(4294967296.0 / (magnitude + 1));
  *this = APoint3D(fixed::mul(x, factor), fixed::mul(y, factor), fixed::mul(z, factor));
  return factor;
}

void APoint3D::FUnified() {
  *this = APoint3D(unified(FPoint3D(*this)));
}

void APoint3D::FUnifiedL24() {
  const double sum = dotInDouble(*this, *this);
  if (sum == 0.0) return;
  const double scale = 256.0 / std::sqrt(sum);
  x = checkedL24(fixed::toDouble(x) * scale);
  y = checkedL24(fixed::toDouble(y) * scale);
  z = checkedL24(fixed::toDouble(z) * scale);
}

void APoint3D::Normal(const APoint3D& a, const APoint3D& b) {
  Cross(a, b);
  Unified();
}

void APoint3D::Normal(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3) {
  Normal(*p2 - *p1, *p3 - *p2);
}

void APoint3D::Normal(float x_, float y_, float z_) {
  *this = fromReal(x_, y_, z_);
  Unified();
}

void APoint3D::NormalOne(float x_, float y_, float z_) {
  FPoint3D direction;
  direction.NormalOne(x_, y_, z_);
  *this = APoint3D(direction);
}

void APoint3D::Normal_Ununified(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3) {
  Cross(*p2 - *p1, *p3 - *p2);
}

void APoint3D::FNormal(const APoint3D& a, const APoint3D& b) {
  *this = APoint3D(unified(cross(FPoint3D(a), FPoint3D(b))));
}

void APoint3D::FNormal(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3) {
  FNormal(*p2 - *p1, *p3 - *p2);
}

void APoint3D::FNormal(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3, const APoint3D* p4) {
  const FPoint3D first(*p2 - *p1);
  const FPoint3D second(*p3 - *p2);
  const FPoint3D third(*p4 - *p3);
  *this = APoint3D(unified(cross(first, second) + cross(second, third)));
}

void APoint3D::FNormal_Ununified(const APoint3D& a, const APoint3D& b) {
  FCross(a, b);
}

void APoint3D::FNormal_Ununified(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3) {
  FCross(*p2 - *p1, *p3 - *p2);
}

void APoint3D::ClacReflectionVector(const APoint3D& n, const APoint3D& d) {
  const std::int32_t twice = fixed::wrap(std::int64_t{dot(n, d)} * 2);
  *this = d - APoint3D(fixed::mul(twice, n.x), fixed::mul(twice, n.y), fixed::mul(twice, n.z));
}

void APoint3D::ClacReflectionVector(const APoint3D& n) {
  ClacReflectionVector(n, APoint3D(0, 0, fixed::kOne));
}

void APoint3D::FClacReflectionVector(const APoint3D& n, const APoint3D& d) {
  const FPoint3D normal(n);
  const FPoint3D direction(d);
  *this = APoint3D(direction - (2.0F * dot(normal, direction)) * normal);
}

void APoint3D::FClacReflectionVector(const APoint3D& n) {
  FClacReflectionVector(n, APoint3D(0, 0, fixed::kOne));
}

std::int32_t APoint3D::HAngleFromNormal() const {
  return fixed::fromReal(trig::angleOf(z, x));
}

void APoint3D::NormalFromHAngle(std::int32_t angle) {
  NormalFromOrientation(APoint3D(0, angle, 0));
}

void APoint3D::NormalFromOrientation(const APoint3D& orientation) {
  const trig::SineCosine elevation = trig::sineCosine(fixed::toDouble(orientation.x));
  const trig::SineCosine heading = trig::sineCosine(fixed::toDouble(orientation.y));
  *this = fromReal(heading.sine * elevation.cosine, elevation.sine, heading.cosine * elevation.cosine);
}

void APoint3D::RotateX(std::int32_t /*angle*/) {}

void APoint3D::RotateY(std::int32_t /*angle*/) {}

void APoint3D::RotateZ(std::int32_t /*angle*/) {}

void APoint3D::OrientationFromNormal(const APoint3D& /*normal*/) {}

void APoint3D::RotateXY(std::int32_t /*angleX*/, std::int32_t /*angleY*/, bool /*flag*/) {
  Sys_BreakToDebugger();
}

void APoint3D::EndianSwap() {
  byteSwapWords(this, 3);
}

APoint3D& APoint3D::operator+=(const APoint3D& other) {
  *this = APoint3D(fixed::add(x, other.x), fixed::add(y, other.y), fixed::add(z, other.z));
  return *this;
}

APoint3D& APoint3D::operator-=(const APoint3D& other) {
  *this = APoint3D(fixed::sub(x, other.x), fixed::sub(y, other.y), fixed::sub(z, other.z));
  return *this;
}

APoint3D APoint3D::operator-() const {
  return {fixed::neg(x), fixed::neg(y), fixed::neg(z)};
}

void APoint3D_EndianSwapBuffer(void* buffer, std::int32_t bytes) {
  byteSwapWords(buffer, bytes / 12 * 3);
}
