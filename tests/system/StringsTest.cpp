#include "TestSupport.h"
#include "system/TalvexPlugin.h"

namespace {

/// Characters of `b` matched, -1 for null.
std::ptrdiff_t matched(const char* a, const char* b, bool loose, bool skipDigits) {
  const char* end = STR_Compare(a, b, loose, skipDigits);
  return end == nullptr ? -1 : end - b;
}

}  // namespace

TEST(Strings, CompareMatchesPatternAgainstText) {
  const struct {
    const char* a;
    const char* b;
    bool loose;
    bool skipDigits;
    std::ptrdiff_t matched;
  } cases[] = {
      {"file:", "file:a/b", false, false, 5},
      {"file:", "File:a", false, false, -1},
      {"file:", "file", false, false, -1},
      {"", "x", false, false, 0},
      {"AB", "A B", true, false, 3},
      {"A B", "AB", true, false, 2},
      {"A1B", "AB", true, true, 2},
      {"AB", "A12B", true, true, 4},
      {"A1B", "AB", true, false, -1},
      {"AB", "ABC", true, false, 2},
      {"AB 9", "AB", true, true, 2},
      {"AB 9", "AB", true, false, -1},
      {"AB", "A\x80\xFF\tB", true, false, 5},
      {"A\xE9", "A", true, false, 1},
      {"A!", "A", true, false, -1},
      {"ab", "AB", true, true, -1},
      {"A1", "A2", true, true, 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(matched(c.a, c.b, c.loose, c.skipDigits), c.matched) << c.a << " | " << c.b << " " << c.loose;
  }
  const char* b = "same";
  EXPECT_EQ(STR_CompareExact("same", b), b + 4);
  EXPECT_EQ(STR_CompareExact("sam", b), nullptr);
}

TEST(Strings, LongToStringPadsInFrontOfTheSign) {
  const struct {
    long value;
    int width;
    const char* text;
  } cases[] = {{0, 0, "0"},
               {123, 5, "00123"},
               {-5, 4, "00-5"},
               {-5, 0, "-5"},
               {-5, 1, "-"},
               {0, 1, "0"},
               {0, 3, "000"},
               {1234, 2, "1234"},
               {-1234, 5, "-1234"},
               {-2147483647L - 1, 0, "-2147483648"},
               {2147483647L, 12, "002147483647"}};
  for (const auto& c : cases) {
    char out[24];
    const char* end = STR_LongToString(c.value, out, c.width);
    EXPECT_STREQ(out, c.text);
    EXPECT_EQ(end, out + std::strlen(c.text)) << c.text;
  }
}

TEST(Strings, CopiesStayWithinTheirLimits) {
  const std::string text(300, 'x');
  char out[301];
  EXPECT_EQ(STR_CopyCString(text.c_str(), out, 4), out + 4);
  EXPECT_STREQ(out, "xxxx");
  EXPECT_EQ(STR_CopyCString(text.c_str(), out, 0), out + 255);
  EXPECT_EQ(STR_CopyCString("ab", out, 4), out + 2);
  unsigned char counted[256];
  STR_C2P(text.c_str(), counted);
  EXPECT_EQ(counted[0], 255);
  EXPECT_EQ(counted[255], 'x');
  STR_C2P("a\nb\r", counted);
  EXPECT_EQ(std::memcmp(counted, "\4a\rb\r", 5), 0);
  EXPECT_EQ(STR_Length(std::string(40000, 'x').c_str()), 40000 - 65536);
}

TEST(Strings, ClassesAreAsciiOnly) {
  std::string delimiters;
  for (int i = 1; i < 256; ++i) {
    const char c = static_cast<char>(i);
    if (STR_IsDelimiter(c)) delimiters += c;
    const bool digit = i >= 48 && i <= 57;
    const bool upper = i >= 65 && i <= 90;
    const bool lower = i >= 97 && i <= 122;
    EXPECT_EQ(STR_IsNumerical(c), digit) << i;
    EXPECT_EQ(STR_IsAlpha(c), upper || lower) << i;
    EXPECT_EQ(STR_IsAlphaNumeic(c), digit || upper || lower) << i;
    EXPECT_EQ(STR_LowerCase(c), upper ? static_cast<char>(i + 32) : c) << i;
  }
  EXPECT_EQ(delimiters, ",/:\\");
  char text[] = "AbZ[\xC4";
  STR_LowerCase(text);
  EXPECT_STREQ(text, "abz[\xC4");
}
