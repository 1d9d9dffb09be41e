#pragma once

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

  /// Normalises to length 1. Unchanged where the sum of the squared components is 0.
  void Unified();
  /// Becomes the direction (x, y, z), of length 1; the zero vector where the sum of their squares is 0.
  void Normal(float x, float y, float z);
  /// The same: floats reach a length of 1 itself, so the two differ for `APoint3D` alone.
  void NormalOne(float x, float y, float z);

  /// Whether the way from this point over `a` to `b` turns counter-clockwise, strictly.
  ///
  /// `flat`: in x and y, with y up: (a - this) x (b - this) > 0. Otherwise by the triple product of the three
  /// as vectors: this . (a x b) < 0. The two have opposite signs; the host's callers pass their points in the
  /// order that each of them asks for.
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
/// itself.
class KSMTH_API APoint3D {
 public:
  constexpr APoint3D() = default;
  /// Of raw 16.16 values.
  constexpr APoint3D(std::int32_t rawX, std::int32_t rawY, std::int32_t rawZ) : x(rawX), y(rawY), z(rawZ) {}
  /// Stored as the F operations store.
  explicit APoint3D(const FPoint3D& v);
  /// Of whole units, -32768 to 32767.
  static APoint3D FromWhole(std::int32_t x, std::int32_t y, std::int32_t z);

  /// Length as 16.16: single-precision square root of the sum of the fixed products x*x + y*y + z*z,
  /// truncated. Right for lengths below 181; beyond that the sum wraps round, and a negative one gives 0.
  std::int32_t Magnitude() const;
  /// Length as a float, right for every vector.
  float FMagnitude() const;
  /// Dot product with `other`, as a float.
  float FDot(const APoint3D& other) const;
  /// Cosine of the angle to `other` as 16.16, -1 to 1, computed in double precision; 0 where either is the
  /// zero vector.
  std::int32_t CosAngle(const APoint3D& other) const;

  /// this = a x b.
  void Cross(const APoint3D& a, const APoint3D& b);
  void FCross(const APoint3D& a, const APoint3D& b);

  /// Normalises in fixed point and answers the factor used: 2^32 / (`Magnitude` + 1), truncated and held in
  /// 32 bits. A magnitude of 0 leaves the vector and answers 0. The 1 keeps the result just short of a length
  /// of 1 (65535 or a little less), so that products of unit vectors never overflow; the host relies on it.
  std::int32_t Unified();
  /// Normalises to length 1; the zero vector stays.
  void FUnified();
  /// Normalises to length 256 in double precision, so that raw components come near 2^24; the zero vector
  /// stays. Breaks to the debugger before a component that scales to 32767 units or more either way is
  /// stored.
  void FUnifiedL24();

  /// this = a x b, then `Unified`.
  void Normal(const APoint3D& a, const APoint3D& b);
  /// Normal of the triangle, towards the side from which the points run counter-clockwise:
  /// (p2 - p1) x (p3 - p2), then `Unified`.
  void Normal(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3);
  /// Becomes the vector (x, y, z), given in units, then `Unified`: just short of a length of 1.
  void Normal(float x, float y, float z);
  /// Becomes the direction (x, y, z) at length 1, normalised in single precision before it is stored; the
  /// zero vector where the sum of their squares is 0.
  void NormalOne(float x, float y, float z);
  /// (p2 - p1) x (p3 - p2) as it is.
  void Normal_Ununified(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3);

  /// a x b in float, normalised to length 1; the zero vector where its squared length is 0.
  void FNormal(const APoint3D& a, const APoint3D& b);
  /// Normal of the triangle, as `Normal`; the zero vector where it has no area. Edges are taken in fixed
  /// point.
  void FNormal(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3);
  /// Normal of the quadrilateral, at length 1: (p2 - p1) x (p3 - p2) + (p3 - p2) x (p4 - p3); the zero vector
  /// where the sum is 0. Edges are taken in fixed point.
  void FNormal(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3, const APoint3D* p4);
  /// a x b in float as it is, which is `FCross`.
  void FNormal_Ununified(const APoint3D& a, const APoint3D& b);
  /// (p2 - p1) x (p3 - p2) as it is: edges in fixed point, crossed in float.
  void FNormal_Ununified(const APoint3D* p1, const APoint3D* p2, const APoint3D* p3);

  /// Reflects the direction `d` at the plane with the unit normal `n`: this = d - 2 (n . d) n. (The name is
  /// spelled as its callers do.)
  void ClacReflectionVector(const APoint3D& n, const APoint3D& d);
  /// For d = (0, 0, 1): (-2 n.z n.x, -2 n.z n.y, 1 - 2 n.z^2).
  void ClacReflectionVector(const APoint3D& n);
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

  /// These four do nothing; they are there for programs built against them.
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
/// left alone. Nothing for a size below 12.
KSMTH_API void APoint3D_EndianSwapBuffer(void* buffer, std::int32_t bytes);
