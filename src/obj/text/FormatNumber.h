#pragma once

#include <cstdint>

namespace WavefrontOBJ {

/// Bytes that the two functions below write at most.
inline constexpr int kMaxNumberText = 16;

/// Writes `value` as a C-locale stream does with the show-point flag and a precision of 6 (`%#.6g`): six
/// significant digits, correctly rounded from the exact value (ties to even), the point and trailing zeros
/// always there, an exponent below 1e-4 and from 1e6 on, "inf" and "nan" with a sign. The same text on every
/// platform. Answers the end of the text; no NUL is written.
char* formatCoordinate(char* out, float value);

/// The exact but slow way to the same text, for all values. `formatCoordinate` takes it where its own
/// arithmetic could be inexact; tests compare the two.
char* formatCoordinateExactly(char* out, float value);

/// Writes `value` in decimal.
char* formatUnsigned(char* out, std::uint32_t value);

}  // namespace WavefrontOBJ
