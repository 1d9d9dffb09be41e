#pragma once

#include <concepts>
#include <cstdint>

#include "KSmthExport.h"
#include "geometry/Fixed.h"

class APoint3D;

/// A vector of three floats; also a colour: (red, green, blue) or (hue, saturation, lightness), 0 to 1 each.
/// x runs to the right, y up and z towards the eye (right-handed). Arguments may be the vector itself.
class KSMTH_API FPoint3D {
 public:
  constexpr FPoint3D() = default;
  constexpr FPoint3D(float x_, float y_, float z_) : x(x_), y(y_), z(z_) {}
  /// The components as floats, rounded to 24 bits.
  explicit FPoint3D(const APoint3D& v);

  /// Normalises to length 1 in single precision, for lengths of 1e-18 to 1e19. Shorter vectors lose digits,
  /// those whose squares add up to 0 (below about 3e-23) stay; longer ones, whose squares overflow, become 0.
  void Unified();
  /// Becomes the direction (x, y, z), of length 1, measured in double precision and so for every length; the
  /// zero vector for three zeros. Not finite where one of them is not.
  void Normal(float x, float y, float z);
  /// The same: floats reach a length of 1 itself, so the two differ for `APoint3D` alone.
  void NormalOne(float x, float y, float z);

  /// Whether the way from this point over `a` to `b` turns counter-clockwise, strictly.
  ///
  /// `flat`: in x and y, with y up: (a - this) x (b - this) > 0. Otherwise by the triple product of the three
  /// as vectors: this . (a x b) < 0. The two have opposite signs, fixed by the host's contract.
  bool CCW(const FPoint3D& a, const FPoint3D& b, bool flat) const;
  /// The same expressions the other way. What is collinear (or coplanar with the origin) is neither.
  bool CW(const FPoint3D& a, const FPoint3D& b, bool flat) const;

  /// Becomes the direction, of length 1, in which light goes on behind a surface: `n` is the unit normal, `v`
  /// the unit direction from the surface to the eye, `ratio` the refractive index behind relative to before.
  /// With total internal reflection (and a `ratio` of 0) the components are not finite.
  void ClacRefractionVector(const FPoint3D& n, const FPoint3D& v, float ratio);
  /// For an eye in the direction (0, 0, 1).
  void ClacRefractionVector(const FPoint3D& n, float ratio);

  /// The colour (red, green, blue) of this (hue, saturation, lightness) into `out`, as `HSL_to_RGB` does it:
  /// `out` is left alone where the hue is out of range. `out` may be this point.
  void HSL2RGB(FPoint3D& out) const;
  /// The packed colour of this (red, green, blue), as `PackRGB` does it.
  std::uint32_t ToRGB() const;

  /// Dot product with `other`.
  float Dot(const FPoint3D& other) const { return x * other.x + y * other.y + z * other.z; }

  FPoint3D& operator+=(const FPoint3D& other);
  FPoint3D& operator-=(const FPoint3D& other);
  FPoint3D& operator*=(float factor);
  FPoint3D operator-() const { return {-x, -y, -z}; }
  friend FPoint3D operator+(FPoint3D a, const FPoint3D& b) { return a += b; }
  friend FPoint3D operator-(FPoint3D a, const FPoint3D& b) { return a -= b; }
  friend FPoint3D operator*(FPoint3D v, float factor) { return v *= factor; }
  friend FPoint3D operator*(float factor, FPoint3D v) { return v *= factor; }
  friend constexpr bool operator==(const FPoint3D&, const FPoint3D&) = default;

  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;
};

static_assert(sizeof(FPoint3D) == 12);

/// A vector of three 16.16 values (see geometry/Fixed.h). x runs to the right, y up and z towards the eye
/// (right-handed).
///
/// Operations without prefix compute in fixed point: products are fixed products, sums and differences wrap
/// round. Those that begin with F convert the components to float, compute in single precision and store
/// times 65536, truncated towards zero and held in range (`fixed::fromReal`). Arguments may be the vector
/// itself; pointers must be valid.
class KSMTH_API APoint3D {
 public:
  constexpr APoint3D() = default;
  /// Of raw 16.16 values.
  constexpr APoint3D(std::int32_t rawX, std::int32_t rawY, std::int32_t rawZ) : x(rawX), y(rawY), z(rawZ) {}
  /// Raw values have no fraction to lose: real numbers go through `FPoint3D`.
  template <class... Numbers>
  requires(std::floating_point<Numbers> || ...) APoint3D(Numbers...)
  = delete;
  /// Stored as the F operations store.
  explicit APoint3D(const FPoint3D& v);
  /// Of whole units, -32768 to 32767.
  static APoint3D FromWhole(std::int32_t x, std::int32_t y, std::int32_t z);

  /// Length as 16.16: single-precision square root of the sum of the fixed products x*x + y*y + z*z,
  /// truncated. Short vectors lose digits, as each product does: the length of components below 1/256 of a
  /// unit is 0. From a length of 181 on the sum wraps round and tells nothing; a negative one gives the
  /// lowest raw value.
  std::int32_t Magnitude() const;
  /// Length as a float, right for every vector.
  float FMagnitude() const;
  /// Dot product with `other`, as a float.
  float FDot(const APoint3D& other) const;
  /// Cosine of the angle to `other` as 16.16, -1 to 1, computed in double precision and truncated towards
  /// zero; 0 where either is the zero vector.
  std::int32_t CosAngle(const APoint3D& other) const;

