#pragma once

#include <cfloat>
#include <cstdint>
#include <limits>

// The one way from a real number to an integer, for the host's numbers and for the support library: the same
// on every platform, with nothing out of range left to the processor.

// Wider intermediate results (x87) would round twice, and colours and normals would differ by platform.
static_assert(FLT_EVAL_METHOD == 0);

/// The integer part of `value`: truncated towards zero, the nearest end of the range where it does not fit,
/// and the lower end for NaN, as the host's processor (PowerPC) converts.
constexpr std::int32_t truncateToInt32(double value) {
  if (value >= 2147483648.0) return INT32_MAX;
  return value > -2147483649.0 ? static_cast<std::int32_t>(value) : INT32_MIN;
}

/// The same without a sign: values in (-1, 0) are 0, and whatever does not fit, NaN among it, is 2^32 - 1.
constexpr std::uint32_t truncateToUInt32(double value) {
  return value > -1.0 && value < 4294967296.0 ? static_cast<std::uint32_t>(value) : UINT32_MAX;
}

static_assert(truncateToInt32(1.9) == 1 && truncateToInt32(-1.9) == -1);
static_assert(truncateToInt32(2147483647.9) == INT32_MAX && truncateToInt32(1e300) == INT32_MAX);
static_assert(truncateToInt32(-2147483648.9) == INT32_MIN && truncateToInt32(-1e300) == INT32_MIN);
static_assert(truncateToInt32(std::numeric_limits<double>::infinity()) == INT32_MAX);
static_assert(truncateToInt32(std::numeric_limits<double>::quiet_NaN()) == INT32_MIN);
static_assert(truncateToUInt32(-0.9) == 0 && truncateToUInt32(4294967295.9) == UINT32_MAX);
static_assert(truncateToUInt32(-1.0) == UINT32_MAX && truncateToUInt32(4294967296.0) == UINT32_MAX);
static_assert(truncateToUInt32(2147483648.5) == 0x80000000 && truncateToUInt32(-1e300) == UINT32_MAX);
static_assert(truncateToUInt32(std::numeric_limits<double>::quiet_NaN()) == UINT32_MAX);
