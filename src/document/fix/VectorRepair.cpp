#include "document/fix/VectorRepair.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

#include "document/LogicalLine.h"
#include "document/NumberText.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

/// The shortest text that gives this value. Finite values only.
std::string shortest(float value) {
  char text[32];
  const auto end = std::to_chars(std::begin(text), std::end(text), value);
  return {std::begin(text), end.ptr};
}

/// Makes a word that is not a decimal number one. Answers what was wrong.
FixKindBits repairWord(std::string_view word, std::string& repaired) {
  const NumberForm form = numberForm(word);
  if (form == NumberForm::notFinite) {
    repaired = "0";
    return fixBit(FixKind::numberNotFinite);
  }
  if (form == NumberForm::comma) {
    repaired = word;
    repaired[repaired.find(',')] = '.';
    if (numberForm(repaired) == NumberForm::decimal) return fixBit(FixKind::numberWithComma);
  }
  repaired = word.substr(0, numberLength(word));
  if (repaired.empty()) repaired = "0";
  return fixBit(FixKind::numberMalformed);
}

/// A number without an exponent of so many characters is in the range of single precision.
constexpr std::ptrdiff_t kShortNumber = 38;

/// Past the range of single precision.
bool isTooLarge(std::string_view word) {
  if (word.size() <= kShortNumber && word.find_first_of("eE") == std::string_view::npos) return false;
  return std::isinf(numberValue<float>(word));
}

/// Enough short numbers without an exponent, as most lines have: nothing needs to be looked at twice.
bool isPlain(std::string_view text, std::size_t least) {
  if (text.size() > kLongestFixedLine / 2) return false;
  std::size_t count = 0;
  const char* c = text.data();
  const char* const end = c + text.size();
  for (;; ++count) {
    while (c < end && (*c == ' ' || *c == '\t')) ++c;
    if (c == end) return count >= least;
    const char* const word = c;
    if (*c == '-' || *c == '+') ++c;
    const char* const digits = c;
    while (c < end && isDigit(*c)) ++c;
    if (c == digits) return false;
    if (c < end && *c == '.') {
      do {
        ++c;
      } while (c < end && isDigit(*c));
    }
    if (c < end && *c != ' ' && *c != '\t') return false;
    if (c - word > kShortNumber) return false;
  }
}

/// "1,2,3": one word that is all the numbers.
bool isCommaList(std::string_view word, std::size_t least) {
  std::size_t numbers = 0;
  for (;;) {
    const std::size_t comma = word.find(',');
    if (numberForm(word.substr(0, comma)) != NumberForm::decimal) return false;
    ++numbers;
    if (comma == std::string_view::npos) return numbers >= least;
    word.remove_prefix(comma + 1);
  }
}

}  // namespace

FixKindBits repairVector(VectorKind kind, std::string& text) {
  const std::size_t least = kind == VectorKind::texture ? 2 : 3;
  if (isPlain(text, least)) return 0;
  FixKindBits doubts = 0;
  {
    LineWords words(text);
    while (!words.nextValue().empty()) continue;
    if (const std::string_view comment = words.rest(); !comment.empty()) {
      text.resize(static_cast<std::size_t>(comment.data() - text.data()));
      doubts |= fixBit(FixKind::trailingComment);
    }
  }
  {
    LineWords words(text);
    const std::string_view only = words.next();
    if (words.next().empty() && only.find(',') != std::string_view::npos && isCommaList(only, 3)) {
      std::replace(text.begin(), text.end(), ',', ' ');
      doubts |= fixBit(FixKind::numberWithComma);
    }
  }
  // White space that is neither a blank nor a tab parts words for some readers only.
  bool rewrite =
      std::any_of(text.begin(), text.end(), [](char c) { return isSpace(c) && c != ' ' && c != '\t'; });
  std::string fixed;
  std::string repaired;
  std::size_t count = 0;
  LineWords words(text);
  for (std::string_view word = words.next(); !word.empty(); word = words.next()) {
    FixKindBits doubt = 0;
    if (numberForm(word) != NumberForm::decimal) {
      doubt = repairWord(word, repaired);
      if (count >= least && doubt != fixBit(FixKind::numberWithComma)) {
        doubts |= fixBit(FixKind::extraNumbers);
        rewrite = true;
        break;
      }
      word = repaired;
    }
    if (isTooLarge(word)) {
      doubt |= fixBit(FixKind::numberOutOfRange);
      repaired = shortest(std::copysign(std::numeric_limits<float>::max(), word[0] == '-' ? -1.0F : 1.0F));
      word = repaired;
    }
    doubts |= doubt;
    if (count++ > 0) fixed += ' ';
    fixed += word;
  }
  if (kind == VectorKind::texture && count == 1) {
    fixed += " 0";
    doubts |= fixBit(FixKind::oneTextureValue);
  } else if (count < least) {
    for (; count < least; ++count) fixed += count > 0 ? " 0" : "0";
    doubts |= fixBit(FixKind::numberMissing);
  }
  constexpr std::size_t kKeyword = 3;
  if (std::max(text.size(), fixed.size()) + kKeyword > kLongestFixedLine) {
    rewrite = true;
    if (fixed.size() + kKeyword > kLongestFixedLine) {
      doubts |= fixBit(FixKind::numberLong);
      LineWords numbers(fixed);
      std::string brief;
      for (std::size_t i = 0; i < 3; ++i) {
        const std::string_view number = numbers.next();
        if (number.empty()) break;
        if (i > 0) brief += ' ';
        brief += shortest(numberValue<float>(number));
      }
      fixed = brief;
    }
  }
  if (doubts != 0 || rewrite) text = fixed;
  return doubts;
}

}  // namespace WavefrontOBJ
