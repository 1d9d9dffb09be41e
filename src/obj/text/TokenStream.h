#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace WavefrontOBJ {

/// Extraction from one piece of text with the rules of a C-locale string stream, without the stream: the same
/// characters are used up, the same states result. Where today's streams store 0 or a limit for a number that
/// they cannot extract, this leaves the target as it was.
class OBJTokenStream {
 public:
  explicit OBJTokenStream(std::string_view text) : text_(text) {}

  /// An extraction has run into the end of the text.
  bool atEnd() const { return atEnd_; }
  /// No extraction has failed or run into the end.
  bool good() const { return !atEnd_ && !failed_; }

  /// The next white-space-delimited token. False, with `token` as it was, when there is none.
  bool extract(std::string& token);
  /// The next character that is not white space.
  bool extract(char& character);
  /// An optional sign and decimal digits. Digits of a number that does not fit are used up, too.
  bool extract(std::int32_t& value);
  /// Likewise; "-1" is 4294967295 as in any unsigned extraction.
  bool extract(std::uint32_t& value);
  /// Sign, decimal digits with a point, exponent. No hexadecimal, "inf" or "nan".
  bool extract(double& value);

 private:
  bool skipWhiteSpace();
  bool fail() {
    failed_ = true;
    return false;
  }
  bool peek(char& c);
  bool extractMagnitude(std::uint64_t limit, std::uint64_t negativeLimit, bool& negative,
                        std::uint64_t& magnitude);

  std::string_view text_;
  std::size_t position_ = 0;
  bool atEnd_ = false;
  bool failed_ = false;
};

/// White space of the C locale.
constexpr bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
/// `tolower` of the C locale.
constexpr char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace WavefrontOBJ
