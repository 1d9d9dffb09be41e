#include "image/psd/Planes.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "image/PixelBytes.h"

namespace psd {
namespace {

// Pixels whose planes are made together: they are read from memory once and then from the cache.
constexpr std::size_t kBlock = 4096;

/// How far byte `offset` of a pixel in memory is shifted up in the machine's 32-bit word.
constexpr int shiftOf(int offset) {
  return std::endian::native == std::endian::little ? 8 * offset : 24 - 8 * offset;
}

void splitPlane(const unsigned char* pixels, std::size_t count, const Plane& plane) {
  const int shift = shiftOf(plane.offset);
  unsigned char* const to = plane.to;
  for (std::size_t i = 0; i < count; ++i) {
    to[i] = static_cast<unsigned char>(pixelbytes::loadTurned<std::uint32_t>(pixels + 4 * i) >> shift);
  }
}

std::size_t bufferBytes(const ABitMap& map) {
  return static_cast<std::size_t>(map.BufferBytes());
}

}  // namespace

void splitPlanes(const ABitMap& map, std::size_t first, std::size_t count, std::span<const Plane> planes) {
  const std::size_t stored = bufferBytes(map) / 4;
  const std::size_t whole = std::min(count, stored - std::min(stored, first));
  const auto inPixel = [](const Plane& plane) { return plane.offset >= 0 && plane.offset <= 3; };
  for (std::size_t done = 0; done < whole; done += kBlock) {
    const std::size_t now = std::min(kBlock, whole - done);
    for (const Plane& plane : planes) {
      if (!inPixel(plane)) continue;
      splitPlane(map.buffer + (first + done) * 4, now, {plane.offset, plane.to + done});
    }
  }
  for (const Plane& plane : planes) {
    const PaddedBytes bytes(map, plane.offset);
    for (std::size_t i = inPixel(plane) ? whole : 0; i < count; ++i) {
      plane.to[i] = bytes[static_cast<std::int64_t>(first + i) * 4 + plane.offset];
    }
  }
}

void thresholdPlane(const ABitMap& mask, std::int32_t threshold, std::size_t count, unsigned char* to) {
  const std::size_t whole = std::min(count, bufferBytes(mask) / 4);
  const auto below = [threshold](std::uint32_t value) {
    return static_cast<unsigned char>(static_cast<std::int32_t>(value) < threshold ? 255 : 0);
  };
  for (std::size_t i = 0; i < whole; ++i) {
    to[i] = below(pixelbytes::load<std::uint32_t>(mask.buffer + 4 * i));
  }
  if (count > whole) std::memset(to + whole, below(mask.fillValue), count - whole);
}

void joinPlanes(const unsigned char* const (&planes)[4], std::size_t count, unsigned char* pixels) {
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

}  // namespace psd
