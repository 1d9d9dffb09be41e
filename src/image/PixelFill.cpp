#include "image/PixelFill.h"

#include <bit>
#include <cstring>
#include <cwchar>

void fillPattern(unsigned char* to, std::uint64_t pattern, std::size_t bytes) {
  if (pattern == std::rotl(pattern, 8)) {
    std::memset(to, static_cast<int>(pattern & 0xFF), bytes);
    return;
  }
  std::size_t done = 0;
  // Where wide characters are 32-bit words, the C library fills with them at the speed of memset, which no
  // loop of this compiler comes near to in the cache.
  if constexpr (sizeof(wchar_t) == 4) {
    const bool aligned = reinterpret_cast<std::uintptr_t>(to) % alignof(wchar_t) == 0;
    if (aligned && pattern == std::rotl(pattern, 32)) {
      std::wmemset(reinterpret_cast<wchar_t*>(to), static_cast<wchar_t>(pattern & 0xFFFFFFFF), bytes / 4);
      done = bytes / 4 * 4;
    }
  }
  for (; done + sizeof pattern <= bytes; done += sizeof pattern) pixelbytes::storeTurned(to + done, pattern);
  std::memcpy(to + done, &pattern, bytes - done);
}
