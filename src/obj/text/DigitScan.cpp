#include "obj/text/DigitScan.h"

#if defined(__x86_64__) && defined(__GNUC__)
#define KSMTH_X86_MAPS
#include <immintrin.h>
#endif

namespace WavefrontOBJ::digitMaps {
namespace {

#if defined(__SSE2__)

void mapPlain(const char* text, std::size_t words, std::uint64_t* others, std::uint64_t* minuses) {
  // Moves '0'..'9' to the ten smallest signed values.
  const __m128i offset = _mm_set1_epi8(static_cast<char>(-128 - '0'));
  const __m128i lastDigit = _mm_set1_epi8(-128 + 9);
  const __m128i minus = _mm_set1_epi8('-');
  const auto bitsOf = [](__m128i bytes) -> std::uint64_t {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes));
  };
  for (std::size_t word = 0; word < words; ++word, text += 64) {
    others[word] = minuses[word] = 0;
    for (int i = 0; i < 4; ++i) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + 16 * i));
      others[word] |= bitsOf(_mm_cmpgt_epi8(_mm_add_epi8(bytes, offset), lastDigit)) << (16 * i);
      minuses[word] |= bitsOf(_mm_cmpeq_epi8(bytes, minus)) << (16 * i);
    }
  }
}

#else

void mapPlain(const char* text, std::size_t words, std::uint64_t* others, std::uint64_t* minuses) {
  constexpr std::uint64_t kTopBits = 0x8080808080808080U;
  // Without the top bits no sum carries into the next byte.
  const auto atLeast = [](std::uint64_t bytes, std::uint64_t distance) {
    return ((bytes & ~kTopBits) + distance * 0x0101010101010101U) | bytes;
  };
  const auto gatherTopBits = [](std::uint64_t bytes) { return (bytes >> 7) * 0x0102040810204080U >> 56; };
  for (std::size_t word = 0; word < words; ++word, text += 64) {
    others[word] = minuses[word] = 0;
    for (int i = 0; i < 8; ++i) {
      const std::uint64_t bytes = fastNumber::loadLittleEndian(text + 8 * i);
      const std::uint64_t noDigit = atLeast(bytes ^ 0x3030303030303030U, 0x80 - 10);
      const std::uint64_t noMinus = atLeast(bytes ^ 0x2D2D2D2D2D2D2D2DU, 0x80 - 1);
      others[word] |= gatherTopBits(noDigit & kTopBits) << (8 * i);
      minuses[word] |= gatherTopBits(~noMinus & kTopBits) << (8 * i);
    }
  }
}

#endif

#if defined(KSMTH_X86_MAPS)

[[gnu::target("avx2")]] void mapAvx2(const char* text, std::size_t words, std::uint64_t* others,
                                     std::uint64_t* minuses) {
  const __m256i offset = _mm256_set1_epi8(static_cast<char>(-128 - '0'));
  const __m256i lastDigit = _mm256_set1_epi8(-128 + 9);
  const __m256i minus = _mm256_set1_epi8('-');
  for (std::size_t word = 0; word < words; ++word, text += 64) {
    others[word] = minuses[word] = 0;
    for (int i = 0; i < 2; ++i) {
      const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + 32 * i));
      const __m256i noDigit = _mm256_cmpgt_epi8(_mm256_add_epi8(bytes, offset), lastDigit);
      const __m256i isMinus = _mm256_cmpeq_epi8(bytes, minus);
      others[word] |= std::uint64_t{static_cast<std::uint32_t>(_mm256_movemask_epi8(noDigit))} << (32 * i);
      minuses[word] |= std::uint64_t{static_cast<std::uint32_t>(_mm256_movemask_epi8(isMinus))} << (32 * i);
    }
  }
}

[[gnu::target("avx512bw")]] void mapAvx512(const char* text, std::size_t words, std::uint64_t* others,
                                           std::uint64_t* minuses) {
  const __m512i zero = _mm512_set1_epi8('0');
  const __m512i nine = _mm512_set1_epi8(9);
  const __m512i minus = _mm512_set1_epi8('-');
  for (std::size_t word = 0; word < words; ++word, text += 64) {
    const __m512i bytes = _mm512_loadu_si512(text);
    others[word] = _mm512_cmpgt_epu8_mask(_mm512_sub_epi8(bytes, zero), nine);
    minuses[word] = _mm512_cmpeq_epi8_mask(bytes, minus);
  }
}

#endif

}  // namespace

std::span<const Way> available() {
  struct List {
    std::array<Way, 3> ways = {mapPlain};
    std::size_t count = 1;
    List() {
#if defined(KSMTH_X86_MAPS)
      if (__builtin_cpu_supports("avx2")) ways[count++] = mapAvx2;
      if (__builtin_cpu_supports("avx512bw")) ways[count++] = mapAvx512;
#endif
    }
  };
  static const List list;
  return {list.ways.data(), list.count};
}

}  // namespace WavefrontOBJ::digitMaps
