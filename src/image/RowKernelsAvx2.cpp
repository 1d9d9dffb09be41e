#include "image/RowKernels.h"

#if defined(KSMTH_X86_KERNELS)

#include <immintrin.h>

#include <bit>
#include <initializer_list>

#include "image/PixelBytes.h"
#include "image/RowAgreement.h"

namespace rowkernels {
namespace {

#define KSMTH_AVX2 __attribute__((target("avx2")))

KSMTH_AVX2 inline __m256i load(const unsigned char* at) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}
KSMTH_AVX2 inline void store(unsigned char* at, __m256i value) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(at), value);
}

// One pixel, and zeros.
KSMTH_AVX2 inline __m256i loadOne(const unsigned char* at) {
  return _mm256_zextsi128_si256(
      _mm_cvtsi32_si128(static_cast<int>(pixelbytes::loadTurned<std::uint32_t>(at))));
}

// Sums of the columns of eight pixels, the rows weighted 1, 2, 1, in 16 bits for each byte: of pixels 0, 2,
// 4, 6 and of pixels 1, 3, 5, 7.
struct Columns {
  __m256i even;
  __m256i odd;
};

KSMTH_AVX2 inline Columns sumColumns(__m256i a, __m256i b, __m256i c) {
  const __m256i weights = _mm256_set1_epi16(0x0201);  // 1 for the row above, 2 for the centre
  const __m256i zero = _mm256_setzero_si256();
  const __m256i low = _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_unpacklo_epi8(a, b), weights),
                                       _mm256_unpacklo_epi8(c, zero));  // pixels 0, 1 and 4, 5
  const __m256i high = _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_unpackhi_epi8(a, b), weights),
                                        _mm256_unpackhi_epi8(c, zero));  // 2, 3 and 6, 7
  return {_mm256_unpacklo_epi64(low, high), _mm256_unpackhi_epi64(low, high)};
}

// The four pixels whose centres are the odd columns of `c`; `next` has the right neighbour of the last one.
KSMTH_AVX2 inline __m256i reduceFour(const Columns& c, const Columns& next) {
  const __m256i later = _mm256_permute2x128_si256(c.even, next.even, 0x21);  // columns 4, 6, 8, 10
  const __m256i right = _mm256_alignr_epi8(later, c.even, 8);                // 2, 4, 6, 8
  const __m256i sides = _mm256_add_epi16(c.even, right);
  return _mm256_srli_epi16(_mm256_add_epi16(sides, _mm256_add_epi16(c.odd, c.odd)), 4);
}

// The eight pixels whose left neighbours are the even columns of `first` and `second`.
KSMTH_AVX2 inline void storeEight(unsigned char* to, const Columns& first, const Columns& second,
                                  const Columns& third) {
  const __m256i colors = _mm256_set1_epi32(static_cast<int>(0xFFFFFF00));
  // Pixels 0, 1, 4, 5 and 2, 3, 6, 7, two to 64 bits.
  const __m256i mixed = _mm256_packus_epi16(reduceFour(first, second), reduceFour(second, third));
  store(to, _mm256_and_si256(_mm256_permute4x64_epi64(mixed, 0xD8), colors));
}

KSMTH_AVX2 inline Columns columnsAt(std::size_t at, const unsigned char* above, const unsigned char* centre,
                                    const unsigned char* below) {
  return sumColumns(load(above + at), load(centre + at), load(below + at));
}

// The last eight pixels of rows: of what follows, one pixel is there.
KSMTH_AVX2 inline void halveLastEight(unsigned char* to, const unsigned char* above,
                                      const unsigned char* centre, const unsigned char* below) {
  const Columns end = sumColumns(loadOne(above + 64), loadOne(centre + 64), loadOne(below + 64));
  storeEight(to, columnsAt(0, above, centre, below), columnsAt(32, above, centre, below), end);
}

// The first eight pixels of a row at the edge, of which the first counts twice.
KSMTH_AVX2 inline __m256i loadEdge(const unsigned char* at) {
  return _mm256_permutevar8x32_epi32(load(at), _mm256_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6));
}

