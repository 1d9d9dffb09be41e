// The text scanners and formatters against the C library and the standard streams.
#include <algorithm>
#include <bit>
#include <cmath>

#include "TestSupport.h"
#include "obj/text/DigitScan.h"
#include "obj/text/FastNumber.h"
#include "obj/text/FormatNumber.h"
#include "obj/text/PlainFloats.h"
#include "obj/text/ScanFloats.h"

using namespace WavefrontOBJ;

namespace {

constexpr char kNumbers[] =
    "1 -2.5 +.5 .5e3 5. . + - -. 1e5 1e 1e+ 1e-x 1E-7 0x1f 0X.8P3 0x 0x. 0xp3 0x1p 0x1.8p-2 0x1p99999 "
    "0x1p-99999 inf -INF infinity infinit info in nan -NaN nan(12) na 1e400 -1e400 1e-400 1e99999999999 "
    "1e-99999999999 0e99999 00000.00000e5 16777217 16777216.9999999999999999999999 3.4028235677973366e38 "
    "3.4028236e38 1.17549435e-38 7.0064923216240854e-46 7.0064923216240862e-46 1.40129846e-45 "
    "0.333333333333333333333333333333333333333333333333333333 123456789012345678901234567890 1.2.3 1,5 --1 "
    "0x0.0000000000000000000000000000001p100 1e0x5 0b1 1_0 1f 0.1e-5junk "
    "0.00000000000000000000000000000000000000000000000001e3";

std::string digits(Random& random, std::uint32_t count) {
  std::string text(count, '0');
  for (char& c : text) c = static_cast<char>('0' + below(random, 10));
  return text;
}

/// A number or near-number: odd ones, halves between two floats, and random digits, some of them damaged.
std::string randomNumber(Random& random) {
  static const std::string odd = kNumbers;
  const std::uint32_t kind = below(random, 10);
  if (kind == 0) {
    const std::size_t at = odd.rfind(' ', below(random, static_cast<std::uint32_t>(odd.size()))) + 1;
    return odd.substr(at, odd.find(' ', at) - at);
  }
  if (kind == 1) {
    const double value = 0x1p-23 * (0x800000 + below(random, 0x800000)) + 0x1p-24;
    char text[40];
    std::snprintf(text, sizeof text, "%.*f", 14 + static_cast<int>(below(random, 2)), value);
    return text;
  }
  std::string text = below(random, 3) == 0 ? "-" : "";
  text += digits(random, below(random, kind == 2 ? 25 : 9));
  if (below(random, 5) != 0) text += '.';
  text += digits(random, kind == 4 ? 15 - below(random, 3) : below(random, kind == 3 ? 25 : 10));
  if (kind < 7 && below(random, 3) == 0) {
    text += "e" + std::to_string(static_cast<int>(below(random, 100)) - 50);
  }
  if (below(random, 12) == 0 && !text.empty()) {
    text[below(random, static_cast<std::uint32_t>(text.size()))] = "+--.eEx0 \tn\x01"[below(random, 12)];
  }
  return text;
}

/// `count` values by their bits, but NaNs, of which only the sign is the text's.
std::string bitsOf(const float* values, int count) {
  std::string text;
  for (const float* value = values; value < values + count; ++value) {
    const char* const nan = std::signbit(*value) ? "-nan " : "nan ";
    text += std::isnan(*value) ? nan : std::to_string(std::bit_cast<std::uint32_t>(*value)) + " ";
  }
  return text;
}

/// Requires that `text`, up to `end`, is `count` numbers for `sscanf` to the last character, and these.
void requireAsSscanf(const char* text, const char* end, const float* values, int count) {
  const std::string used(text, end);
  float expected[3] = {0, 0, 0};
  ASSERT_EQ(std::sscanf(used.c_str(), "%f %f %f", expected, expected + 1, expected + 2), count) << used;
  ASSERT_EQ(bitsOf(values, count), bitsOf(expected, count)) << used;
}

}  // namespace

