#include "obj/text/ScanFloats.h"

#include <cstddef>
#include <limits>

#include "obj/text/DecimalNumber.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

/// Characters of one text, 0 past its end.
struct Cursor {
  std::string_view text;
  std::size_t position = 0;

  char peek() const { return position < text.size() ? text[position] : '\0'; }
  char peekLower() const { return lowerCase(peek()); }
  /// Steps over `word` (lower case) and answers true; false where it does not stand here in full.
  bool accept(std::string_view word) {
    for (const char c : word) {
      if (peekLower() != c) return false;
      ++position;
    }
    return true;
  }
};

constexpr bool isHexDigit(char lower) {
  return isDigit(lower) || (lower >= 'a' && lower <= 'f');
}

/// The digits of one number and what they are.
struct NumberText {
  std::string_view digits;  ///< without an incomplete exponent
  bool anyDigit = false;
  bool hex = false;
};

NumberText scanNumber(Cursor& cursor) {
  NumberText number;
  std::size_t start = cursor.position;
  if (cursor.peek() == '0') {
    ++cursor.position;
    if (cursor.peekLower() == 'x') {
      start = ++cursor.position;
      number.hex = true;
    } else {
      number.anyDigit = true;
    }
  }
  const char exponentMark = number.hex ? 'p' : 'e';
  bool point = false;
  std::size_t exponentAt = 0;
  bool exponentDigits = false;
  for (;; ++cursor.position) {
    const char c = cursor.peekLower();
    if (isDigit(c)) {
      (exponentAt != 0 ? exponentDigits : number.anyDigit) = true;
    } else if (exponentAt == 0 && number.hex && isHexDigit(c)) {
      number.anyDigit = true;
    } else if (exponentAt != 0 && cursor.position == exponentAt + 1 && (c == '-' || c == '+')) {
      continue;
    } else if (number.anyDigit && exponentAt == 0 && c == exponentMark) {
      exponentAt = cursor.position;
      point = true;
    } else if (c == '.' && !point) {
      point = true;
    } else {
      break;
    }
  }
  const std::size_t end = exponentAt != 0 && !exponentDigits ? exponentAt : cursor.position;
  number.digits = cursor.text.substr(start, end - start);
  return number;
}

bool scanFloat(Cursor& cursor, float& value) {
  while (isSpace(cursor.peek())) ++cursor.position;
  const bool negative = cursor.peek() == '-';
  if (negative || cursor.peek() == '+') ++cursor.position;

  float magnitude = 0.0F;
  if (cursor.peekLower() == 'n') {
    if (!cursor.accept("nan")) return false;
    magnitude = std::numeric_limits<float>::quiet_NaN();
  } else if (cursor.peekLower() == 'i') {
    if (!cursor.accept("inf")) return false;
    if (cursor.peekLower() == 'i' && !cursor.accept("inity")) return false;
    magnitude = std::numeric_limits<float>::infinity();
  } else {
    const NumberText number = scanNumber(cursor);
    if (number.hex) {
      if (number.digits.empty()) return false;
      // "0x." is the number 0 with characters behind it that are used up as well.
      if (number.anyDigit) magnitude = hexNumber<float>(number.digits);
    } else {
      if (!number.anyDigit) return false;
      magnitude = decimalNumber<float>(number.digits);
    }
  }
  value = negative ? -magnitude : magnitude;
  return true;
}

}  // namespace

int scanThreeFloats(std::string_view text, float values[3]) {
  Cursor cursor{text.substr(0, text.find('\0'))};
  int converted = 0;
  while (converted < 3 && scanFloat(cursor, values[converted])) ++converted;
  return converted;
}

}  // namespace WavefrontOBJ