KSMTH_AVX2 void halve(unsigned char* to, const unsigned char* above, const unsigned char* centre,
                      const unsigned char* below, std::size_t count, bool atEdge, bool pastCaches) {
  if (count < 24) return kPlain.halve(to, above, centre, below, count, atEdge, pastCaches);
  std::size_t i = 0;
  Columns first = atEdge ? sumColumns(loadEdge(above), loadEdge(centre), loadEdge(below))
                         : columnsAt(0, above, centre, below);
  if (atEdge) {
    above -= 4;
    centre -= 4;
    below -= 4;
  }
  for (; i + 12 <= count; i += 8) {
    pixelbytes::prefetch(centre + 8 * i);
    pixelbytes::prefetch(below + 8 * i);
    const Columns second = columnsAt(8 * i + 32, above, centre, below);
    const Columns third = columnsAt(8 * i + 64, above, centre, below);
    storeEight(to + 4 * i, first, second, third);
    first = third;
  }
  // At most 11 are left; some are made once more.
  for (const std::size_t rest : {i, count - 8}) {
    if (rest + 8 <= count)
      halveLastEight(to + 4 * rest, above + 8 * rest, centre + 8 * rest, below + 8 * rest);
  }
}

// All ones for each of eight pixels that is the same.
KSMTH_AVX2 inline __m256i sameEight(const unsigned char* a, const unsigned char* b) {
  return _mm256_cmpeq_epi32(load(a), load(b));
}

KSMTH_AVX2 inline std::uint64_t sameOf32(const unsigned char* a, const unsigned char* b) {
  const __m256i low = _mm256_packs_epi32(sameEight(a, b), sameEight(a + 32, b + 32));
  const __m256i high = _mm256_packs_epi32(sameEight(a + 64, b + 64), sameEight(a + 96, b + 96));
  // Packing goes by halves of the registers: four pixels of each of the eight come one after the other.
  const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  const __m256i all = _mm256_permutevar8x32_epi32(_mm256_packs_epi16(low, high), order);
  return static_cast<std::uint32_t>(_mm256_movemask_epi8(all));
}

KSMTH_AVX2 inline std::uint64_t sameWhole(const unsigned char* a, const unsigned char* b) {
  return sameOf32(a, b) | sameOf32(a + 128, b + 128) << 32;
}

KSMTH_AVX2 inline std::uint64_t samePart(const unsigned char* a, const unsigned char* b, std::size_t from,
                                         std::size_t to) {
  const __m256i places = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
  std::uint64_t word = 0;
  for (std::size_t i = from; i < to; i += 8) {
    const __m256i left = _mm256_set1_epi32(static_cast<int>(to - i));
    const __m256i there = _mm256_cmpgt_epi32(left, places);
    const __m256i p = _mm256_maskload_epi32(reinterpret_cast<const int*>(a + 4 * i), there);
    const __m256i q = _mm256_maskload_epi32(reinterpret_cast<const int*>(b + 4 * i), there);
    const __m256i different = _mm256_andnot_si256(_mm256_cmpeq_epi32(p, q), there);
    word |= std::uint64_t{static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(different)))}
            << i;
  }
  return ~word;
}

KSMTH_AVX2 std::size_t firstAlone(const unsigned char* a, const unsigned char* b, std::size_t count) {
  return rowkernels::firstAlone<sameWhole, samePart>(a, b, count, 0);
}

// 64 bytes of a line of the cache.
template <bool kPastCaches>
KSMTH_AVX2 inline void storeLine(unsigned char* at, __m256i value) {
  for (std::size_t i = 0; i < 64; i += 32) {
    auto* const to = reinterpret_cast<__m256i*>(at + i);
    kPastCaches ? _mm256_stream_si256(to, value) : _mm256_store_si256(to, value);
  }
}

KSMTH_AVX2 inline void storeAnywhere(unsigned char* at, std::uint64_t pattern) {
  const __m256i value = _mm256_set1_epi64x(static_cast<long long>(pattern));
  store(at, value);
  store(at + 32, value);
}