// A million numbers: the exact scanner for all of them, the fast ones for those that they take.
TEST(NumberText, FloatsAsSscanfConvertsThem) {
  Random random(3);
  int singles = 0;
  [[maybe_unused]] int triples = 0;
  for (int i = 0; i < 330000 && !HasFatalFailure(); ++i) {
    std::string text(OBJDigitMap::kUnderread, ' ');
    for (std::uint32_t n = 1 + below(random, 4); n > 0; --n) {
      text += randomNumber(random) + (below(random, 9) == 0 ? "\t \r" : " ");
    }
    const char* const start = text.data() + OBJDigitMap::kUnderread;
    float expected[3] = {-7, -8, -9}, values[4] = {-7, -8, -9};
    const int count = std::sscanf(start, "%f %f %f", expected, expected + 1, expected + 2);
    ASSERT_EQ(scanThreeFloats(start, values), std::max(count, 0)) << start;
    ASSERT_EQ(bitsOf(values, 3), bitsOf(expected, 3)) << start;
    [[maybe_unused]] const std::size_t size = text.size() - OBJDigitMap::kUnderread;
    text.resize(text.size() + OBJDigitMap::kOverread);
    const char* const first = text.data() + OBJDigitMap::kUnderread;
    if (const char* const end = fastFloat(first, values[0])) {
      ++singles;
      requireAsSscanf(first, end, values, 1);
    }
#if defined(__SSE2__)
    OBJDigitMap map;
    map.build(first, size);
    OBJPlainFloats plain{};
    if (readPlainFloats<3>(first, map.at(first), plain) && *plain.end == ' ') {
      ++triples;
      _mm_storeu_ps(values, plain.vector);
      requireAsSscanf(first, plain.end, values, 3);
    }
    if (readPlainFloats<2>(first, map.at(first), plain) && *plain.end == ' ') {
      _mm_storeu_ps(values, plain.vector);
      requireAsSscanf(first, plain.end, values, 2);
      ASSERT_EQ(values[2], 0.0F);
    }
#endif
  }
  EXPECT_GT(singles, 100000) << "the common case is taken";
#if defined(__SSE2__)
  EXPECT_GT(triples, 2000);
#endif
  float values[3];
  EXPECT_EQ(scanThreeFloats(std::string_view("4 5\0 6", 6), values), 2) << "a NUL ends the text";
}

TEST(NumberText, DigitsAndMinusesAreFoundEachWay) {
  Random random(5);
  std::string text;
  while (text.size() < 64 * 256) text += static_cast<char>(text.size() < 256 ? text.size() : random() & 0xFF);
  for (const WavefrontOBJ::digitMaps::Way way : WavefrontOBJ::digitMaps::available()) {
    std::uint64_t others[256], minuses[256];
    way(text.data(), 256, others, minuses);
    for (std::size_t i = 0; i < text.size(); ++i) {
      ASSERT_EQ(others[i / 64] >> i % 64 & 1, text[i] < '0' || text[i] > '9' ? 1U : 0U) << i;
      ASSERT_EQ(minuses[i / 64] >> i % 64 & 1, text[i] == '-' ? 1U : 0U) << i;
    }
  }
}

TEST(NumberText, IndicesOfOneToEightDigits) {
  Random random(11);
  for (int i = 0; i < 20000; ++i) {
    const std::string text = digits(random, 64);
    OBJDigits places[4];
    for (int n = 0; n < 4; ++n) places[n] = {text.data() + 9 + 14 * n, 1 + below(random, 8)};
    std::uint32_t indices[4];
    storeIndices(indices, places[0], places[1], places[2], places[3]);
    for (int n = 0; n < 4; ++n) {
      const std::string number(places[n].end - places[n].length, places[n].end);
      ASSERT_EQ(indices[n], static_cast<std::uint32_t>(std::stoul(number) - 1)) << number;
    }
  }
}

TEST(NumberText, CoordinatesAsPrintfWritesThem) {
  const auto check = [](std::uint32_t bits) {
    const auto value = std::bit_cast<float>(bits);
    char expected[64];
    std::snprintf(expected, sizeof expected, "%#.6g", double{value});
    // Some C libraries write these as 1000000.
    const bool million = std::fabs(value) >= 999999.5F && std::fabs(value) < 1e6F;
    if (million) std::strcpy(expected, value < 0 ? "-1.00000e+06" : "1.00000e+06");
    char text[kMaxNumberText];
    ASSERT_EQ(std::string(text, formatCoordinate(text, value)), expected) << bits;
    ASSERT_EQ(std::string(text, formatCoordinateExactly(text, value)), expected) << bits;
  };
  const std::uint32_t odd[] = {0x80000000U, 0x7F800000U, 0xFF800000U, 0x7FC00000U, 0xFFC00000U,
                               0x497423F8U, 0x497423F7U, 0xC97423F8U, 0x38D1B717U, 0x38D1B716U};
  for (const std::uint32_t bits : odd) check(bits);
  Random random(12);
  for (int i = 0; i < 300000 && !HasFatalFailure(); ++i) {
    // Any; everyday numbers, 1e-5 to 1e16; ties, which are six digits and a half, and what is beside them.
    const float half = static_cast<float>(100000 + below(random, 900000)) + 0.5F;
    check(random());
    check(0x3727C5ACU + below(random, 0x22E6561EU));
    char text[kMaxNumberText];
    const std::uint32_t index = random() >> below(random, 32);
    ASSERT_EQ(std::string(text, formatUnsigned(text, index)), std::to_string(index));
    for (const float value : {std::nextafter(half, 0.0F), half, std::nextafter(half, 1e9F)}) {
      check(std::bit_cast<std::uint32_t>(value));
    }
  }
}
