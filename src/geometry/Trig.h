#pragma once

// Angles for the vectors. The platforms' own functions differ in the last digits, which truncation to 16.16
// makes visible; these are made of plain double-precision steps, which give the same everywhere.

namespace trig {

/// Sine and cosine of an angle in radians, right to about 1e-14 for angles within 40,000 of 0 (beyond every
/// 16.16 angle).
struct SineCosine {
  double sine;
  double cosine;
};
SineCosine sineCosine(double angle);

/// The angle of the vector (x, y) from x towards y, -pi to pi; 0 for the zero vector, and for finite
/// components only. Right to about 1e-15.
double angleOf(double x, double y);

}  // namespace trig
