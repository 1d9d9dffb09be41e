#pragma once

#include <string_view>

namespace WavefrontOBJ {

/// The value of a well-formed number text, correctly rounded to `Float` (float or double): an optional sign,
/// digits with at most one point and at least one digit, an optional exponent with digits. Beyond the range
/// it is infinite, below it 0, with the sign. Independent of the locale.
template <class Float>
Float decimalNumber(std::string_view text);
/// The same for hexadecimal digits, without the "0x", and a binary exponent after "p".
template <class Float>
Float hexNumber(std::string_view text);

extern template float decimalNumber<float>(std::string_view text);
extern template double decimalNumber<double>(std::string_view text);
extern template float hexNumber<float>(std::string_view text);

}  // namespace WavefrontOBJ
