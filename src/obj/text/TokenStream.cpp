#include "obj/text/TokenStream.h"

#include <limits>

#include "obj/text/DecimalNumber.h"

namespace WavefrontOBJ {

/// The character that stands next; false at the end, which is then noted.
bool OBJTokenStream::peek(char& c) {
  if (position_ == text_.size()) {
    atEnd_ = true;
    return false;
  }
  c = text_[position_];
  return true;
}

/// What every extraction does first. False when the stream is spent or only white space is left.
bool OBJTokenStream::skipWhiteSpace() {
  if (!good()) return fail();
  while (position_ < text_.size() && isSpace(text_[position_])) ++position_;
  if (position_ < text_.size()) return true;
  atEnd_ = true;
  return fail();
}

bool OBJTokenStream::extract(std::string& token) {
  if (!skipWhiteSpace()) return false;
  const std::size_t start = position_;
  char c = 0;
  while (peek(c) && !isSpace(c)) ++position_;
  token.assign(text_.substr(start, position_ - start));
  return true;
}

bool OBJTokenStream::extract(char& character) {
  if (!skipWhiteSpace()) return false;
  character = text_[position_++];
  return true;
}

bool OBJTokenStream::extractMagnitude(std::uint64_t limit, std::uint64_t negativeLimit, bool& negative,
                                      std::uint64_t& magnitude) {
  if (!skipWhiteSpace()) return false;
  char c = text_[position_];
  negative = c == '-';
  if (c == '-' || c == '+') ++position_;
  const std::uint64_t most = negative ? negativeLimit : limit;
  bool anyDigit = false;
  bool overflow = false;
  magnitude = 0;
  for (; peek(c) && isDigit(c); ++position_) {
    anyDigit = true;
    magnitude = magnitude * 10 + static_cast<std::uint64_t>(c - '0');
    if (magnitude > most) overflow = true;
    if (overflow) magnitude = 0;
  }
  return anyDigit && !overflow ? true : fail();
}

bool OBJTokenStream::extract(std::int32_t& value) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::int32_t>::max();
  bool negative = false;
  std::uint64_t magnitude = 0;
  if (!extractMagnitude(kMax, kMax + 1, negative, magnitude)) return false;
  const auto wide = static_cast<std::int64_t>(magnitude);
  value = static_cast<std::int32_t>(negative ? -wide : wide);
  return true;
}

bool OBJTokenStream::extract(std::uint32_t& value) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
  bool negative = false;
  std::uint64_t magnitude = 0;
  if (!extractMagnitude(kMax, kMax, negative, magnitude)) return false;
  value = static_cast<std::uint32_t>(negative ? 0 - magnitude : magnitude);
  return true;
}

bool OBJTokenStream::extract(double& value) {
  if (!skipWhiteSpace()) return false;
  const std::size_t start = position_;
  char c = text_[position_];
  if (c == '-' || c == '+') ++position_;
  bool mantissa = false;
  bool point = false;
  bool exponent = false;
  bool exponentDigits = false;
  while (peek(c)) {
    if (isDigit(c)) {
      mantissa = true;
      exponentDigits = exponent;
    } else if (c == '.' && !point && !exponent) {
      point = true;
    } else if ((c == 'e' || c == 'E') && !exponent && mantissa) {
      exponent = true;
      ++position_;
      if (!peek(c)) break;
      if (c != '+' && c != '-') continue;
    } else {
      break;
    }
    ++position_;
  }
  // "1e" and "1e+" are used up but are no numbers.
  if (!mantissa || (exponent && !exponentDigits)) return fail();
  const auto number = decimalNumber<double>(text_.substr(start, position_ - start));
  if (number > std::numeric_limits<double>::max() || number < std::numeric_limits<double>::lowest()) {
    return fail();
  }
  value = number;
  return true;
}

}  // namespace WavefrontOBJ
