#pragma once

#include <cstdint>
#include <limits>

// What the calls make of the host's one number, a double. The only conversions of it: none of them leaves a
// number outside the range of its target to the processor.

/// An index that no table has.
inline constexpr std::uint32_t kNoIndex = UINT32_MAX;

/// The number as an index: truncated toward zero, so that a number in (-1, 0) is 0, and wrapped round to a
/// huge index where it is -1 or less. NaN and whatever does not fit in 32 bits give `kNoIndex`: no number
/// from far away addresses an element, or the whole model.
inline std::uint32_t indexFromNumber(double number) {
  constexpr double kTwoTo32 = 4294967296.0;
  if (!(number > -kTwoTo32 && number < kTwoTo32)) return kNoIndex;
  return static_cast<std::uint32_t>(static_cast<std::int64_t>(number));
}

/// The number as a signed integer: truncated toward zero, and the nearest end of the range where it does not
/// fit; NaN gives the lower end. What the host's own processor makes of it.
inline std::int32_t integerFromNumber(double number) {
  constexpr double kTwoTo31 = 2147483648.0;
  if (number >= kTwoTo31) return INT32_MAX;
  if (!(number > -kTwoTo31)) return INT32_MIN;
  return static_cast<std::int32_t>(number);
}

/// The number in single precision: rounded to the nearest, infinite beyond the range; NaN stays.
inline float singleFromNumber(double number) {
  // Halfway between the largest float and the next step, where rounding would leave the range.
  constexpr double kTooLarge = 0x1.FFFFFFp127;
  if (number >= kTooLarge) return std::numeric_limits<float>::infinity();
  if (number <= -kTooLarge) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(number);
}
