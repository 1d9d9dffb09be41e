#include "image/PixelFill.h"

#include <bit>
#include <cstring>

void fillPattern(unsigned char* to, std::uint64_t pattern, std::size_t bytes) {
  if (pattern == std::rotl(pattern, 8)) {
    std::memset(to, static_cast<int>(pattern & 0xFF), bytes);
    return;
  }
  const std::size_t words = bytes / sizeof pattern;
  for (std::size_t i = 0; i < words; ++i) pixelbytes::storeTurned(to + sizeof pattern * i, pattern);
  std::memcpy(to + sizeof pattern * words, &pattern, bytes % sizeof pattern);
}
