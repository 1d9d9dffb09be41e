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
#include <initializer_list>

#include "image/PixelBytes.h"
#include "image/RowAgreement.h"

namespace rowkernels {
namespace {

#define KSMTH_AVX512 __attribute__((target("avx512f,avx512bw,avx512vbmi")))

// Pixels of a register.
constexpr std::size_t kPixels = pixelbytes::kLinePixels;

using pixelbytes::pixelsToLine;

// The first `count` of the pixels, at most all of them.
KSMTH_AVX512 inline __mmask16 firstOf(std::size_t count) {
  return static_cast<__mmask16>((1U << std::min(count, kPixels)) - 1);
}

// The pixels that are there, and zeros.
KSMTH_AVX512 inline __m512i load(const unsigned char* at, __mmask16 there) {
  return _mm512_maskz_loadu_epi32(there, at);
}

// For lines of the cache where they go past it.
template <bool kPastCaches>
KSMTH_AVX512 inline void store(unsigned char* at, __m512i value) {
  kPastCaches ? _mm512_stream_si512(reinterpret_cast<__m512i*>(at), value) : _mm512_storeu_si512(at, value);
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

// The first pixels of a row at the edge, of which the first counts twice: `count` of them, at most all.
KSMTH_AVX512 inline __m512i loadEdge(const unsigned char* at, std::size_t count) {
  const __m512i order = _mm512_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14);
  return _mm512_permutexvar_epi32(order, load(at, firstOf(std::min(kPixels, count) - 1)));
}

// `Kernels::halve`; past the caches where `to` begins a line of the cache.
template <bool kPastCaches>
KSMTH_AVX512 inline void halveRow(unsigned char* to, const unsigned char* above, const unsigned char* centre,
                                  const unsigned char* below, std::size_t count, bool atEdge) {
  const std::size_t end = 2 * count + 1;
  std::size_t i = 0;
  Columns first = atEdge ? sumColumns(loadEdge(above, end), loadEdge(centre, end), loadEdge(below, end))
                         : columnsBefore(end, 0, above, centre, below);
  if (atEdge) {
    above -= 4;
    centre -= 4;
    below -= 4;
  }
  for (; 2 * i + 3 * kPixels <= end; i += kPixels) {
    for (const std::size_t line : {8 * i, 8 * i + 64}) {
      pixelbytes::prefetch(centre + line);
      pixelbytes::prefetch(below + line);
    }
    const Columns second = columnsAt(2 * i + kPixels, above, centre, below);
    const Columns third = columnsAt(2 * i + 2 * kPixels, above, centre, below);
    store<kPastCaches>(to + 4 * i, reduceSixteen(first, second, third));
    first = third;
  }
  for (; i < count; i += kPixels) {
    const Columns second = columnsBefore(end, 2 * i + kPixels, above, centre, below);
    const Columns third = columnsBefore(end, 2 * i + 2 * kPixels, above, centre, below);
    _mm512_mask_storeu_epi32(to + 4 * i, firstOf(count - i), reduceSixteen(first, second, third));
    first = third;
  }
}

KSMTH_AVX512 void halve(unsigned char* to, const unsigned char* above, const unsigned char* centre,
                        const unsigned char* below, std::size_t count, bool atEdge, bool pastCaches) {
  // Pixels of a buffer from elsewhere may never begin a line.
  if (!pastCaches || reinterpret_cast<std::uintptr_t>(to) % 4 != 0)
    return halveRow<false>(to, above, centre, below, count, atEdge);
  const std::size_t lead = std::min(count, pixelsToLine(to));
  halveRow<false>(to, above, centre, below, lead, atEdge);
  const std::size_t at = atEdge && lead > 0 ? 8 * lead - 4 : 8 * lead;
  halveRow<true>(to + 4 * lead, above + at, centre + at, below + at, count - lead, atEdge && lead == 0);
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

// Copies a row of at least two registers of pixels by lines of the cache on both sides, each of the
// destination out of two of the source. A function of its own: within `copyRows`, what it needs for each row
// would lie on the stack.
template <bool kPastCaches>
[[gnu::noinline]] KSMTH_AVX512 void copyRow(unsigned char* to, const unsigned char* from, std::size_t count) {
  // Pixels in front of the row in its first line; pixel 0 of that is number `turn` of a line of the source.
  const std::size_t lead = (kPixels - pixelsToLine(to)) % kPixels;
  to -= 4 * lead;
  from -= 4 * lead;
  const std::size_t turn = (kPixels - pixelsToLine(from)) % kPixels;
  const __m512i order =
      _mm512_add_epi32(_mm512_set1_epi32(static_cast<int>(turn)),
                       _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
  const unsigned char* const lines = from - 4 * turn;
  const std::uint32_t there = UINT32_MAX << (lead + turn);  // of two lines
  __m512i line = load(lines, static_cast<__mmask16>(there));
  __m512i next = load(lines + 4 * kPixels, static_cast<__mmask16>(there >> kPixels));
  _mm512_mask_storeu_epi32(to, ~firstOf(lead), _mm512_permutex2var_epi32(line, order, next));
  const std::size_t end = lead + count;
  std::size_t i = kPixels;
  for (; i + 2 * kPixels <= end; i += kPixels) {
    line = next;
    next = _mm512_load_si512(lines + 4 * (i + kPixels));
    store<kPastCaches>(to + 4 * i, _mm512_permutex2var_epi32(line, order, next));
  }
  // One line or two are left, of which the last may be a part.
  if (i + kPixels <= end) {
    _mm512_store_si512(to + 4 * i, _mm512_loadu_si512(from + 4 * i));
    i += kPixels;
  }
  if (i < end) {
    const __mmask16 rest = firstOf(end - i);
    _mm512_mask_storeu_epi32(to + 4 * i, rest, load(from + 4 * i, rest));
  }
}

template <bool kPastCaches>
KSMTH_AVX512 inline void copyRows(Rows to, const unsigned char* from, std::size_t stride) {
  for (std::size_t y = 0; y < to.count; ++y)
    copyRow<kPastCaches>(to.at + y * to.stride, from + y * stride, to.bytes / 4);
}

KSMTH_AVX512 void copy(const Rows& to, const unsigned char* from, std::size_t stride, bool pastCaches) {
  const auto odd = reinterpret_cast<std::uintptr_t>(to.at) | reinterpret_cast<std::uintptr_t>(from);
  // By pixels.
  if ((odd | to.bytes | to.stride | stride) % 4 != 0 || to.bytes < 8 * kPixels)
    return kPlain.copy(to, from, stride, pastCaches);
  pastCaches ? copyRows<true>(to, from, stride) : copyRows<false>(to, from, stride);
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

// What is longer than a line gains nothing by longer registers.
void fill(const Rows& to, std::uint64_t pattern, bool pastCaches) {
  kAvx2.fill(to, pattern, pastCaches);
}

}  // namespace

const Kernels kAvx512 = {halve, firstAlone, fill, copy, split};

}  // namespace rowkernels

#endif
