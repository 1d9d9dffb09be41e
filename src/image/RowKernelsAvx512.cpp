#include "image/RowKernels.h"

#if defined(KSMTH_X86_KERNELS)

// g++ 12 warns of its own header (GCC bug 105593).
#if !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#if !defined(__clang__)
#pragma GCC diagnostic pop
#endif

#include <algorithm>

#include "image/RowAgreement.h"

namespace rowkernels {
namespace {

#define KSMTH_AVX512 __attribute__((target("avx512f,avx512bw,avx512vbmi")))

// Pixels of a register.
constexpr std::size_t kPixels = 16;

// Pixels in front of the next line of the cache. Loads that lie in two lines take twice as long.
inline std::size_t pixelsToLine(const unsigned char* pixels) {
  return (0 - reinterpret_cast<std::uintptr_t>(pixels)) / 4 % kPixels;
}

// The first `count` of the pixels, at most all of them.
KSMTH_AVX512 inline __mmask16 firstOf(std::size_t count) {
  return static_cast<__mmask16>(count < kPixels ? (1U << count) - 1 : 0xFFFFU);
}

// The pixels that are there, and zeros.
KSMTH_AVX512 inline __m512i load(const unsigned char* at, __mmask16 there) {
  return _mm512_maskz_loadu_epi32(there, at);
}

// Sums of the columns of 16 pixels, the rows weighted 1, 2, 1, in 16 bits for each byte: of those with even
// and with odd numbers.
struct Columns {
  __m512i even;
  __m512i odd;
};

KSMTH_AVX512 inline Columns sumColumns(__m512i a, __m512i b, __m512i c) {
  const __m512i weights = _mm512_set1_epi16(0x0201);  // 1 for the row above, 2 for the centre
  const __m512i zero = _mm512_setzero_si512();
  // Pixels 0, 1, 4, 5 and so on, and 2, 3, 6, 7 and so on.
  const __m512i low = _mm512_add_epi16(_mm512_maddubs_epi16(_mm512_unpacklo_epi8(a, b), weights),
                                       _mm512_unpacklo_epi8(c, zero));
  const __m512i high = _mm512_add_epi16(_mm512_maddubs_epi16(_mm512_unpackhi_epi8(a, b), weights),
                                        _mm512_unpackhi_epi8(c, zero));
  return {_mm512_unpacklo_epi64(low, high), _mm512_unpackhi_epi64(low, high)};
}

// The eight pixels whose centres are the odd columns of `c`; `next` has the right neighbour of the last one.
KSMTH_AVX512 inline __m512i reduceEight(const Columns& c, const Columns& next) {
  const __m512i sides = _mm512_add_epi16(c.even, _mm512_alignr_epi64(next.even, c.even, 1));
  return _mm512_srli_epi16(_mm512_add_epi16(sides, _mm512_add_epi16(c.odd, c.odd)), 4);
}

// The sixteen pixels whose left neighbours are the even columns of `first` and `second`.
KSMTH_AVX512 inline __m512i reduceSixteen(const Columns& first, const Columns& second, const Columns& third) {
  const __m512i colors = _mm512_set1_epi32(static_cast<int>(0xFFFFFF00));
  const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
  const __m512i mixed = _mm512_packus_epi16(reduceEight(first, second), reduceEight(second, third));
  return _mm512_and_si512(_mm512_permutexvar_epi64(order, mixed), colors);
}

KSMTH_AVX512 inline Columns columnsAt(std::size_t pixel, const unsigned char* above,
                                      const unsigned char* centre, const unsigned char* below) {
  const std::size_t at = 4 * pixel;
  return sumColumns(_mm512_loadu_si512(above + at), _mm512_loadu_si512(centre + at),
                    _mm512_loadu_si512(below + at));
}

// The same of the pixels in front of number `end`. Not for all of a row: loads and stores by masks wait for
// every page that the processor does not know yet.
KSMTH_AVX512 inline Columns columnsBefore(std::size_t end, std::size_t pixel, const unsigned char* above,
                                          const unsigned char* centre, const unsigned char* below) {
  const std::size_t at = 4 * pixel;
  const __mmask16 there = firstOf(end - std::min(end, pixel));
  return sumColumns(load(above + at, there), load(centre + at, there), load(below + at, there));
}

KSMTH_AVX512 void halve(unsigned char* to, const unsigned char* above, const unsigned char* centre,
                        const unsigned char* below, std::size_t count) {
  const std::size_t end = 2 * count + 1;
  std::size_t i = 0;
  Columns first = columnsBefore(end, 0, above, centre, below);
  for (; 2 * i + 3 * kPixels <= end; i += kPixels) {
    const Columns second = columnsAt(2 * i + kPixels, above, centre, below);
    const Columns third = columnsAt(2 * i + 2 * kPixels, above, centre, below);
    _mm512_storeu_si512(to + 4 * i, reduceSixteen(first, second, third));
    first = third;
  }
  for (; i < count; i += kPixels) {
    const Columns second = columnsBefore(end, 2 * i + kPixels, above, centre, below);
    const Columns third = columnsBefore(end, 2 * i + 2 * kPixels, above, centre, below);
    _mm512_mask_storeu_epi32(to + 4 * i, firstOf(count - i), reduceSixteen(first, second, third));
    first = third;
  }
}

KSMTH_AVX512 inline std::uint64_t sameWhole(const unsigned char* a, const unsigned char* b) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < kWordPixels; i += kPixels) {
    word |=
        std::uint64_t{_mm512_cmpeq_epi32_mask(_mm512_loadu_si512(a + 4 * i), _mm512_loadu_si512(b + 4 * i))}
        << i;
  }
  return word;
}