// The pattern from its byte number `first` on.
inline std::uint64_t rotated(std::uint64_t pattern, std::size_t first) {
  return std::rotr(pattern, static_cast<int>(first % 8 * 8));
}

// Fills the lines of a row of at least 64 bytes that are whole. What is in front of them and behind them may
// lie over some of what is in them, but not where they go past the caches, which would bring them back.
template <bool kPastCaches>
KSMTH_AVX2 inline void fillRow(unsigned char* row, std::size_t bytes, std::uint64_t pattern) {
  const std::size_t lead = (0 - reinterpret_cast<std::uintptr_t>(row)) % 64;
  const std::size_t end = lead + (bytes - lead) / 64 * 64;
  if (kPastCaches) {
    kPlain.fill({row, lead, 1, lead}, pattern, false);
    kPlain.fill({row + end, bytes - end, 1, bytes - end}, rotated(pattern, end), false);
  } else {
    storeAnywhere(row, pattern);
    storeAnywhere(row + bytes - 64, rotated(pattern, bytes));
  }
  const __m256i line = _mm256_set1_epi64x(static_cast<long long>(rotated(pattern, lead)));
  for (std::size_t i = lead; i < end; i += 64) storeLine<kPastCaches>(row + i, line);
}

template <bool kPastCaches>
KSMTH_AVX2 inline void fillRows(Rows to, std::uint64_t pattern) {
  for (std::size_t y = 0; y < to.count; ++y) fillRow<kPastCaches>(to.at + y * to.stride, to.bytes, pattern);
}

KSMTH_AVX2 void fill(const Rows& to, std::uint64_t pattern, bool pastCaches) {
  if (to.bytes < 64) return kPlain.fill(to, pattern, pastCaches);
  pastCaches ? fillRows<true>(to, pattern) : fillRows<false>(to, pattern);
}

// 32 bytes at a time gained nothing over what the C library does.
void copy(const Rows& to, const unsigned char* from, std::size_t stride, bool pastCaches) {
  kPlain.copy(to, from, stride, pastCaches);
}

// Four pixels and four that come 16 later, byte by byte: all of their bytes 0, then all of their bytes 1 ...
KSMTH_AVX2 inline __m256i gatherBytes(const unsigned char* pixels) {
  const __m256i order = _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15,  //
                                         0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
  const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + 64));
  return _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1), order);
}

KSMTH_AVX2 void split(unsigned char* const (&to)[4], const unsigned char* pixels, std::size_t count) {
  std::size_t i = 0;
  for (; i + 32 <= count; i += 32) {
    const __m256i a = gatherBytes(pixels + 4 * i);
    const __m256i b = gatherBytes(pixels + 4 * i + 16);
    const __m256i c = gatherBytes(pixels + 4 * i + 32);
    const __m256i d = gatherBytes(pixels + 4 * i + 48);
    const __m256i ab01 = _mm256_unpacklo_epi32(a, b);
    const __m256i ab23 = _mm256_unpackhi_epi32(a, b);
    const __m256i cd01 = _mm256_unpacklo_epi32(c, d);
    const __m256i cd23 = _mm256_unpackhi_epi32(c, d);
    if (to[0] != nullptr) store(to[0] + i, _mm256_unpacklo_epi64(ab01, cd01));
    if (to[1] != nullptr) store(to[1] + i, _mm256_unpackhi_epi64(ab01, cd01));
    if (to[2] != nullptr) store(to[2] + i, _mm256_unpacklo_epi64(ab23, cd23));
    if (to[3] != nullptr) store(to[3] + i, _mm256_unpackhi_epi64(ab23, cd23));
  }
  unsigned char* rest[4];
  for (std::size_t k = 0; k < 4; ++k) rest[k] = to[k] == nullptr ? nullptr : to[k] + i;
  kPlain.split(rest, pixels + 4 * i, count - i);
}

}  // namespace

const Kernels kAvx2 = {halve, firstAlone, fill, copy, split};

}  // namespace rowkernels

#endif
