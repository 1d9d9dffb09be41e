#pragma once

#include <cstdint>
#include <limits>

#include "Truncate.h"

// What the calls make of the host's one number, a double. The only conversions of it: none of them leaves a
// number outside the range of its target to the processor.

/// The number as an index: truncated toward zero, so that a number in (-1, 0) is 0. One of -1 or less, one
/// that does not fit in 32 bits and NaN are an index that no table has.
inline std::uint32_t indexFromNumber(double number) {
  return truncateToUInt32(number);
}

/// The number as a signed integer: truncated toward zero, and the nearest end of the range where it does not
/// fit; NaN gives the lower end.
inline std::int32_t integerFromNumber(double number) {
  return truncateToInt32(number);
}

/// The number in single precision: rounded to the nearest, infinite beyond the range; NaN stays.
inline float singleFromNumber(double number) {
  // Halfway between the largest float and the next step, where rounding would leave the range.
  constexpr double kTooLarge = 0x1.FFFFFFp127;
  if (number >= kTooLarge) return std::numeric_limits<float>::infinity();
  if (number <= -kTooLarge) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(number);
}
