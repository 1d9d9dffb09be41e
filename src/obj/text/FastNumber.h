#pragma once

#include <bit>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "obj/text/PowersOfTen.h"

// Numbers of well-formed lines, eight characters at a time. Everything here may read up to
// `kFastNumberOverread` bytes from where it stands, whatever the text holds, and gives up (null) rather than
// decide a case that is not plain.

namespace WavefrontOBJ {

inline constexpr int kFastNumberOverread = 16;

namespace fastNumber {

inline std::uint64_t loadLittleEndian(const char* text) {
  std::uint64_t word = 0;
  std::memcpy(&word, text, sizeof word);
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
  return word;
}

/// Digits at the start of the eight characters in `word`, 0..8, whose values `digits` then holds byte by
/// byte.
inline int leadingDigits(std::uint64_t word, std::uint64_t& digits) {
  digits = word ^ 0x3030303030303030U;
  // Adding 0x76 sets the top bit of every byte above 9. A carry only leaves bytes that are no digits.
  const std::uint64_t others = ((digits + 0x7676767676767676U) | digits) & 0x8080808080808080U;
  return std::countr_zero(others) / 8;
}

/// The number that eight digit bytes make, the first digit in the lowest byte: added up in pairs, fours and
/// eights.
inline std::uint32_t sumDigits(std::uint64_t digits) {
  digits = (digits * 10 + (digits >> 8)) & 0x00FF00FF00FF00FFU;
  digits = (digits * 100 + (digits >> 16)) & 0x0000FFFF0000FFFFU;
  return static_cast<std::uint32_t>(digits * 10000 + (digits >> 32));
}

/// Value of the first `count` (1..8) digit bytes: moved up so that zeros stand before them.
inline std::uint32_t valueOf(std::uint64_t digits, int count) {
  return sumDigits(digits << (64 - 8 * count));
}

}  // namespace fastNumber

/// A double that lies exactly between two floats, and may stand for a value on either side of the point
/// between. Any other one, the nearest to some value, rounds to a float as that value does.
inline bool liesBetweenFloats(double value) {
  return (std::bit_cast<std::uint64_t>(value) & 0x1FFFFFFFU) == 0x10000000U;
}

/// mantissa x 10^exponent, correctly rounded to single precision where that is cheap to tell. False
/// otherwise.
inline bool fastScale(std::uint64_t mantissa, int exponent, float& value) {
  // Excess precision, as of x87 arithmetic, would round twice.
  if (FLT_EVAL_METHOD != 0) return false;
  // Both factors are exact doubles, so that one operation rounds once.
  if (mantissa > (std::uint64_t{1} << 53) || exponent < -22 || exponent > 22) return false;
  const auto exact = static_cast<double>(static_cast<std::int64_t>(mantissa));
  const double power = kExactPowersOfTen[static_cast<std::size_t>(exponent < 0 ? -exponent : exponent)];
  const double scaled = exponent < 0 ? exact / power : exact * power;
  if (liesBetweenFloats(scaled)) return false;
  value = static_cast<float>(scaled);
  return true;
}

/// A decimal number, optionally with sign, point and exponent, that ends at a blank, line end or NUL.
/// Answers the character behind it; null for anything else and for values that need more than `fastScale`.
inline const char* fastFloat(const char* text, float& value) {
  using fastNumber::leadingDigits;
  using fastNumber::loadLittleEndian;
  using fastNumber::valueOf;

  const bool negative = *text == '-';
  text += negative ? 1 : 0;
  std::uint64_t digits = 0;
  const int whole = leadingDigits(loadLittleEndian(text), digits);
  if (whole == 8) return nullptr;
  std::uint64_t mantissa = whole == 0 ? 0 : valueOf(digits, whole);
  int exponent = 0;
  int digitCount = whole;
  text += whole;
  if (*text == '.') {
    ++text;
    int part = 0;
    do {
      part = leadingDigits(loadLittleEndian(text), digits);
      if (part == 0) break;
      mantissa =
          mantissa * kPowersOfTen<std::uint64_t, 9>[static_cast<std::size_t>(part)] + valueOf(digits, part);
      text += part;
      exponent -= part;
      digitCount += part;
      // 19 digits always fit in 64 bits.
      if (digitCount > 19) return nullptr;
    } while (part == 8);
  }
  if (digitCount == 0) return nullptr;
  if ((*text | 0x20) == 'e') {
    const bool down = text[1] == '-';
    text += down || text[1] == '+' ? 2 : 1;
    const int count = leadingDigits(loadLittleEndian(text), digits);
    if (count == 0 || count > 3) return nullptr;
    const auto power = static_cast<int>(valueOf(digits, count));
    exponent += down ? -power : power;
    text += count;
  }
  const auto next = static_cast<unsigned char>(*text);
  if (next > ' ' || !fastScale(mantissa, exponent, value)) return nullptr;
  value = negative ? -value : value;
  return text;
}

}  // namespace WavefrontOBJ
