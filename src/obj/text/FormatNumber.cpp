#include "obj/text/FormatNumber.h"

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

/// Lays six digits out for the decimal exponent of the first.
char* layOut(char* out, const char* digits, int exponent) {
  if (exponent >= kDigits || exponent < -4) {
    *out++ = digits[0];
    *out++ = '.';
    std::memcpy(out, digits + 1, kDigits - 1);
    out += kDigits - 1;
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    const int magnitude = exponent < 0 ? -exponent : exponent;
    *out++ = static_cast<char>('0' + magnitude / 10);
    *out++ = static_cast<char>('0' + magnitude % 10);
    return out;
  }
  if (exponent < 0) {
    std::memcpy(out, "0.0000", kDigits);
    out += 1 - exponent;
    std::memcpy(out, digits, kDigits);
    return out + kDigits;
  }
  std::memcpy(out, digits, kDigits);
  std::memmove(out + exponent + 2, out + exponent + 1, kDigits - 1 - static_cast<std::size_t>(exponent));
  out[exponent + 1] = '.';
  return out + kDigits + 1;
}

char* formatSpecial(char* out, float value) {
  if (std::isnan(value)) return put(out, "nan");
  if (std::isinf(value)) return put(out, "inf");
  return put(out, "0.00000");
}

bool isSpecial(float value) {
  return value == 0.0F || !std::isfinite(value);
}

constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839404142434445464748495051"
    "525"
    "35455565758596061626364656667686970717273747576777879808182838485868788899091929394959697989"
    "9";
static_assert(sizeof kDigitPairs == 201);

}  // namespace

char* formatCoordinateExactly(char* out, float value) {
  if (std::signbit(value)) *out++ = '-';
  value = std::fabs(value);
  if (isSpecial(value)) return formatSpecial(out, value);
  // "d.ddddde+XX": the digits and the exponent.
  char text[kMaxNumberText];
  const char* const end =
      std::to_chars(text, text + sizeof text, double{value}, std::chars_format::scientific, kDigits - 1).ptr;
  char digits[kDigits];
  digits[0] = text[0];
  std::memcpy(digits + 1, text + 2, kDigits - 1);
  int exponent = 0;
  for (const char* c = text + kDigits + 3; c != end; ++c) exponent = exponent * 10 + (*c - '0');
  return layOut(out, digits, text[kDigits + 2] == '-' ? -exponent : exponent);
}

char* formatCoordinate(char* out, float value) {
  const double magnitude = std::fabs(double{value});
  // Between these bounds the value is brought to six digits before the point by one exact multiplication, or
  // by one division whose rounding cannot reach a tie that is not one. Excess precision would round twice.
  if (FLT_EVAL_METHOD != 0 || !(magnitude >= 1e-4 && magnitude < 1e15)) {
    return formatCoordinateExactly(out, value);
  }
  const auto power = [](int exponent) { return kExactPowersOfTen[static_cast<std::size_t>(exponent)]; };
  int exponent = 0;
  if (magnitude >= 1.0) {
    while (magnitude >= power(exponent + 1)) ++exponent;
  } else {
    exponent = magnitude >= 1e-1 ? -1 : magnitude >= 1e-2 ? -2 : magnitude >= 1e-3 ? -3 : -4;
  }
  const int shift = kDigits - 1 - exponent;
  const double scaled = shift >= 0 ? magnitude * power(shift) : magnitude / power(-shift);
  auto number = static_cast<std::uint32_t>(scaled);
  const double rest = scaled - number;
  if (rest > 0.5 || (rest == 0.5 && number % 2 != 0)) ++number;
  if (number == 1'000'000) {
    number = 100'000;
    ++exponent;
  }
  if (std::signbit(value)) *out++ = '-';
  char digits[kDigits];
  std::memcpy(digits, kDigitPairs + std::size_t{number / 10'000} * 2, 2);
  std::memcpy(digits + 2, kDigitPairs + std::size_t{number / 100 % 100} * 2, 2);
  std::memcpy(digits + 4, kDigitPairs + std::size_t{number % 100} * 2, 2);
  return layOut(out, digits, exponent);
}

char* formatUnsigned(char* out, std::uint32_t value) {
  return std::to_chars(out, out + kMaxNumberText, value).ptr;
}

}  // namespace WavefrontOBJ
