#include "image/RowKernels.h"

#include <algorithm>
#include <bit>
#include <vector>

#include "image/PixelBytes.h"
#include "image/RowAgreement.h"
#include "image/VectorClones.h"

namespace rowkernels {
namespace {

using pixelbytes::loadTurned;
using pixelbytes::storeTurned;

namespace plain {

// Two bytes of a pixel at a time, 16 bits apart in a word, whatever the byte order of the machine.
struct Pairs {
  std::uint32_t even;
  std::uint32_t odd;

  explicit Pairs(std::uint32_t pixel) : even(pixel & 0x00FF00FF), odd((pixel >> 8) & 0x00FF00FF) {}
  Pairs(std::uint32_t even_, std::uint32_t odd_) : even(even_), odd(odd_) {}
};

// Weighted 1, 2, 1.
Pairs sum(const Pairs& a, const Pairs& b, const Pairs& c) {
  return {a.even + 2 * b.even + c.even, a.odd + 2 * b.odd + c.odd};
}

void halve(unsigned char* to, const unsigned char* above, const unsigned char* centre,
           const unsigned char* below, std::size_t count) {
  constexpr std::uint32_t kColors = pixelbytes::turned(std::uint32_t{0x00FFFFFF});
  const auto column = [=](std::size_t i) {
    const auto pairs = [i](const unsigned char* row) {
      return Pairs(loadTurned<std::uint32_t>(row + 4 * i));
    };
    return sum(pairs(above), pairs(centre), pairs(below));
  };
  Pairs left = column(0);
  for (std::size_t i = 0; i < count; ++i) {
    const Pairs right = column(2 * i + 2);
    const Pairs all = sum(left, column(2 * i + 1), right);
    left = right;
    storeTurned(to + 4 * i, (((all.even >> 4) & 0x00FF00FF) | ((all.odd << 4) & 0xFF00FF00)) & kColors);
  }
}

std::uint64_t samePart(const unsigned char* a, const unsigned char* b, std::size_t from, std::size_t to) {
  std::uint64_t word = 0;
  for (std::size_t i = from; i < to; ++i) {
    const bool different = loadTurned<std::uint32_t>(a + 4 * i) != loadTurned<std::uint32_t>(b + 4 * i);
    word |= std::uint64_t{different} << i;
  }
  return ~word;
}

std::uint64_t sameWhole(const unsigned char* a, const unsigned char* b) {
  return samePart(a, b, 0, kWordPixels);
}

std::size_t firstAlone(const unsigned char* a, const unsigned char* b, std::size_t count) {
  return rowkernels::firstAlone<sameWhole, samePart>(a, b, count, 0);
}

// Byte `kByte` of each pixel in memory. Shifts that the compiler knows make quicker loops.
template <int kByte>
inline void shiftDown(unsigned char* to, const unsigned char* pixels, std::size_t count) {
  constexpr int kShift = std::endian::native == std::endian::little ? 8 * kByte : 24 - 8 * kByte;
  for (std::size_t i = 0; i < count; ++i) {
    to[i] = static_cast<unsigned char>(loadTurned<std::uint32_t>(pixels + 4 * i) >> kShift);
  }
}

KSMTH_VECTOR_CLONES
void split(unsigned char* const (&to)[4], const unsigned char* pixels, std::size_t count) {
  // Pixels whose planes are made together: they are read from memory once and then from the cache.
  constexpr std::size_t kBlock = 4096;
  for (std::size_t i = 0; i < count; i += kBlock) {
    const std::size_t now = std::min(kBlock, count - i);
    const unsigned char* const from = pixels + 4 * i;
    if (to[0] != nullptr) shiftDown<0>(to[0] + i, from, now);
    if (to[1] != nullptr) shiftDown<1>(to[1] + i, from, now);
    if (to[2] != nullptr) shiftDown<2>(to[2] + i, from, now);
    if (to[3] != nullptr) shiftDown<3>(to[3] + i, from, now);
  }
}

}  // namespace plain

}  // namespace

const Kernels kPlain = {plain::halve, plain::firstAlone, plain::split};

std::span<const Kernels* const> available() {
  static const std::vector<const Kernels*> all = [] {
    std::vector<const Kernels*> list = {&kPlain};
#if defined(KSMTH_X86_KERNELS)
    if (__builtin_cpu_supports("avx2")) list.push_back(&kAvx2);
    if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi")) list.push_back(&kAvx512);
#endif
    return list;
  }();
  return all;
}

}  // namespace rowkernels
