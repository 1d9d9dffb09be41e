#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "image/RowKernels.h"

namespace rowkernels {

/// Pixels of which a word tells whether they are the same in two rows, the first in the lowest bit.
inline constexpr std::size_t kWordPixels = 64;

/// Of each pixel of `same`, whether it or one of the kReach to the right of it agrees; `next` has the pixels
/// that follow.
inline std::uint64_t agreeNear(std::uint64_t same, std::uint64_t next) {
  // Of 2, 4, 8 and then 12 pixels.
  for (const int step : {1, 2, 4, 4}) {
    same |= same >> step | next << (64 - step);
    next |= next >> step;
  }
  static_assert(1 + 2 + 4 + 4 == kReach);
  return same;
}

/// `Kernels::firstAlone` by words, which begin `lead` pixels before the rows. kWhole(a, b) makes the word of
/// 64 pixels, kPart(a, b, from, to) that of those from number `from` to before `to`, the other bits being 1.
template <auto kWhole, auto kPart>
[[gnu::always_inline]] inline std::size_t firstAlone(const unsigned char* a, const unsigned char* b,
                                                     std::size_t count, std::size_t lead) {
  a -= 4 * lead;
  b -= 4 * lead;
  const std::size_t end = lead + count;
  const std::size_t all = end + kReach;
  std::uint64_t word = kPart(a, b, lead, std::min(all, kWordPixels));
  for (std::size_t i = 0; i < end; i += kWordPixels) {
    a += 4 * kWordPixels;
    b += 4 * kWordPixels;
    const std::size_t left = all - std::min(all, i + kWordPixels);
    const std::uint64_t next = left >= kWordPixels ? kWhole(a, b)
                               : left > 0          ? kPart(a, b, 0, left)
                                                   : UINT64_MAX;
    // Mostly, the next pixel agrees where one does not.
    if ((word | word >> 1 | next << (kWordPixels - 1)) != UINT64_MAX) {
      const std::uint64_t alone = ~agreeNear(word, next);
      if (alone != 0) return std::min(i + static_cast<std::size_t>(std::countr_zero(alone)), end) - lead;
    }
    word = next;
  }
  return count;
}

}  // namespace rowkernels
