#pragma once

#include "obj/text/DigitScan.h"

#if defined(__SSE2__)

// The numbers of a plain vector line, three at a time. Per number this takes a third of the instructions of a
// conversion on its own, and reading vectors is most of reading a file.

namespace WavefrontOBJ {

/// Three single-precision numbers in the lower components of a vector whose `w` is 1.
struct OBJPlainFloats {
  __m128 vector;
  const char* end;  ///< the character behind the last number
};

namespace plainFloats {

/// Bytes of ones: the n-th entry has them in its last n bytes, for n from 0 to 16.
inline constexpr auto kLastBytes = [] {
  std::array<std::array<unsigned char, 16>, 17> masks{};
  for (std::size_t n = 0; n <= 16; ++n) {
    for (std::size_t i = 16 - n; i < 16; ++i) masks[n][i] = 0xFF;
  }
  return masks;
}();

/// The sign bits of three components, by the three bits of the index.
inline constexpr auto kSigns = [] {
  std::array<std::array<std::uint32_t, 4>, 8> signs{};
  for (std::size_t bits = 0; bits < 8; ++bits) {
    for (std::size_t i = 0; i < 3; ++i) signs[bits][i] = (bits >> i & 1) != 0 ? 0x80000000U : 0U;
  }
  return signs;
}();

inline __m128i load(const void* bytes) {
  return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

/// The digits that end before `end`, `part` of them behind a point, `digits` in all, as four values of four
/// digits each.
inline __m128i fours(const char* end, std::uint64_t part, std::uint64_t digits) {
  const __m128i text = _mm_sub_epi8(load(end - 16), _mm_set1_epi8('0'));
  // What stands before the point moves up by one byte, over the point.
  const __m128i moved = _mm_slli_si128(text, 1);
  const __m128i joined =
      _mm_xor_si128(moved, _mm_and_si128(_mm_xor_si128(text, moved), load(&kLastBytes[part])));
  const __m128i bytes = _mm_and_si128(joined, load(&kLastBytes[digits]));
  const __m128i pairs = pairsOfDigits(bytes);
  return _mm_madd_epi16(pairs, _mm_set1_epi32(1 << 16 | 100));
}

/// The first and the second of two mantissas, given as above, as doubles.
inline __m128d mantissas(__m128i first, __m128i second) {
  const __m128i eights = _mm_madd_epi16(_mm_packs_epi32(first, second), _mm_set1_epi32(1 << 16 | 10000));
  const __m128i upper = _mm_shuffle_epi32(eights, _MM_SHUFFLE(2, 0, 2, 0));
  const __m128i lower = _mm_shuffle_epi32(eights, _MM_SHUFFLE(3, 1, 3, 1));
  return _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(upper), _mm_set1_pd(1e8)), _mm_cvtepi32_pd(lower));
}

/// All ones in the lower half of each value that lies between two floats, see `liesBetweenFloats`.
inline __m128i betweenFloats(__m128d values) {
  const __m128i low = _mm_and_si128(_mm_castpd_si128(values), _mm_set1_epi64x(0x1FFFFFFF));
  return _mm_cmpeq_epi32(low, _mm_set1_epi64x(0x10000000));
}

}  // namespace plainFloats

/// Reads `kCount` (2 or 3) numbers of the plainest form, "-12.345678" with one blank between two, at most 15
/// digits each with at least one on either side of the point, all within the window. A third number that
/// is not asked for is 0. `bits` are those from `text` on. False for any other text, and for a number that
/// takes more than one division to round correctly. Reads up to 16 bytes before `text`.
///
/// Where a number ends comes from the bits alone, and what is wrong with the text is gathered and looked at
/// once. Nothing that follows waits for the numbers, so that several lines are worked on at a time.
template <int kCount>
[[gnu::always_inline]] inline bool readPlainFloats(const char* text, OBJDigitMap::Bits bits,
                                                   OBJPlainFloats& result) {
  namespace pf = plainFloats;
  // The bits of the point and the end of each number are the lowest, each in a word of its own.
  std::uint64_t separators[2 * kCount];
  separators[0] = bits.others & ~bits.minuses;
#pragma GCC unroll 5
  for (int i = 1; i < 2 * kCount; ++i) separators[i] = separators[i - 1] & (separators[i - 1] - 1);
  if (separators[2 * kCount - 1] == 0) return false;
  std::uint64_t end[3] = {};
  std::uint64_t part[3] = {};
  std::uint64_t digits[3] = {};
  std::uint64_t start = 0;
  std::uint64_t signs = 0;      // where minuses are expected
  std::uint64_t signIndex = 0;  // one bit for each number
  std::uint64_t wholeOr0 = 0;   // negative if a number has nothing before its point
  std::uint64_t tooLong = 0;
  int otherText = 0;
#pragma GCC unroll 3
  for (int i = 0; i < kCount; ++i) {
    const std::uint64_t point = static_cast<unsigned>(std::countr_zero(separators[2 * i]));
    end[i] = static_cast<unsigned>(std::countr_zero(separators[2 * i + 1]));
    const std::uint64_t negative = bits.minuses >> start & 1;
    signs |= negative << start;
    signIndex |= negative << i;
    part[i] = end[i] - point - 1;
    digits[i] = end[i] - start - negative - 1;
    wholeOr0 |= (digits[i] - part[i] - 1) | (part[i] - 1);
    tooLong |= digits[i] & ~std::uint64_t{15};
    otherText |= text[point] ^ '.';
    if (i + 1 < kCount) otherText |= text[end[i]] ^ ' ';
    start = end[i] + 1;
  }
  const std::uint64_t last = end[kCount - 1];
  // A "-" anywhere but before a number would count as a digit.
  const std::uint64_t misplaced = (bits.minuses & ((std::uint64_t{1} << last) - 1)) ^ signs;
  if ((wholeOr0 >> 63 | tooLong | misplaced | static_cast<unsigned>(otherText)) != 0) return false;

  const __m128i first = pf::fours(text + end[0], part[0], digits[0]);
  const __m128i second = pf::fours(text + end[1], part[1], digits[1]);
  const auto power = [&part](int i) { return &kExactPowersOfTen[part[i]]; };
  // At most 15 digits: all of this is exact but for the rounding of the division.
  const __m128d xy = _mm_div_pd(pf::mantissas(first, second), _mm_loadh_pd(_mm_load_sd(power(0)), power(1)));
  __m128i between = pf::betweenFloats(xy);
  __m128 vector = _mm_movelh_ps(_mm_cvtpd_ps(xy), _mm_setr_ps(0.0F, 1.0F, 0.0F, 0.0F));
  if constexpr (kCount == 3) {
    const __m128i third = pf::fours(text + end[2], part[2], digits[2]);
    const __m128d z = _mm_div_pd(pf::mantissas(third, third), _mm_load1_pd(power(2)));
    between = _mm_or_si128(between, pf::betweenFloats(z));
    vector = _mm_movelh_ps(_mm_cvtpd_ps(xy), _mm_cvtsd_ss(_mm_setr_ps(0.0F, 1.0F, 0.0F, 0.0F), z));
  }
  result.vector = _mm_xor_ps(vector, _mm_castsi128_ps(pf::load(&pf::kSigns[signIndex])));
  result.end = text + last;
  // The upper halves compare equal to 0, the flags are in bits 0 and 8.
  return (_mm_movemask_epi8(between) & 0x0101) == 0;
}

}  // namespace WavefrontOBJ

#endif
