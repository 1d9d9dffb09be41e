#include "image/RowKernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <cwchar>

#include "image/PixelBytes.h"
#include "image/RowAgreement.h"
#include "image/VectorClones.h"

namespace rowkernels {
namespace {

using pixelbytes::loadTurned;
using pixelbytes::storeTurned;

namespace plain {

// Pixels that `halve` makes at a time: the sums of their source pixels, one more at the end, fit into the
// first-level cache.
constexpr std::size_t kBlock = 480;

// Sums of the columns of three rows, weighted 1, 2, 1: of every pixel's bytes by turns one in `even` and one
// in `odd`, in 16 bits each, two side by side in 32 bits. Kept so, the sums of a pixel take one addition for
// two bytes, whatever the byte order of the machine.
struct ColumnSums {
  std::uint32_t even[2 * kBlock + 1];
  std::uint32_t odd[2 * kBlock + 1];
};

KSMTH_VECTOR_CLONES
void sumRows(std::uint32_t* evenSums, std::uint32_t* oddSums, const unsigned char* above,
             const unsigned char* centre, const unsigned char* below, std::size_t pixels) {
  auto* const even = reinterpret_cast<unsigned char*>(evenSums);
  auto* const odd = reinterpret_cast<unsigned char*>(oddSums);
  for (std::size_t i = 0; i < 4 * pixels; i += 2) {
    const auto a = loadTurned<std::uint16_t>(above + i);
    const auto b = loadTurned<std::uint16_t>(centre + i);
    const auto c = loadTurned<std::uint16_t>(below + i);
    storeTurned(even + i, static_cast<std::uint16_t>((a & 0xFF) + 2 * (b & 0xFF) + (c & 0xFF)));
    storeTurned(odd + i, static_cast<std::uint16_t>((a >> 8) + 2 * (b >> 8) + (c >> 8)));
  }
}

// Every second pixel of the sums and its neighbours weighted 1, 2, 1, divided by 16, without alpha.
KSMTH_VECTOR_CLONES
void sumColumns(unsigned char* to, const ColumnSums& sums, std::size_t pixels) {
  constexpr std::uint32_t kColors = pixelbytes::turned(std::uint32_t{0x00FFFFFF});
  constexpr std::uint32_t kEven = 0x00FF00FF & kColors;
  constexpr std::uint32_t kOdd = 0xFF00FF00 & kColors;
  for (std::size_t i = 0; i < pixels; ++i) {
    const std::uint32_t even = sums.even[2 * i] + 2 * sums.even[2 * i + 1] + sums.even[2 * i + 2];
    const std::uint32_t odd = sums.odd[2 * i] + 2 * sums.odd[2 * i + 1] + sums.odd[2 * i + 2];
    storeTurned(to + 4 * i, ((even >> 4) & kEven) | ((odd << 4) & kOdd));
  }
}

void halve(unsigned char* to, const unsigned char* above, const unsigned char* centre,
           const unsigned char* below, std::size_t count, bool atEdge, [[maybe_unused]] bool pastCaches) {
  ColumnSums sums;
  for (std::size_t i = 0, at = 0; i < count; i += kBlock) {
    const std::size_t now = std::min(kBlock, count - i);
    // The column that is not there comes first.
    const std::size_t missing = atEdge && i == 0 ? 1 : 0;
    const std::size_t there = 2 * now + 1 - missing;
    sumRows(sums.even + missing, sums.odd + missing, above + 4 * at, centre + 4 * at, below + 4 * at, there);
    if (missing != 0) {
      sums.even[0] = sums.even[1];
      sums.odd[0] = sums.odd[1];
    }
    sumColumns(to + 4 * i, sums, now);
    at += there - 1;
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
  return std::memcmp(a, b, 4 * kWordPixels) == 0 ? UINT64_MAX : samePart(a, b, 0, kWordPixels);
}

std::size_t firstAlone(const unsigned char* a, const unsigned char* b, std::size_t count) {
  return rowkernels::firstAlone<sameWhole, samePart>(a, b, count, 0);
}

void fillRow(unsigned char* to, std::uint64_t pattern, std::size_t bytes) {
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
  for (; done + sizeof pattern <= bytes; done += sizeof pattern) storeTurned(to + done, pattern);
  std::memcpy(to + done, &pattern, bytes - done);
}

void fill(const Rows& to, std::uint64_t pattern, [[maybe_unused]] bool pastCaches) {
  for (std::size_t y = 0; y < to.count; ++y) fillRow(to.at + y * to.stride, pattern, to.bytes);
}

// Rows are copied by so many bytes at a time. The C library takes larger pieces to an instruction of the
// processor that is slow where source and destination are not aligned alike: 256 MB of rows took 80 ms whole,
// 40 ms by 1,024 bytes and 22 ms by 512, as long as all in one piece.
constexpr std::size_t kCopyPiece = 512;

void copy(const Rows& to, const unsigned char* from, std::size_t stride, [[maybe_unused]] bool pastCaches) {
  for (std::size_t y = 0; y < to.count; ++y) {
    for (std::size_t at = 0; at < to.bytes; at += kCopyPiece) {
      std::memcpy(to.at + y * to.stride + at, from + y * stride + at, std::min(kCopyPiece, to.bytes - at));
    }
  }
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
  constexpr std::size_t kTogether = 4096;
  for (std::size_t i = 0; i < count; i += kTogether) {
    const std::size_t now = std::min(kTogether, count - i);
    const unsigned char* const from = pixels + 4 * i;
    if (to[0] != nullptr) shiftDown<0>(to[0] + i, from, now);
    if (to[1] != nullptr) shiftDown<1>(to[1] + i, from, now);
    if (to[2] != nullptr) shiftDown<2>(to[2] + i, from, now);
    if (to[3] != nullptr) shiftDown<3>(to[3] + i, from, now);
  }
}

}  // namespace plain

}  // namespace

const Kernels kPlain = {plain::halve, plain::firstAlone, plain::fill, plain::copy, plain::split};

std::span<const Kernels* const> available() {
  struct List {
    std::array<const Kernels*, 3> kernels = {&kPlain};
    std::size_t count = 1;
    List() {
#if defined(KSMTH_X86_KERNELS)
      if (__builtin_cpu_supports("avx2")) kernels[count++] = &kAvx2;
      if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi"))
        kernels[count++] = &kAvx512;
#endif
    }
  };
  static const List list;
  return {list.kernels.data(), list.count};
}

}  // namespace rowkernels
