#include "image/PixelPlanes.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "image/PixelBytes.h"
#include "image/VectorClones.h"

namespace planes {
namespace {

// Pixels whose planes are made together: they are read from memory once and then from the cache.
constexpr std::size_t kBlock = 4096;

/// How far byte `offset` of a pixel in memory is shifted up in the machine's 32-bit word.
constexpr int shiftOf(int offset) {
  return std::endian::native == std::endian::little ? 8 * offset : 24 - 8 * offset;
}

template <int kShift>
inline void shiftDown(unsigned char* to, const unsigned char* pixels, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    to[i] = static_cast<unsigned char>(pixelbytes::loadTurned<std::uint32_t>(pixels + 4 * i) >> kShift);
  }
}

// Byte `offset` of each pixel. Shifts that the compiler knows make quicker loops.
KSMTH_VECTOR_CLONES
void copyChannel(unsigned char* to, const unsigned char* pixels, std::int32_t offset, std::size_t count) {
  switch (shiftOf(offset)) {
    case 0:
      return shiftDown<0>(to, pixels, count);
    case 8:
      return shiftDown<8>(to, pixels, count);
    case 16:
      return shiftDown<16>(to, pixels, count);
    default:
      return shiftDown<24>(to, pixels, count);
  }
}

}  // namespace

void split(const ABitMap& map, std::size_t first, std::size_t count, std::span<const Plane> planes) {
  const std::int64_t bytes = map.BufferBytes();
  const auto stored = static_cast<std::size_t>(bytes / 4);
  const std::size_t whole = std::min(count, stored - std::min(stored, first));
  const auto inPixel = [](const Plane& plane) { return plane.offset >= 0 && plane.offset <= 3; };
  for (std::size_t done = 0; done < whole; done += kBlock) {
    const std::size_t now = std::min(kBlock, whole - done);
    for (const Plane& plane : planes) {
      if (!inPixel(plane)) continue;
      copyChannel(plane.to + done, map.buffer + (first + done) * 4, plane.offset, now);
    }
  }
  for (const Plane& plane : planes) {
    for (std::size_t i = inPixel(plane) ? whole : 0; i < count; ++i) {
      const std::int64_t at = static_cast<std::int64_t>(first + i) * 4 + plane.offset;
      plane.to[i] = at >= 0 && at < bytes ? map.buffer[at] : plane.outside;
    }
  }
}

KSMTH_VECTOR_CLONES
void compare(unsigned char* to, const unsigned char* pixels, std::int64_t threshold, std::size_t count) {
  if (threshold > INT32_MAX || threshold <= INT32_MIN) {
    std::memset(to, threshold > INT32_MAX ? 255 : 0, count);
    return;
  }
  const auto limit = static_cast<std::int32_t>(threshold);
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = static_cast<std::int32_t>(pixelbytes::load<std::uint32_t>(pixels + 4 * i));
    to[i] = static_cast<unsigned char>(value < limit ? 255 : 0);
  }
}

void join(const unsigned char* const (&planes)[4], std::size_t count, unsigned char* pixels) {
  unsigned char none[kBlock] = {};
  for (std::size_t done = 0; done < count; done += kBlock) {
    const std::size_t now = std::min(kBlock, count - done);
    const auto from = [&](int i) { return planes[i] == nullptr ? none : planes[i] + done; };
    const unsigned char* const red = from(0);
    const unsigned char* const green = from(1);
    const unsigned char* const blue = from(2);
    const unsigned char* const alpha = from(3);
    unsigned char* const to = pixels + 4 * done;
    for (std::size_t i = 0; i < now; ++i) {
      const std::uint32_t word = std::uint32_t{alpha[i]} << shiftOf(0) | std::uint32_t{red[i]} << shiftOf(1) |
                                 std::uint32_t{green[i]} << shiftOf(2) | std::uint32_t{blue[i]} << shiftOf(3);
      pixelbytes::storeTurned(to + 4 * i, word);
    }
  }
}

}  // namespace planes
