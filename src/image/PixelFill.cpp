#include "image/PixelFill.h"

#include <bit>
#include <cstring>

void fillPattern(const rowkernels::Rows& to, std::uint64_t pattern) {
  if (pattern != std::rotl(pattern, 8)) {
    rowkernels::best().fill(to, pattern, to.pastCaches());
    if (to.pastCaches()) rowkernels::settle();
    return;
  }
  for (std::size_t y = 0; y < to.count; ++y) {
    std::memset(to.at + y * to.stride, static_cast<int>(pattern & 0xFF), to.bytes);
  }
}
