// The text scanners and formatters against the C library and the standard streams.
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <sstream>

#include "TestSupport.h"
#include "obj/text/DigitScan.h"
#include "obj/text/FastNumber.h"
#include "obj/text/FormatNumber.h"
#include "obj/text/ScanFloats.h"
#include "obj/text/TokenStream.h"

using namespace WavefrontOBJ;

namespace {

std::string bitsOf(float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return value != value ? (std::signbit(value) ? "-nan" : "nan") : std::to_string(bits);
}

const char* const kNumbers[] = {"1",
                                "-2.5",
                                "+.5",
                                ".5e3",
                                "5.",
                                ".",
                                "+",
                                "-",
                                "-.",
                                "1e5",
                                "1e",
                                "1e+",
                                "1e-x",
                                "1E-7",
                                "0x1f",
                                "0X.8P3",
                                "0x",
                                "0x.",
                                "0xp3",
                                "0x1p",
                                "0x1.8p-2",
                                "0x1p99999",
                                "0x1p-99999",
                                "inf",
                                "-INF",
                                "infinity",
                                "infinit",
                                "info",
                                "in",
                                "nan",
                                "-NaN",
                                "nan(12)",
                                "na",
                                "1e400",
                                "-1e400",
                                "1e-400",
                                "1e99999999999",
                                "1e-99999999999",
                                "0e99999",
                                "00000.00000e5",
                                "16777217",
                                "16777216.9999999999999999999999",
                                "3.4028235677973366e38",
                                "3.4028236e38",
                                "1.17549435e-38",
                                "7.0064923216240854e-46",
                                "7.0064923216240862e-46",
                                "1.40129846e-45",
                                "0.333333333333333333333333333333333333333333333333333333",
                                "123456789012345678901234567890",
                                "1.2.3",
                                "1,5",
                                "--1",
                                "0x0.0000000000000000000000000000001p100",
                                "1e0x5",
                                "0b1",
                                "1_0",
                                "1f",
                                "0.1e-5junk"};

/// A number or near-number: random digits put together, some of them damaged.
std::string randomNumber(Random& random) {
  if (below(random, 4) == 0) return kNumbers[below(random, std::size(kNumbers))];
  std::string text = below(random, 3) == 0 ? "-" : "";
  const std::uint32_t whole = below(random, below(random, 10) == 0 ? 25 : 9);
  for (std::uint32_t i = 0; i < whole; ++i) text += static_cast<char>('0' + below(random, 10));
  if (below(random, 5) != 0) text += '.';
  const std::uint32_t part = below(random, below(random, 10) == 0 ? 25 : 10);
  for (std::uint32_t i = 0; i < part; ++i) text += static_cast<char>('0' + below(random, 10));
  if (below(random, 5) == 0) text += "e" + std::to_string(static_cast<int>(below(random, 100)) - 50);
  if (below(random, 12) == 0 && !text.empty()) {
    text[below(random, static_cast<std::uint32_t>(text.size()))] = "+-.eEx0 \tn\x01"[below(random, 11)];
  }
  return text;
}

}  // namespace

TEST(NumberText, ThreeFloatsAsSscanfConvertsThem) {
  Random random(3);
  std::string text;
  for (int i = 0; i < 300000; ++i) {
    text.clear();
    const std::uint32_t numbers = 1 + below(random, 4);
    for (std::uint32_t n = 0; n < numbers; ++n)
      text += (below(random, 9) == 0 ? "\t \r" : " ") + randomNumber(random);
    float expected[3] = {-7, -8, -9};
    float actual[3] = {-7, -8, -9};
    const int count = std::sscanf(text.c_str(), "%f %f %f", expected, expected + 1, expected + 2);
    ASSERT_EQ(scanThreeFloats(text, actual), std::max(count, 0)) << "\"" << text << "\"";
    for (int n = 0; n < 3; ++n)
      ASSERT_EQ(bitsOf(actual[n]), bitsOf(expected[n])) << "\"" << text << "\" value " << n;
  }
  float values[3] = {1, 2, 3};
  EXPECT_EQ(scanThreeFloats(std::string_view("4 5\0 6", 6), values), 2) << "a NUL ends the text";
}

TEST(NumberText, FastNumbersAgreeOrGiveUp) {
  Random random(4);
  int taken = 0;
  for (int i = 0; i < 1000000; ++i) {
    const std::string text = randomNumber(random) + " " + std::string(kFastNumberOverread, '\0');
    float fast = 0;
    const char* end = fastFloat(text.c_str(), fast);
    if (end != nullptr) {
      ++taken;
      float expected[3] = {0, 0, 0};
      const std::string exact = text.substr(0, static_cast<std::size_t>(end - text.c_str()));
      int used = 0;
      ASSERT_EQ(std::sscanf(exact.c_str(), "%f%n", expected, &used), 1) << text;
      ASSERT_EQ(static_cast<std::size_t>(used), exact.size()) << text;
      ASSERT_EQ(bitsOf(fast), bitsOf(expected[0])) << text;
    }
  }
  EXPECT_GT(taken, 400000) << "the common case is taken";
}

