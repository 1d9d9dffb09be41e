#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace WavefrontOBJ {

enum class NumberForm : std::uint8_t {
  decimal,    ///< sign, digits with a point, exponent
  notFinite,  ///< "nan", "inf" or "infinity", in any case, with a sign
  comma,      ///< a decimal number but for a comma in the place of the point
  malformed
};

/// What the whole of `word` is.
NumberForm numberForm(std::string_view word);
/// Length of the longest decimal number at the begin of `word`, 0 for none.
std::size_t numberLength(std::string_view word);
/// The value of `word` as the nearest `Float` (float or double): that of the number it begins with; 0 where
/// it begins with none. Beyond the range it is infinite.
template <class Float>
Float numberValue(std::string_view word);

extern template float numberValue<float>(std::string_view word);
extern template double numberValue<double>(std::string_view word);

}  // namespace WavefrontOBJ
