#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "obj/text/FastNumber.h"

// Where the numbers of a text begin and end, found for 64 characters at once and ahead of use. Looking for
// the end of each number before going on to the next is what a character-wise scan spends its time on: the
// processor cannot begin a number before it has finished the one before.

namespace WavefrontOBJ {

/// Ways to make the words of an `OBJDigitMap`, of 64 characters each, which come to the same.
namespace digitMaps {
using Way = void (*)(const char* text, std::size_t words, std::uint64_t* others, std::uint64_t* minuses);
/// Those that this processor has, the plain one first and the fastest last.
std::span<const Way> available();
inline Way best() {
  return available().back();
}
}  // namespace digitMaps

/// Two bits for each character of a piece of text: whether it is not a decimal digit, and whether it is "-".
class OBJDigitMap {
 public:
  /// Bytes before and behind the text that `build` and the conversions may read.
  static constexpr std::size_t kUnderread = 16;
  static constexpr std::size_t kOverread = 64 + kFastNumberOverread;
  /// Characters that `at` answers for.
  static constexpr std::size_t kWindow = 56;

  /// Maps `size` characters at `text`. Everything behind them counts as no digit.
  void build(const char* text, std::size_t size) {
    text_ = text;
    const std::size_t words = size / 64 + 1;
    others_.resize(words + 2);
    minuses_.resize(words + 2);
    digitMaps::best()(text, words, others_.data(), minuses_.data());
    const std::uint64_t behind = ~std::uint64_t{0} << (size % 64);
    others_[words - 1] |= behind;
    minuses_[words - 1] &= ~behind;
    for (std::size_t i = words; i < words + 2; ++i) {
      others_[i] = ~std::uint64_t{0};
      minuses_[i] = 0;
    }
  }

  struct Bits {
    std::uint64_t others;   ///< bit i: character i is not a digit
    std::uint64_t minuses;  ///< bit i: character i is "-"
  };

  /// The bits of the `kWindow` characters from `position` on, in the text or at its end. Bits above are those
  /// of further characters or 0.
  Bits at(const char* position) const {
    const auto offset = static_cast<std::size_t>(position - text_);
    return {bitsAt(others_, offset), bitsAt(minuses_, offset)};
  }
  /// The same without the minuses, and with 0 above.
  std::uint64_t othersAt(const char* position) const {
    const auto offset = static_cast<std::size_t>(position - text_);
    return bitsAt(others_, offset) & ((std::uint64_t{1} << kWindow) - 1);
  }

 private:
  static std::uint64_t bitsAt(const std::vector<std::uint64_t>& words, std::size_t offset) {
    if constexpr (std::endian::native == std::endian::little) {
      // Bit i of the words is bit i % 8 of byte i / 8.
      std::uint64_t bits = 0;
      std::memcpy(&bits, reinterpret_cast<const char*>(words.data()) + offset / 8, sizeof bits);
      return bits >> (offset % 8);
    } else {
      const std::size_t shift = offset % 64;
      // Shifting by 64 is not defined, shifting twice is.
      return words[offset / 64] >> shift | words[offset / 64 + 1] << 1 << (63 - shift);
    }
  }

  const char* text_ = nullptr;
  std::vector<std::uint64_t> others_;
  std::vector<std::uint64_t> minuses_;
};

/// Walks from one character that is not a digit to the next.
class OBJDigitScan {
 public:
  /// Starts at `text`, which may itself be the first answer.
  OBJDigitScan(const OBJDigitMap& map, const char* text)
      : map_(map), text_(text), others_(map.othersAt(text)) {}

  /// The next character that is not a digit. The text's end is one.
  const char* next() {
    while (others_ == 0) {
      text_ += OBJDigitMap::kWindow;
      others_ = map_.othersAt(text_);
    }
    const char* const found = text_ + static_cast<unsigned>(std::countr_zero(others_));
    others_ &= others_ - 1;
    return found;
  }

 private:
  const OBJDigitMap& map_;
  const char* text_;
  std::uint64_t others_;
};

#if defined(__SSE2__)
/// Eight pairs of digit bytes as eight values: the upper byte of (low + 256 * high) * 2561 is low * 10 +
/// high.
inline __m128i pairsOfDigits(__m128i digits) {
  __m128i weights = _mm_set1_epi16(2561);
  // Compilers that know the factor take the multiplication apart into four instructions.
  __asm__("" : "+x"(weights));
  return _mm_srli_epi16(_mm_mullo_epi16(digits, weights), 8);
}
#endif

/// `length` digits, 1 to 8, that end before `end`. For any other length `digitsValues` answers just any
/// number.
struct OBJDigits {
  const char* end;
  std::uint64_t length;
};

/// Writes four numbers, each less 1, to `indices`. Converts them side by side. Reads up to eight bytes before
/// the first digit.
inline void storeIndices(std::uint32_t* indices, OBJDigits a, OBJDigits b, OBJDigits c, OBJDigits d) {
#if defined(__SSE2__)
  static constexpr std::array<std::uint64_t, 16> kLastBytes = [] {
    std::array<std::uint64_t, 16> masks{};
    for (std::size_t i = 1; i <= 8; ++i) masks[i] = ~std::uint64_t{0} << (64 - 8 * i);
    return masks;
  }();
  const auto loadTwo = [](const void* low, const void* high) {
    const __m128i lowHalf = _mm_loadl_epi64(static_cast<const __m128i*>(low));
    return _mm_castpd_si128(_mm_loadh_pd(_mm_castsi128_pd(lowHalf), static_cast<const double*>(high)));
  };
  // Two numbers as twice two values of four digits each.
  const auto fours = [&loadTwo](OBJDigits low, OBJDigits high) {
    const __m128i mask = loadTwo(&kLastBytes[low.length & 15], &kLastBytes[high.length & 15]);
    const __m128i text = loadTwo(low.end - 8, high.end - 8);
    const __m128i digits = _mm_and_si128(_mm_sub_epi8(text, _mm_set1_epi8('0')), mask);
    const __m128i pairs = pairsOfDigits(digits);
    return _mm_madd_epi16(pairs, _mm_set1_epi32(1 << 16 | 100));
  };
  const __m128i eights = _mm_packs_epi32(fours(a, b), fours(c, d));
  const __m128i values = _mm_madd_epi16(eights, _mm_set1_epi32(1 << 16 | 10000));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(indices), _mm_add_epi32(values, _mm_set1_epi32(-1)));
#else
  const auto value = [](OBJDigits number) {
    const std::uint64_t digits = fastNumber::loadLittleEndian(number.end - 8) ^ 0x3030303030303030U;
    // Shifts the bytes before the number out and zeros in.
    const std::uint64_t others = (64 - 8 * number.length) & 63;
    return fastNumber::sumDigits(digits >> others << others);
  };
  const std::uint32_t values[4] = {value(a), value(b), value(c), value(d)};
  for (int i = 0; i < 4; ++i) indices[i] = values[i] - 1;
#endif
}

}  // namespace WavefrontOBJ
