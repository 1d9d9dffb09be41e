#pragma once

#include <cstddef>
#include <cstdint>

#include "HostPointer.h"

// The host's bitmap records, read where the host keeps them and never made, changed or freed here. The
// offsets are the host's and part of the interface; what lies between the named fields is the host's
// business. Numbers have the byte order of the machine, pixels are as `ABitMap` describes them.

/// What holds the pixels of a host bitmap: the pointer lies where `buffer` lies in an `ABitMap` of the
/// host's.
struct ABMapPixels {
  std::byte host0[40];
  HostPointer<unsigned char> buffer;
};
static_assert(offsetof(ABMapPixels, buffer) == 40);

/// A bitmap of the host: the stored rectangle, which may be a part of a larger logical image.
struct ABMap {
  std::byte host0[36];
  std::int32_t left;  ///< of the stored rectangle in the logical image, in pixels
  std::int32_t top;
  std::int32_t width;  ///< of the stored rectangle
  std::int32_t height;
  std::byte host52[48];
  HostPointer<ABMapPixels> pixels;
  std::int32_t depth;  ///< bits per pixel
  std::byte host108[16];
  std::uint16_t fullWidth;  ///< of the logical image; 0: `width`
  std::uint16_t fullHeight;
  std::uint32_t fillValue;  ///< of every pixel outside the stored rectangle

  /// The first stored pixel; null without a pixel holder or without pixels in it.
  unsigned char* buffer() const { return pixels ? pixels->buffer.get() : nullptr; }
};
static_assert(offsetof(ABMap, left) == 36);
static_assert(offsetof(ABMap, top) == 40);
static_assert(offsetof(ABMap, width) == 44);
static_assert(offsetof(ABMap, height) == 48);
static_assert(offsetof(ABMap, pixels) == 100);
static_assert(offsetof(ABMap, depth) == 104);
static_assert(offsetof(ABMap, fullWidth) == 124);
static_assert(offsetof(ABMap, fullHeight) == 126);
static_assert(offsetof(ABMap, fillValue) == 128);
