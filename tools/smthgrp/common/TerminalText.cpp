#include "smthgrp/common/TerminalText.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace smthgrp {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

constexpr Range kUnsafe[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C}, {0x200B, 0x200F},
                             {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}};
constexpr Range kCombining[] = {{0x0300, 0x036F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};
constexpr Range kWide[] = {{0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
                           {0xFE30, 0xFE6F}, {0xFF00, 0xFF60}, {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}};

template <std::size_t kCount>
bool in(const Range (&ranges)[kCount], char32_t c) {
  return std::any_of(std::begin(ranges), std::end(ranges),
                     [c](const Range& range) { return c >= range.first && c <= range.last; });
}

/// Length of the UTF-8 sequence at the start of `text` and its character; 0 when there is none.
std::size_t decode(std::string_view text, char32_t& character) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (length == 0 || length > text.size() || lead > 0xF4) return 0;
  character = length == 1 ? lead : lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) != 0x80U) return 0;
    character = character << 6U | (byte & 0x3FU);
  }
  const bool overlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
  const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
  return overlong || surrogate || character > 0x10FFFF ? 0 : length;
}

std::string escape(const char* format, unsigned value) {
  char text[16];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string escape(char32_t character) {
  switch (character) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return escape(character < 0x80 ? "\\x%02x" : "\\u%04x", static_cast<unsigned>(character));
  }
}

std::string escaped(std::string_view text, std::size_t maxWidth, bool forQuotes) {
  std::string result;
  std::size_t width = 0;
  // Where to cut so that the dots still fit.
  std::size_t cut = 0;
  while (!text.empty()) {
    char32_t character = 0;
    std::size_t length = decode(text, character);
    std::string piece;
    std::size_t columns = 0;
    if (length == 0) {
      length = 1;
      piece = escape("\\x%02x", static_cast<unsigned char>(text[0]));
      columns = piece.size();
    } else if (in(kUnsafe, character)) {
      piece = escape(character);
      columns = piece.size();
    } else if (forQuotes && (character == '"' || character == '\\')) {
      piece = {'\\', static_cast<char>(character)};
      columns = 2;
    } else {
      piece = text.substr(0, length);
      columns = in(kCombining, character) ? 0 : in(kWide, character) ? 2 : 1;
    }
    if (columns > maxWidth || width > maxWidth - columns) return result.substr(0, cut) + "...";
    result += piece;
    width += columns;
    if (maxWidth >= 3 && width <= maxWidth - 3) cut = result.size();
    text.remove_prefix(length);
  }
  return result;
}

}  // namespace

std::string printable(std::string_view text, std::size_t maxWidth) {
  return escaped(text, maxWidth, false);
}

std::string quoted(std::string_view text, std::size_t maxWidth) {
  return '"' + escaped(text, maxWidth, true) + '"';
}

std::string counted(std::size_t count, std::string_view noun, std::string_view plural) {
  std::string text = std::to_string(count) + ' ';
  if (count == 1) return text += noun;
  return plural.empty() ? (text += noun) += 's' : text += plural;
}

}  // namespace smthgrp
