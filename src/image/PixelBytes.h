#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Pixels, 16-bit values and 64-bit pixels are big-endian in memory on every platform, so that an image is
/// the same bytes everywhere and goes into files as it is. The functions here alone know it; the values that
/// they give and take are native integers.
namespace pixelbytes {

/// Turns a native integer into the one whose bytes in memory are the value's, big-endian, and back.
///
/// Bit-wise work, equality and byte-wise arithmetic come out the same on turned integers as on values. Loops
/// over pixels therefore turn their constants round once and leave the pixels as they lie.
template <std::unsigned_integral T>
constexpr T turned(T value) {
  if constexpr (std::endian::native == std::endian::little) {
    T reversed = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      reversed = static_cast<T>(reversed | (((value >> (8 * i)) & 0xFF) << (8 * (sizeof(T) - 1 - i))));
    }
    return reversed;
  } else {
    return value;
  }
}

/// The integer at `at` as the machine reads it; `at` need not be aligned.
template <std::unsigned_integral T>
T loadTurned(const unsigned char* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}
template <std::unsigned_integral T>
void storeTurned(unsigned char* at, T value) {
  std::memcpy(at, &value, sizeof value);
}

/// The big-endian value at `at`, which need not be aligned.
template <std::unsigned_integral T>
T load(const unsigned char* at) {
  return turned(loadTurned<T>(at));
}
template <std::unsigned_integral T>
void store(unsigned char* at, T value) {
  storeTurned(at, turned(value));
}

/// Pixels of 32 bits in a line of the cache, which are as many as the longest vectors have.
inline constexpr std::size_t kLinePixels = 16;

/// Pixels in front of the next line of the cache. Loads and stores that lie in two lines take twice as long.
inline std::size_t pixelsToLine(const unsigned char* pixels) {
  return (0 - reinterpret_cast<std::uintptr_t>(pixels)) / 4 % kLinePixels;
}

/// Asks for the line of the cache that a row has 4,096 bytes behind `at`, or what lies there. Processors look
/// ahead by themselves, but neither so far nor into another page.
inline void prefetch([[maybe_unused]] const unsigned char* at) {
#if defined(__GNUC__)
  __builtin_prefetch(at + 4096);
#endif
}

}  // namespace pixelbytes
