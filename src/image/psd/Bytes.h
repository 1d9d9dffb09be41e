#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

/// Fixed parts of PSD files put together at compile time from what they mean: numbers, texts, padding.
namespace psd {

template <std::size_t N>
using Bytes = std::array<unsigned char, N>;

template <std::size_t... N>
constexpr Bytes<(0 + ... + N)> join(const Bytes<N>&... parts) {
  Bytes<(0 + ... + N)> all{};
  auto at = all.begin();
  ((at = std::copy(parts.begin(), parts.end(), at)), ...);
  return all;
}

/// A big-endian number of `N` bytes.
template <std::size_t N>
constexpr Bytes<N> number(std::uint32_t value) {
  Bytes<N> bytes{};
  for (std::size_t i = 0; i < N; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * (N - 1 - i)));
  return bytes;
}
constexpr Bytes<1> u8(std::uint32_t value) {
  return number<1>(value);
}
constexpr Bytes<2> u16(std::uint32_t value) {
  return number<2>(value);
}
constexpr Bytes<4> u32(std::uint32_t value) {
  return number<4>(value);
}

template <std::size_t N>
constexpr Bytes<N> zeros() {
  return {};
}

/// ASCII characters, without the NUL.
template <std::size_t N>
constexpr Bytes<N - 1> text(const char (&characters)[N]) {
  Bytes<N - 1> bytes{};
  for (std::size_t i = 0; i + 1 < N; ++i) bytes[i] = static_cast<unsigned char>(characters[i]);
  return bytes;
}

/// A length byte and the characters.
template <std::size_t N>
constexpr Bytes<N> pascalText(const char (&characters)[N]) {
  static_assert(N <= 256);
  return join(u8(N - 1), text(characters));
}

/// A 32-bit count of characters and the characters in UTF-16.
template <std::size_t N>
constexpr Bytes<4 + 2 * (N - 1)> unicodeText(const char (&characters)[N]) {
  Bytes<4 + 2 * (N - 1)> bytes{};
  std::copy_n(u32(N - 1).begin(), 4, bytes.begin());
  for (std::size_t i = 0; i + 1 < N; ++i) bytes[5 + 2 * i] = static_cast<unsigned char>(characters[i]);
  return bytes;
}

/// With zeros behind it up to a multiple of `Unit` bytes.
template <std::size_t Unit, std::size_t N>
constexpr Bytes<(N + Unit - 1) / Unit * Unit> padded(const Bytes<N>& bytes) {
  return join(bytes, Bytes<(N + Unit - 1) / Unit * Unit - N>{});
}

}  // namespace psd
