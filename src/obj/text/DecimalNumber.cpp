#include "obj/text/DecimalNumber.h"

#include <charconv>
#include <cstdint>
#include <limits>

namespace WavefrontOBJ {
namespace {

/// Decides for a number out of range on which side it is: true when its first digit other than 0, with the
/// exponent taken in, stands before the point.
bool isLarge(std::string_view digits, char exponentMark, int exponentPerDigit) {
  std::int64_t position = 0;  // of the first digit other than 0, counted from the point
  bool significant = false;
  bool point = false;
  std::size_t i = 0;
  for (; i < digits.size() && (digits[i] | 0x20) != exponentMark; ++i) {
    if (digits[i] == '.') {
      point = true;
    } else if (significant || digits[i] != '0') {
      significant = true;
      position += point ? 0 : 1;
    } else {
      position -= point ? 1 : 0;
    }
  }
  std::int64_t exponent = 0;
  const bool negative = i + 1 < digits.size() && digits[i + 1] == '-';
  for (++i; i < digits.size(); ++i) {
    if (digits[i] < '0' || digits[i] > '9') continue;
    if (exponent < 1'000'000'000) exponent = exponent * 10 + (digits[i] - '0');
  }
  return position * exponentPerDigit + (negative ? -exponent : exponent) > 0;
}

template <class Float>
Float convert(std::string_view text, std::chars_format format, char exponentMark, int exponentPerDigit) {
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  Float value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value, format);
  if (result.ec == std::errc::result_out_of_range) {
    value = isLarge(text, exponentMark, exponentPerDigit) ? std::numeric_limits<Float>::infinity() : Float{0};
  }
  return negative ? -value : value;
}

}  // namespace

template <class Float>
Float decimalNumber(std::string_view text) {
  return convert<Float>(text, std::chars_format::general, 'e', 1);
}

template <class Float>
Float hexNumber(std::string_view text) {
  return convert<Float>(text, std::chars_format::hex, 'p', 4);
}

template float decimalNumber<float>(std::string_view text);
template double decimalNumber<double>(std::string_view text);
template float hexNumber<float>(std::string_view text);

}  // namespace WavefrontOBJ