  /// this = a x b.
  void Cross(const APoint3D& a, const APoint3D& b);
  /// The same in float.
  void FCross(const APoint3D& a, const APoint3D& b);

  /// Normalises in fixed point and answers the factor used: 2^32 / (`Magnitude` + 1), truncated. A magnitude
  /// of 0 leaves the vector and answers 0.
  ///
  /// The length comes out near 1. The 1 in the divisor biases it below for vectors of a unit and more (the
  /// unit vector gives 65535), so that products of unit vectors never overflow; fixed by the host's contract.
  /// Shorter vectors lose digits in `Magnitude` and may come out longer than 1. Lengths of 181 and more wrap
  /// round there and give any length. `FUnified` has no such limits.
  std::int32_t Unified();
  /// Normalises to length 1; the zero vector stays.
  void FUnified();
  /// Normalises to length 256 in double precision, so that raw components come near 2^24; the zero vector
  /// stays. A component that scaled to 32767 units or more either way would break to the debugger before it
  /// is stored.
  void FUnifiedL24();

  /// this = a x b, then `Unified`.
  void Normal(const APoint3D& a, const APoint3D& b);
  /// Normal of the triangle, towards the side from which the points run counter-clockwise:
  /// (p2 - p1) x (p3 - p2), then `Unified`.
  void Normal(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3);
  /// `NormalOne`, then `Unified`: just short of a length of 1.
  void Normal(float x, float y, float z);
  /// The same for numbers of any type, taken as floats: a plain 0 could otherwise be a pointer too.
  template <fixed::Number X, fixed::Number Y, fixed::Number Z>
  void Normal(X x_, Y y_, Z z_) {
    Normal(static_cast<float>(x_), static_cast<float>(y_), static_cast<float>(z_));
  }
  /// Becomes the direction (x, y, z) at length 1, as `FPoint3D::NormalOne` finds it, for every length; the
  /// zero vector for three zeros.
  void NormalOne(float x, float y, float z);
  /// (p2 - p1) x (p3 - p2) as it is.
  void Normal_Ununified(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3);

  /// a x b in float, normalised to length 1; the zero vector where its squared length is 0.
  void FNormal(const APoint3D& a, const APoint3D& b);
  /// Normal of the triangle, as `Normal`, at length 1; the zero vector where it has no area. The edges are
  /// taken in float too: they do not wrap round, and far-out points that differ by less than a float shows
  /// count as one.
  void FNormal(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3);
  /// Normal of the quadrilateral, at length 1: (p2 - p1) x (p3 - p2) + (p3 - p2) x (p4 - p3); the zero vector
  /// where the sum is 0. Edges as for the triangle.
  void FNormal(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3, const APoint3D* p4);
  /// a x b in float as it is, which is `FCross`.
  void FNormal_Ununified(const APoint3D& a, const APoint3D& b);
  /// (p2 - p1) x (p3 - p2) as it is: here the edges are taken in fixed point, and crossed in float.
  void FNormal_Ununified(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3);

  /// Reflects the direction `d` at the plane with the unit normal `n`: this = d - 2 (n . d) n. (The name's
  /// spelling is fixed by the host's contract.)
  void ClacReflectionVector(const APoint3D& n, const APoint3D& d);
  /// For d = (0, 0, 1): (-2 n.z n.x, -2 n.z n.y, 1 - 2 n.z^2).
  void ClacReflectionVector(const APoint3D& n);
  /// The two in float.
  void FClacReflectionVector(const APoint3D& n, const APoint3D& d);
  void FClacReflectionVector(const APoint3D& n);

  /// Heading of the vector as 16.16 radians, truncated: the angle about the y axis from +z towards +x, above
  /// -pi up to pi; 0 for a vector along y.
  std::int32_t HAngleFromNormal() const;
  /// Becomes the horizontal vector of length 1 with that heading: (sin, 0, cos), truncated.
  void NormalFromHAngle(std::int32_t angle);
  /// Becomes the vector of length 1, truncated, that an orientation in 16.16 radians turns +z to:
  /// orientation.x is the elevation towards +y, orientation.y the heading as of `HAngleFromNormal`;
  /// orientation.z, the roll about the vector itself, does not matter.
  void NormalFromOrientation(const APoint3D& orientation);

  /// These four do nothing, which is fixed by the host's contract.
  void RotateX(std::int32_t angle);
  void RotateY(std::int32_t angle);
  void RotateZ(std::int32_t angle);
  void OrientationFromNormal(const APoint3D& normal);
  /// Breaks to the debugger and does nothing else.
  void RotateXY(std::int32_t angleX, std::int32_t angleY, bool flag);

  /// Reverses the byte order of each component.
  void EndianSwap();

  APoint3D& operator+=(const APoint3D& other);
  APoint3D& operator-=(const APoint3D& other);
  APoint3D operator-() const;
  friend APoint3D operator+(APoint3D a, const APoint3D& b) { return a += b; }
  friend APoint3D operator-(APoint3D a, const APoint3D& b) { return a -= b; }
  friend constexpr bool operator==(const APoint3D&, const APoint3D&) = default;

  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t z = 0;
};

static_assert(sizeof(APoint3D) == 12);

/// `EndianSwap` on each of the `bytes` / 12 vectors in `buffer`, which need not be aligned; a remainder is
/// left alone. Nothing for a size below 12 and for null.
KSMTH_API void APoint3D_EndianSwapBuffer(void* buffer, std::int32_t bytes);
