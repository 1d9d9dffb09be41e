#pragma once

#include <concepts>
#include <cstdint>

#include "KSmthExport.h"

class ARect;

/// A point of the plane, or a size, or the step from one point to another: two 16.16 values (see
/// geometry/Fixed.h). x runs to the right and y down, as in images. Sums and differences wrap round.
class KSMTH_API APoint {
 public:
  constexpr APoint() = default;
  /// Of raw 16.16 values.
  constexpr APoint(std::int32_t rawX, std::int32_t rawY) : x(rawX), y(rawY) {}
  /// Raw values have no fraction to lose.
  template <class... Numbers>
  requires(std::floating_point<Numbers> || ...) APoint(Numbers...)
  = delete;
  /// Of whole units, -32768 to 32767.
  static APoint FromWhole(std::int32_t x, std::int32_t y);

  /// Becomes the top left corner of the rectangle. (A template, so that `point = {}` means a point.)
  template <std::same_as<ARect> Rect>
  APoint& operator=(const Rect& rect) {
    return *this = APoint(rect.left, rect.top);
  }

  /// Moves each coordinate that lies outside the rectangle to the nearest edge; the right and the bottom edge
  /// count as inside. Where the edges are the wrong way round, left and top win.
  void Pin(const ARect& rect);

  /// Direction of the vector (x, y) in radians as 16.16, truncated towards zero: 0 along x, growing towards y
  /// (clockwise to the eye, as y runs down), above -pi up to pi. 0 for the zero vector.
  std::int32_t Angle() const;
  /// The same as a float.
  float FAngle() const;
  /// Length of the vector (x, y) as a float, in units: single-precision square root of the sum of the
  /// squares.
  float FMagnitude() const;

  APoint& operator+=(const APoint& other);
  APoint& operator-=(const APoint& other);
  APoint operator-() const;
  friend APoint operator+(APoint a, const APoint& b) { return a += b; }
  friend APoint operator-(APoint a, const APoint& b) { return a -= b; }
  friend constexpr bool operator==(const APoint&, const APoint&) = default;

  std::int32_t x = 0;
  std::int32_t y = 0;
};

static_assert(sizeof(APoint) == 8);
