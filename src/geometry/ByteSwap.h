#pragma once

#include <cstdint>
#include <cstring>

/// `word` with its four bytes in the opposite order.
constexpr std::uint32_t byteSwapped(std::uint32_t word) {
  return word << 24 | (word & 0xFF00) << 8 | (word >> 8 & 0xFF00) | word >> 24;
}

static_assert(byteSwapped(0x11223344) == 0x44332211);

/// Swaps `count` words in place, aligned or not; nothing where `words` is null.
inline void byteSwapWords(void* words, std::int32_t count) {
  auto* at = static_cast<unsigned char*>(words);
  if (at == nullptr) return;
  for (std::int32_t i = 0; i < count; ++i, at += sizeof(std::uint32_t)) {
    std::uint32_t word = 0;
    std::memcpy(&word, at, sizeof word);
    word = byteSwapped(word);
    std::memcpy(at, &word, sizeof word);
  }
}
