#include "geometry/Trig.h"

#include <cstdint>

#include "Truncate.h"

namespace {

constexpr double kPi = 3.14159265358979323846;
// pi / 2 in two parts: the first has so few digits that its multiples up to 2^19 are exact.
constexpr double kHalfPiHigh = 1.57079632673412561417e+00;
constexpr double kHalfPiLow = 6.07710050650619224932e-11;

/// The sum x - x^3 / d1 + x^5 / (d1 d2) - ..., where `divisor` tells d1, d2, ...
template <class Divisor>
double alternating(double first, double square, int terms, Divisor divisor) {
  double sum = 1.0;
  for (int k = terms; k > 0; --k) sum = 1.0 - square / divisor(k) * sum;
  return first * sum;
}

/// The arc tangent for 0 to 1, by its series around 0 or around 1.
double arcTangent(double t) {
  const bool large = t > 0.41421356237309505;  // tan (pi / 8)
  const double u = large ? (t - 1.0) / (t + 1.0) : t;
  const double square = u * u;
  double sum = 0.0;
  for (int k = 24; k >= 0; --k) sum = 1.0 / (2 * k + 1) - square * sum;
  return (large ? kPi / 4 : 0.0) + u * sum;
}

}  // namespace

trig::SineCosine trig::sineCosine(double angle) {
  const double quarters = angle * (2.0 / kPi);
  const std::int32_t quarter = truncateToInt32(quarters + (quarters < 0 ? -0.5 : 0.5));
  const double rest = angle - quarter * kHalfPiHigh - quarter * kHalfPiLow;
  const double square = rest * rest;
  const double s = alternating(rest, square, 9, [](int k) { return 2.0 * k * (2 * k + 1); });
  const double c = alternating(1.0, square, 9, [](int k) { return 2.0 * k * (2 * k - 1); });
  switch (quarter & 3) {
    case 0:
      return {s, c};
    case 1:
      return {c, -s};
    case 2:
      return {-s, -c};
    default:
      return {-c, s};
  }
}

double trig::angleOf(double x, double y) {
  const double width = x < 0 ? -x : x;
  const double height = y < 0 ? -y : y;
  if (width == 0.0 && height == 0.0) return 0.0;
  double angle = height <= width ? arcTangent(height / width) : kPi / 2 - arcTangent(width / height);
  if (x < 0) angle = kPi - angle;
  return y < 0 ? -angle : angle;
}
