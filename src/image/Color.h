#pragma once

#include <cstdint>

#include "KSmthExport.h"

/// One 32-bit pixel as it lies in memory.
class KSMTH_API AMRGB {
 public:
  /// Moves the three colours towards those of `color`: b + ((weight (c - b) + 0x8000) >> 16), stored as a
  /// byte, so rounded to the nearest. Alpha stays. `weight` is 16.16, from 0, nothing, to 0x10000, all the
  /// way; any other breaks to the debugger and is computed all the same.
  void BlendRGB(const AMRGB& color, std::int32_t weight);
  /// The same for a weight that is known to be in range.
  constexpr void BlendRGBInRange(const AMRGB& color, std::int32_t weight) {
    red = Blended(red, color.red, weight);
    green = Blended(green, color.green, weight);
    blue = Blended(blue, color.blue, weight);
  }

  /// Of 0xAARRGGBB, and back.
  static constexpr AMRGB FromValue(std::uint32_t value) {
    return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
            static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
  }
  constexpr std::uint32_t Value() const {
    return std::uint32_t{alpha} << 24 | std::uint32_t{red} << 16 | std::uint32_t{green} << 8 | blue;
  }

  std::uint8_t alpha = 0;
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;

 private:
  template <class Weight>
  static constexpr std::uint8_t Blended(std::uint8_t from, std::uint8_t to, Weight weight) {
    return static_cast<std::uint8_t>(from + ((weight * (to - from) + 0x8000) >> 16));
  }
};

static_assert(sizeof(AMRGB) == 4);
