#pragma once

#include <cstdint>
#include <type_traits>

#include "Truncate.h"

/// The 16.16 arithmetic of the geometry and of the image sampling.
///
/// A raw value is a signed 32-bit integer that stands for itself divided by 65536: 1.5 is 0x18000. It reaches
/// from -32768 up to just below 32768. Results that do not fit keep their low 32 bits, never anything
/// undefined.
namespace fixed {

/// Any built-in number.
template <class T>
concept Number = std::is_arithmetic_v<T>;

inline constexpr std::int32_t kOne = 0x10000;
inline constexpr std::int32_t kFractionMask = kOne - 1;

/// The low 32 bits of `value` as a signed number.
constexpr std::int32_t wrap(std::int64_t value) {
  return static_cast<std::int32_t>(value);
}

/// a + b, a - b and -a, wrapping.
constexpr std::int32_t add(std::int32_t a, std::int32_t b) {
  return wrap(std::int64_t{a} + b);
}
constexpr std::int32_t sub(std::int32_t a, std::int32_t b) {
  return wrap(std::int64_t{a} - b);
}
constexpr std::int32_t neg(std::int32_t a) {
  return wrap(-std::int64_t{a});
}

/// The raw value of `n` whole units; fits for -32768 to 32767.
constexpr std::int32_t fromWhole(std::int32_t n) {
  return wrap(std::int64_t{n} * kOne);
}
/// The integer part, rounded towards minus infinity: -1 for -0.5.
constexpr std::int32_t toWhole(std::int32_t raw) {
  return raw >> 16;
}
/// What `toWhole` leaves, in 1/65536: 0 to 65535.
constexpr std::int32_t fraction(std::int32_t raw) {
  return raw & kFractionMask;
}
/// The raw value rounded towards minus infinity to a whole unit.
constexpr std::int32_t floor(std::int32_t raw) {
  return raw & ~kFractionMask;
}

/// The fixed product of two raw values: the 64-bit product shifted right, so rounded towards minus infinity.
constexpr std::int32_t mul(std::int32_t a, std::int32_t b) {
  return wrap((std::int64_t{a} * b) >> 16);
}
/// The raw quotient of two raw values, from a 64-bit numerator, truncated towards zero; 0 for a `b` of 0.
constexpr std::int32_t div(std::int32_t a, std::int32_t b) {
  return b == 0 ? 0 : wrap(std::int64_t{a} * kOne / b);
}

/// The value as a real number; as a float it is rounded to 24 bits.
constexpr float toFloat(std::int32_t raw) {
  return static_cast<float>(raw) * 1.52587890625e-05F;
}
constexpr double toDouble(std::int32_t raw) {
  return raw * 1.52587890625e-05;
}
/// The raw value of a real number: times 65536, truncated towards zero, held at the ends of the range as
/// `truncateToInt32` tells.
constexpr std::int32_t fromReal(double value) {
  return truncateToInt32(value * 65536.0);
}

static_assert(add(INT32_MAX, 1) == INT32_MIN && sub(INT32_MIN, 1) == INT32_MAX &&
              neg(INT32_MIN) == INT32_MIN);
static_assert(fromWhole(-3) == -0x30000 && fromWhole(0x8000) == INT32_MIN && fromWhole(0x10001) == kOne);
static_assert(toWhole(-1) == -1 && fraction(-1) == 0xFFFF && floor(-1) == -kOne && floor(0x1FFFF) == kOne);
static_assert(mul(3 * kOne, kOne / 2) == 0x18000);  // 3 * 0.5 == 1.5
static_assert(mul(-1, 1) == -1 && mul(1, 1) == 0);  // towards minus infinity
static_assert(mul(INT32_MIN, INT32_MIN) == 0 && mul(INT32_MAX, INT32_MAX) == -kOne);
static_assert(div(kOne, 3 * kOne) == 0x5555 && div(-kOne, 3 * kOne) == -0x5555);
static_assert(div(INT32_MIN, -1) == 0 && div(1, 0) == 0);
static_assert(toFloat(-0x8000) == -0.5F && toDouble(1) * 65536.0 == 1.0);
static_assert(fromReal(-0.99999) == -65535 && fromReal(1.5) == 0x18000 && fromReal(40000.0) == INT32_MAX);

}  // namespace fixed
