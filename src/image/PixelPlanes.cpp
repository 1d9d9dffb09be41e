#include "image/PixelPlanes.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "image/PixelBytes.h"
#include "image/RowKernels.h"
#include "image/VectorClones.h"

namespace planes {
namespace {

// Pixels whose planes are made together: they are read from memory once and then from the cache.
constexpr std::size_t kBlock = 4096;

/// How far byte `offset` of a pixel in memory is shifted up in the machine's 32-bit word.
constexpr int shiftOf(int offset) {
  return std::endian::native == std::endian::little ? 8 * offset : 24 - 8 * offset;
}

}  // namespace

void split(const ABitMap& map, std::size_t first, std::size_t count, std::span<const Plane> planes) {
  const std::int64_t bytes = map.BufferBytes();
  const auto stored = static_cast<std::size_t>(bytes / 4);
  const std::size_t whole = std::min(count, stored - std::min(stored, first));
  const auto inPixel = [](const Plane& plane) { return plane.offset >= 0 && plane.offset <= 3; };
  const auto make = [&](unsigned char* const(&to)[4]) {
    if (whole > 0) rowkernels::best().split(to, map.buffer + first * 4, whole);
  };
  // Of a byte that several planes ask for, all but one are made apart.
  unsigned char* together[4] = {};
  for (const Plane& plane : planes) {
    if (!inPixel(plane)) continue;
    unsigned char*& to = together[plane.offset];
    if (to != nullptr) {
      unsigned char* alone[4] = {};
      alone[plane.offset] = to;
      make(alone);
    }
    to = plane.to;
  }
  make(together);
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
