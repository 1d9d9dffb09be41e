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

/// Characters of `text`, at most `max` of them.
std::size_t lengthUpTo(const char* text, std::size_t max) {
  if (text == nullptr) return 0;
  const void* const end = std::memchr(text, '\0', max);
  return end == nullptr ? max : static_cast<std::size_t>(static_cast<const char*>(end) - text);
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
  return text == nullptr ? std::int16_t{0} : static_cast<std::int16_t>(std::strlen(text));
}

char* STR_CopyCString(const char* from, char* to, int max) {
  if (to == nullptr) return nullptr;
  const std::size_t length = lengthUpTo(from, max > 0 ? static_cast<std::size_t>(max) : 255);
  if (length > 0) std::memmove(to, from, length);
  to[length] = '\0';
  return to + length;
}

void STR_C2P(const char* text, unsigned char* counted) {
  if (counted == nullptr) return;
  const std::size_t length = lengthUpTo(text, 255);
  // All at once, since the text may lie where its copy goes.
  if (length > 0) std::memmove(counted + 1, text, length);
  std::replace(counted + 1, counted + 1 + length, '\n', '\r');
  counted[0] = static_cast<unsigned char>(length);
}

char STR_LowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

void STR_LowerCase(char* text) {
  for (; text != nullptr && *text != '\0'; ++text) *text = STR_LowerCase(*text);
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
  const char* const end = STR_Compare(a, b, false, false);
  return end != nullptr && *end == '\0' ? end : nullptr;
}

const char* STR_Compare(const char* a, const char* b, bool loose, bool skipDigits) {
  if (b == nullptr) return nullptr;
  if (a == nullptr) return b;
  if (loose) return compareLoose(a, b, skipDigits);
  for (; *a != '\0'; ++a, ++b) {
    if (*a != *b) return nullptr;
  }
  return b;
}

char* STR_LongToString(long value, char* out, int width) {
  if (out == nullptr) return nullptr;
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
