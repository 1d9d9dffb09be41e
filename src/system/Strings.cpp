#include "system/Strings.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace {

/// `char` is unsigned on some platforms; the order of bytes must not depend on it.
signed char code(char c) {
  return static_cast<signed char>(c);
}

bool isSkippable(char c, bool skipDigits) {
  return code(c) < 33 || (skipDigits && STR_IsNumerical(c));
}

const char* compareLoose(const char* a, const char* b, bool skipDigits) {
  while (*a != '\0' && *b != '\0') {
    if (*a == *b) {
      ++a;
      ++b;
    } else if (code(*a) < 33) {  // NOLINT(bugprone-branch-clone): blanks of either go before digits
      ++a;
    } else if (code(*b) < 33) {  // NOLINT(bugprone-branch-clone)
      ++b;
    } else if (skipDigits && STR_IsNumerical(*a)) {
      ++a;
    } else if (skipDigits && STR_IsNumerical(*b)) {
      ++b;
    } else {
      return nullptr;
    }
  }
  while (*a != '\0' && isSkippable(*a, skipDigits)) ++a;
  return *a == '\0' ? b : nullptr;
}

}  // namespace

std::int16_t STR_Length(const char* text) {
  return static_cast<std::int16_t>(std::strlen(text));
}

char* STR_CopyCString(const char* from, char* to, int max) {
  for (int room = max > 0 ? max : 255; room > 0 && *from != '\0'; --room) *to++ = *from++;
  *to = '\0';
  return to;
}

void STR_C2P(const char* text, unsigned char* counted) {
  unsigned char length = 0;
  while (length < 255 && *text != '\0') {
    const char c = *text++;
    counted[++length] = static_cast<unsigned char>(c == '\n' ? '\r' : c);
  }
  counted[0] = length;
}

char STR_LowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

void STR_LowerCase(char* text) {
  for (; *text != '\0'; ++text) *text = STR_LowerCase(*text);
}

bool STR_IsDelimiter(char c) {
  return c == ',' || c == '/' || c == ':' || c == '\\';
}

bool STR_IsNumerical(char c) {
  return c >= '0' && c <= '9';
}

bool STR_IsAlpha(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool STR_IsAlphaNumeic(char c) {
  return STR_IsNumerical(c) || STR_IsAlpha(c);
}

const char* STR_CompareExact(const char* a, const char* b) {
  const std::size_t length = std::strlen(b);
  return std::strcmp(a, b) == 0 ? b + length : nullptr;
}

const char* STR_Compare(const char* a, const char* b, bool loose, bool skipDigits) {
  if (loose) return compareLoose(a, b, skipDigits);
  for (; *a != '\0'; ++a, ++b) {
    if (*a != *b) return nullptr;
  }
  return b;
}

char* STR_LongToString(long value, char* out, int width) {
  char digits[24];
  const char* const digitsEnd = std::to_chars(digits, digits + sizeof digits, value).ptr;
  const bool negative = value < 0;
  // No room for a digit beside the sign.
  const bool signAlone = negative && width == 1;
  const auto length = signAlone ? 1 : static_cast<std::size_t>(digitsEnd - digits);
  const std::size_t wanted = width > 0 ? static_cast<std::size_t>(width) : 0;
  // The zeros go in front of the sign, see the header.
  const std::size_t zeros = wanted > length ? wanted - length : 0;
  std::memset(out, '0', zeros);
  std::memcpy(out + zeros, digits, length);
  out[zeros + length] = '\0';
  return out + zeros + length;
}