KSMTH_AVX512 inline std::uint64_t samePart(const unsigned char* a, const unsigned char* b, std::size_t from,
                                           std::size_t to) {
  const std::uint64_t wanted = (UINT64_MAX << from) & (UINT64_MAX >> (kWordPixels - to));
  std::uint64_t word = 0;
  for (std::size_t i = from / kPixels * kPixels; i < to; i += kPixels) {
    const auto there = static_cast<__mmask16>(wanted >> i);
    word |=
        std::uint64_t{_mm512_mask_cmpneq_epi32_mask(there, load(a + 4 * i, there), load(b + 4 * i, there))}
        << i;
  }
  return ~word;
}

KSMTH_AVX512 std::size_t firstAlone(const unsigned char* a, const unsigned char* b, std::size_t count) {
  // From where a line of the cache begins.
  const std::size_t lead = (kPixels - pixelsToLine(a)) % kPixels;
  return rowkernels::firstAlone<sameWhole, samePart>(a, b, count, lead);
}

// Byte `first` of 32 pixels, and then byte `second` of them.
KSMTH_AVX512 inline __m512i gatherOrder(int first, int second) {
  const __m512i four = _mm512_set1_epi32(0x0C080400);
  const __m512i steps = _mm512_setr_epi32(0x00, 0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70, 0x00, 0x10, 0x20,
                                          0x30, 0x40, 0x50, 0x60, 0x70);
  const __m512i spread = _mm512_mullo_epi32(steps, _mm512_set1_epi32(0x01010101));
  const __m512i byte = _mm512_inserti64x4(_mm512_set1_epi8(static_cast<char>(first)),
                                          _mm256_set1_epi8(static_cast<char>(second)), 1);
  return _mm512_add_epi8(_mm512_add_epi8(four, spread), byte);
}

// Two planes of 64 pixels at `pixels`, by an order that `gatherOrder` gives.
KSMTH_AVX512 inline void storeTwo(unsigned char* first, unsigned char* second, const __m512i (&pixels)[4],
                                  __m512i order) {
  const __m512i low = _mm512_permutex2var_epi8(pixels[0], order, pixels[1]);
  const __m512i high = _mm512_permutex2var_epi8(pixels[2], order, pixels[3]);
  if (first != nullptr) _mm512_storeu_si512(first, _mm512_shuffle_i64x2(low, high, 0x44));
  if (second != nullptr) _mm512_storeu_si512(second, _mm512_shuffle_i64x2(low, high, 0xEE));
}

// The same with the planes that are wanted, from pixel `first` on.
KSMTH_AVX512 inline void splitPlainly(unsigned char* const (&to)[4], const unsigned char* pixels,
                                      std::size_t first, std::size_t count) {
  unsigned char* rest[4];
  for (std::size_t k = 0; k < 4; ++k) rest[k] = to[k] == nullptr ? nullptr : to[k] + first;
  kPlain.split(rest, pixels + 4 * first, count);
}

KSMTH_AVX512 void split(unsigned char* const (&to)[4], const unsigned char* pixels, std::size_t count) {
  constexpr std::size_t kStep = 4 * kPixels;
  const __m512i orders[2] = {gatherOrder(0, 1), gatherOrder(2, 3)};
  std::size_t i = std::min(count, pixelsToLine(pixels));
  splitPlainly(to, pixels, 0, i);
  for (; i + kStep <= count; i += kStep) {
    __m512i words[4];
    for (std::size_t k = 0; k < 4; ++k) words[k] = _mm512_loadu_si512(pixels + 4 * i + 4 * kPixels * k);
    for (std::size_t k = 0; k < 4; k += 2) {
      storeTwo(to[k] == nullptr ? nullptr : to[k] + i, to[k + 1] == nullptr ? nullptr : to[k + 1] + i, words,
               orders[k / 2]);
    }
  }
  splitPlainly(to, pixels, i, count - i);
}

}  // namespace

const Kernels kAvx512 = {halve, firstAlone, split};

}  // namespace rowkernels

#endif
