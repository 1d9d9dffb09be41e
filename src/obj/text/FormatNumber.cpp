#include "obj/text/FormatNumber.h"

#include <bit>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>

#include "obj/text/PowersOfTen.h"

namespace WavefrontOBJ {
namespace {

constexpr int kDigits = 6;

char* put(char* out, const char* text) {
  const std::size_t length = std::strlen(text);
  std::memcpy(out, text, length);
  return out + length;
}

/// The eight digits of `value`, which is below 10^8, as bytes of 0 to 9, the first in the lowest. They come
/// from two halves of four and four quarters of two digits, all of a kind side by side.
std::uint64_t eightDigits(std::uint32_t value) {
  const std::uint64_t halves = value / 10'000 | std::uint64_t{value % 10'000} << 32;
  const std::uint64_t hundreds = (halves * 10'486 >> 20) & 0x0000007F0000007FU;
  const std::uint64_t quarters = hundreds | (halves - 100 * hundreds) << 16;
  const std::uint64_t tens = (quarters * 103 >> 10) & 0x000F000F000F000FU;
  return tens | (quarters - 10 * tens) << 8;
}

constexpr std::uint64_t kZeros = 0x3030303030303030U;

/// Writes eight characters, the first in the lowest byte.
void store(char* out, std::uint64_t characters) {
  if constexpr (std::endian::native == std::endian::big) characters = __builtin_bswap64(characters);
  std::memcpy(out, &characters, sizeof characters);
}

/// Lays six digits, characters with the first in the lowest byte, out for the decimal exponent of the first.
/// Writes up to two characters behind the text.
char* layOut(char* out, std::uint64_t digits, int exponent) {
  if (exponent < 0 && exponent >= -4) {
    std::memcpy(out, "0.0000", kDigits);
    out += 1 - exponent;
    store(out, digits);
    return out + kDigits;
  }
  const bool scientific = exponent < 0 || exponent >= kDigits;
  const int point = 8 * (scientific ? 1 : exponent + 1);
  const std::uint64_t before = (std::uint64_t{1} << point) - 1;
  store(out, (digits & before) | std::uint64_t{'.'} << point | (digits & ~before) << 8);
  out += kDigits + 1;
  if (!scientific) return out;
  *out++ = 'e';
  *out++ = exponent < 0 ? '-' : '+';
  const int magnitude = exponent < 0 ? -exponent : exponent;
  *out++ = static_cast<char>('0' + magnitude / 10);
  *out++ = static_cast<char>('0' + magnitude % 10);
  return out;
}

char* formatSpecial(char* out, float value) {
  if (std::isnan(value)) return put(out, "nan");
  if (std::isinf(value)) return put(out, "inf");
  return put(out, "0.00000");
}

bool isSpecial(float value) {
  return value == 0.0F || !std::isfinite(value);
}

/// 10^-4 to 10^15, of which the first four are rounded.
constexpr double kLimits[] = {1e-4, 1e-3, 1e-2, 1e-1, 1e0,  1e1,  1e2,  1e3,  1e4,  1e5,
                              1e6,  1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

/// The decimal exponent of a value from 10^-4 up to, not including, 10^15: that of its power of two, or one
/// more.
int decimalExponent(float value) {
  const int binary = static_cast<int>(std::bit_cast<std::uint32_t>(value) >> 23 & 0xFF) - 127;
  const int least = binary * 1233 >> 12;
  return std::fabs(double{value}) >= kLimits[least + 5] ? least + 1 : least;
}

}  // namespace

char* formatCoordinateExactly(char* out, float value) {
  if (std::signbit(value)) *out++ = '-';
  value = std::fabs(value);
  if (isSpecial(value)) return formatSpecial(out, value);
  // "d.ddddde+XX": the digits and the exponent.
  char text[kMaxNumberText];
  const char* const end =
      std::to_chars(text, text + sizeof text, double{value}, std::chars_format::scientific, kDigits - 1).ptr;
  std::uint64_t digits = 0;
  for (int i = kDigits; i > 0; --i) digits = digits << 8 | static_cast<unsigned char>(text[i == 1 ? 0 : i]);
  int exponent = 0;
  for (const char* c = text + kDigits + 3; c != end; ++c) exponent = exponent * 10 + (*c - '0');
  return layOut(out, digits, text[kDigits + 2] == '-' ? -exponent : exponent);
}

char* formatCoordinate(char* out, float value) {
  const double magnitude = std::fabs(double{value});
  // Between these bounds the value is brought to six digits before the point by one exact multiplication, or
  // by one division whose rounding cannot reach a tie that is not one. Excess precision would round twice.
  if (FLT_EVAL_METHOD != 0 || !(magnitude >= 1e-4 && magnitude < 1e15)) {
    if (magnitude != 0.0) return formatCoordinateExactly(out, value);
    if (std::signbit(value)) *out++ = '-';
    return layOut(out, kZeros, 0);
  }
  const auto power = [](int exponent) { return kExactPowersOfTen[static_cast<std::size_t>(exponent)]; };
  int exponent = decimalExponent(value);
  const int shift = kDigits - 1 - exponent;
  const double scaled = shift >= 0 ? magnitude * power(shift) : magnitude / power(-shift);
  // The sum's last bit stands for 1: it is rounded to the nearest, ties to even.
  auto number = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(scaled + 0x1p52));
  if (number == 1'000'000) {
    number = 100'000;
    ++exponent;
  }
  // No branch: signs are as good as random.
  *out = '-';
  out += std::signbit(value) ? 1 : 0;
  return layOut(out, (eightDigits(number) | kZeros) >> 16, exponent);
}

char* formatUnsigned(char* out, std::uint32_t value) {
  constexpr std::uint32_t kEight = 100'000'000;
  if (value >= kEight) {
    if (value >= 10 * kEight) *out++ = static_cast<char>('0' + value / kEight / 10);
    *out++ = static_cast<char>('0' + value / kEight % 10);
    store(out, eightDigits(value % kEight) | kZeros);
    return out + 8;
  }
  const std::uint64_t digits = eightDigits(value);
  // The last digit stays, if all are zeros.
  const int zeros = std::countr_zero(digits | std::uint64_t{1} << 56) / 8;
  store(out, (digits | kZeros) >> 8 * zeros);
  return out + 8 - zeros;
}

}  // namespace WavefrontOBJ
