#pragma once

#include <cstdint>

/// The integer part of `value` as 32 bits, the same on every platform: truncated towards zero; a value out of
/// range gives the nearest end of the range, a NaN gives 0. Every conversion from a real number to a 32-bit
/// integer in the support library goes through here.
constexpr std::int32_t truncateToInt32(double value) {
  if (value >= 2147483648.0) return INT32_MAX;
  if (value <= -2147483649.0) return INT32_MIN;
  return value == value ? static_cast<std::int32_t>(value) : 0;
}

static_assert(truncateToInt32(1.9) == 1 && truncateToInt32(-1.9) == -1);
static_assert(truncateToInt32(2147483647.9) == INT32_MAX && truncateToInt32(1e300) == INT32_MAX);
static_assert(truncateToInt32(-2147483648.9) == INT32_MIN && truncateToInt32(-1e300) == INT32_MIN);
