#pragma once

#include <cstddef>
#include <cstdint>

#include "image/PixelBytes.h"
#include "image/RowKernels.h"

/// The low `depth` bits of `value` as often as they fit into eight bytes, as they lie in memory. Depth 8, 16,
/// 32 or 64.
constexpr std::uint64_t pixelPattern(std::uint64_t value, std::int32_t depth) {
  if (depth == 8) value = (value & 0xFF) * 0x0101010101010101;
  if (depth == 16) value = (value & 0xFFFF) * 0x0001000100010001;
  if (depth == 32) value = (value & 0xFFFFFFFF) * 0x0000000100000001;
  return pixelbytes::turned(value);
}

/// Repeats the pattern over each row; the last may be a part of it.
void fillPattern(const rowkernels::Rows& to, std::uint64_t pattern);
inline void fillPattern(unsigned char* to, std::uint64_t pattern, std::size_t bytes) {
  fillPattern({to, bytes, 1, bytes}, pattern);
}

/// Writes `count` 32-bit pixels of one value.
inline void fillPixels(unsigned char* to, std::uint32_t value, std::size_t count) {
  fillPattern(to, pixelPattern(value, 32), 4 * count);
}
