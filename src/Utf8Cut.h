#pragma once

#include <cstddef>
#include <string_view>

/// The longest begin of `text` that has at most `bytes` bytes and ends with a character of UTF-8. Bytes that
/// are no UTF-8 count as characters of one byte.
constexpr std::string_view utf8Cut(std::string_view text, std::size_t bytes) {
  constexpr std::size_t kMostFollowing = 3;
  if (text.size() <= bytes) return text;
  const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const auto follows = [byteAt](std::size_t i) { return (byteAt(i) & 0xC0U) == 0x80U; };
  std::size_t lead = bytes;
  while (lead > 0 && bytes - lead < kMostFollowing && follows(lead)) --lead;
  const unsigned char first = byteAt(lead);
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
  return text.substr(0, bytes - lead < length ? lead : bytes);
}