TEST(NumberText, DigitScanFindsEveryOtherCharacter) {
  Random random(11);
  for (int i = 0; i < 20000; ++i) {
    std::string text(300, '\0');
    for (char& c : text) {
      c = below(random, 3) == 0 ? static_cast<char>(below(random, 256))
                                : static_cast<char>('0' + below(random, 10));
    }
    OBJDigitMap map;
    const std::size_t size = 130 + below(random, 70);
    map.build(text.data(), size);
    const std::size_t from = below(random, 130);
    OBJDigitScan scan(map, text.data() + from);
    for (std::size_t at = from; at < size + 3; ++at) {
      ASSERT_EQ((map.at(text.data() + std::min(at, size)).minuses & 1) != 0, at < size && text[at] == '-')
          << i << " " << at;
      if (at < size && isDigit(text[at])) continue;
      ASSERT_EQ(static_cast<std::size_t>(scan.next() - text.data()), at) << i;
    }
    OBJDigits numbers[4];
    std::uint32_t expected[4];
    char digits[64];
    for (char& c : digits) c = static_cast<char>('0' + below(random, 10));
    for (int n = 0; n < 4; ++n) {
      numbers[n] = {digits + 9 + 14 * n, 1 + below(random, 8)};
      expected[n] = static_cast<std::uint32_t>(
          std::stoul(std::string(numbers[n].end - numbers[n].length, numbers[n].end)));
    }
    std::uint32_t indices[4];
    storeIndices(indices, numbers[0], numbers[1], numbers[2], numbers[3]);
    for (int n = 0; n < 4; ++n) ASSERT_EQ(indices[n], expected[n] - 1) << std::string(digits, 64);
  }
}

TEST(NumberText, TokensAsAStringStreamExtractsThem) {
  Random random(5);
  const char* const pieces[] = {" ",          "\t",         "/",           "-",           "+",          "1",
                                "2147483647", "2147483648", "-2147483648", "99999999999", "4294967295", "-1",
                                "x",          "0",          "007",         "1.5",         "1e5",        "1e",
                                "1e400",      "-.5",        "\v",          "e3"};
  for (int i = 0; i < 200000; ++i) {
    std::string text;
    for (std::uint32_t n = below(random, 6); n > 0; --n) text += pieces[below(random, std::size(pieces))];
    OBJTokenStream ours(text);
    std::istringstream theirs(text);
    theirs.imbue(std::locale::classic());
    std::string trace;
    const auto compare = [&](auto target, const char* what) {
      auto mine = target;
      auto other = target;
      trace += what;
      const bool extracted = ours.extract(mine);
      // Streams of today store something for a failed number; ours keeps what was there.
      if (!(theirs >> other)) other = target;
      ASSERT_EQ(extracted, !theirs.fail()) << "\"" << text << "\" " << trace;
      ASSERT_EQ(mine, other) << "\"" << text << "\" " << trace;
      ASSERT_EQ(ours.atEnd(), theirs.eof()) << "\"" << text << "\" " << trace;
      ASSERT_EQ(ours.good(), theirs.good()) << "\"" << text << "\" " << trace;
    };
    for (int n = 0; n < 4; ++n) {
      switch (below(random, 5)) {
        case 0:
          compare(std::string("old"), "s");
          break;
        case 1:
          compare('o', "c");
          break;
        case 2:
          compare(std::int32_t{-77}, "i");
          break;
        case 3:
          compare(std::uint32_t{77}, "u");
          break;
        default:
          compare(-0.75, "d");
          break;
      }
      if (HasFatalFailure()) return;
    }
  }
}

TEST(NumberText, CoordinatesAsPrintfWritesThem) {
  const auto check = [](std::uint32_t bits) {
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    char expected[64];
    std::snprintf(expected, sizeof expected, "%#.6g", double{value});
    char fast[kMaxNumberText];
    char exact[kMaxNumberText];
    const std::string fastText(fast, formatCoordinate(fast, value));
    ASSERT_EQ(fastText, std::string(exact, formatCoordinateExactly(exact, value))) << bits;
    // Some C libraries write these as 1000000.
    if (std::fabs(value) >= 999999.5F && std::fabs(value) < 1e6F) {
      ASSERT_EQ(fastText, value < 0 ? "-1.00000e+06" : "1.00000e+06");
    } else {
      ASSERT_EQ(fastText, expected) << bits;
    }
  };
  for (const std::uint32_t bits :
       {0U, 0x80000000U, 0x7F800000U, 0xFF800000U, 0x7FC00000U, 0xFFC00000U, 1U, 0x7F7FFFFFU, 0x497423F8U,
        0x497423F7U, 0xC97423F8U, 0x38D1B717U, 0x38D1B716U}) {
    check(bits);
  }
  // Ties: six digits and a half, exactly. And what lies on either side.
  for (std::uint32_t i = 100000; i < 1000000; i += 37) {
    const float tie = static_cast<float>(i) + 0.5F;
    std::uint32_t bits = 0;
    std::memcpy(&bits, &tie, sizeof bits);
    for (const std::uint32_t b : {bits - 1, bits, bits + 1}) check(b);
    if (HasFatalFailure()) return;
  }
#if defined(__SANITIZE_ADDRESS__) || !defined(__x86_64__)
  constexpr std::uint32_t kStep = 0x40000 - 5;
#else
  constexpr std::uint32_t kStep = 1000 - 3;
#endif
  for (std::uint64_t bits = 0; bits <= UINT32_MAX; bits += kStep) {
    check(static_cast<std::uint32_t>(bits));
    if (HasFatalFailure()) return;
  }
  // The everyday range more densely: 1e-5 to 1e16.
  for (std::uint32_t bits = 0x3727C5ACU; bits < 0x5A0E1BCAU; bits += kStep / 8) {
    check(bits);
    if (HasFatalFailure()) return;
  }
}
