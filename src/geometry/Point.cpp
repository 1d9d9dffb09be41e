#include "geometry/Point.h"

#include <algorithm>
#include <cmath>

#include "geometry/Fixed.h"
#include "geometry/Rect.h"
#include "geometry/Trig.h"

namespace {

std::int32_t pinned(std::int32_t value, std::int32_t low, std::int32_t high) {
  return std::max(std::min(value, high), low);
}

}  // namespace

APoint APoint::FromWhole(std::int32_t x, std::int32_t y) {
  return {fixed::fromWhole(x), fixed::fromWhole(y)};
}

APoint& APoint::operator=(const ARect& rect) {
  x = rect.left;
  y = rect.top;
  return *this;
}

void APoint::Pin(const ARect& rect) {
  x = pinned(x, rect.left, rect.right);
  y = pinned(y, rect.top, rect.bottom);
}

std::int32_t APoint::Angle() const {
  return fixed::fromReal(trig::angleOf(x, y));
}

float APoint::FAngle() const {
  return static_cast<float>(trig::angleOf(x, y));
}

float APoint::FMagnitude() const {
  const float fx = fixed::toFloat(x);
  const float fy = fixed::toFloat(y);
  return std::sqrt(fx * fx + fy * fy);
}

APoint& APoint::operator+=(const APoint& other) {
  x = fixed::add(x, other.x);
  y = fixed::add(y, other.y);
  return *this;
}

APoint& APoint::operator-=(const APoint& other) {
  x = fixed::sub(x, other.x);
  y = fixed::sub(y, other.y);
  return *this;
}

APoint APoint::operator-() const {
  return {fixed::neg(x), fixed::neg(y)};
}
