#include "document/NumberText.h"

#include <algorithm>
#include <limits>

#include "obj/text/DecimalNumber.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

std::size_t digitsAt(std::string_view word, std::size_t at) {
  std::size_t end = at;
  while (end < word.size() && isDigit(word[end])) ++end;
  return end - at;
}

bool hasSign(std::string_view word) {
  return !word.empty() && (word[0] == '-' || word[0] == '+');
}

bool equalsLower(std::string_view word, std::string_view lower) {
  return std::equal(word.begin(), word.end(), lower.begin(), lower.end(),
                    [](char a, char b) { return lowerCase(a) == b; });
}

bool isInfinity(std::string_view unsignedWord) {
  return equalsLower(unsignedWord, "inf") || equalsLower(unsignedWord, "infinity");
}

}  // namespace

std::size_t numberLength(std::string_view word) {
  std::size_t end = hasSign(word) ? 1 : 0;
  const std::size_t whole = digitsAt(word, end);
  end += whole;
  if (end < word.size() && word[end] == '.') {
    const std::size_t decimals = digitsAt(word, end + 1);
    if (whole + decimals == 0) return 0;
    end += 1 + decimals;
  } else if (whole == 0) {
    return 0;
  }
  if (end < word.size() && lowerCase(word[end]) == 'e') {
    const std::size_t digits = end + (hasSign(word.substr(end + 1)) ? 2 : 1);
    const std::size_t count = digitsAt(word, digits);
    if (count > 0) end = digits + count;
  }
  return end;
}

NumberForm numberForm(std::string_view word) {
  const std::size_t length = numberLength(word);
  if (length == word.size() && length > 0) return NumberForm::decimal;
  if (length > 0 && word[length] == ',' && digitsAt(word, length + 1) > 0) return NumberForm::comma;
  const std::string_view magnitude = word.substr(hasSign(word) ? 1 : 0);
  return isInfinity(magnitude) || equalsLower(magnitude, "nan") ? NumberForm::notFinite
                                                                : NumberForm::malformed;
}

template <class Float>
Float numberValue(std::string_view word) {
  const std::size_t length = numberLength(word);
  if (length > 0) return decimalNumber<Float>(word.substr(0, length));
  const std::string_view magnitude = word.substr(hasSign(word) ? 1 : 0);
  if (equalsLower(magnitude, "nan")) return std::numeric_limits<Float>::quiet_NaN();
  if (!isInfinity(magnitude)) return 0;
  return word[0] == '-' ? -std::numeric_limits<Float>::infinity() : std::numeric_limits<Float>::infinity();
}

template float numberValue<float>(std::string_view word);
template double numberValue<double>(std::string_view word);

}  // namespace WavefrontOBJ
