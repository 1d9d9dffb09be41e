#include "TestSupport.h"
#include "system/TalvexPlugin.h"

TEST(Strings, CompareMatchesPatternAgainstText) {
  const struct {
    const char* a;
    const char* b;
    bool loose, skipDigits;
    std::ptrdiff_t matched;  ///< Characters of `b`, -1 for null.
  } cases[] = {
      {"file:", "file:a/b", false, false, 5},
      {"file:", "File:a", false, false, -1},
      {"file:", "file", false, false, -1},
      {"", "x", false, false, 0},
      {nullptr, "x", false, false, 0},
      {nullptr, "x", true, true, 0},
      {"AB", "A B", true, false, 3},
      {"A B", "AB", true, false, 2},
      {"A1B", "AB", true, true, 2},
      {"AB", "A12B", true, true, 4},
      {"A1B", "AB", true, false, -1},
      {"AB", "ABC", true, false, 2},
      {"AB 9", "AB", true, true, 2},
      {"AB 9", "AB", true, false, -1},
      {"A\xE9", "A", true, false, 1},
      {"A!", "A", true, false, -1},
      {"AB", "A\x80\xFF\tB", true, false, 5},
      {"ab", "AB", true, true, -1},
      {"A1", "A2", true, true, 1},
  };
  for (const auto& c : cases) {
    const char* end = STR_Compare(c.a, c.b, c.loose, c.skipDigits);
    EXPECT_EQ(end == nullptr ? -1 : end - c.b, c.matched) << c.b << " " << c.loose;
  }
  const char* b = "same";
  EXPECT_EQ(STR_CompareExact("same", b), b + 4);
  EXPECT_EQ(STR_CompareExact("sam", b), nullptr);
  EXPECT_EQ(STR_CompareExact("same!", b), nullptr);
  EXPECT_EQ(STR_CompareExact(nullptr, nullptr), nullptr);
}

TEST(Strings, LongToStringPadsInFrontOfTheSign) {
  const struct {
    long value;
    int width;
    const char* text;
  } cases[] = {
      {0, 0, "0"},
      {123, 5, "00123"},
      {-5, 4, "00-5"},
      {-5, 0, "-5"},
      {-5, 1, "-"},
      {0, 1, "0"},
      {0, 3, "000"},
      {1234, 2, "1234"},
      {-1234, 5, "-1234"},
      {7, -3, "7"},
      {-2147483647L - 1, 0, "-2147483648"},
      {2147483647L, 12, "002147483647"},
  };
  for (const auto& c : cases) {
    char out[24];
    EXPECT_EQ(STR_LongToString(c.value, out, c.width), out + std::strlen(c.text)) << c.text;
    EXPECT_STREQ(out, c.text);
  }
  EXPECT_EQ(STR_LongToString(5, nullptr, 0), nullptr);
}

TEST(Strings, CopiesStayWithinTheirLimits) {
  const std::string text(300, 'x');
  char out[301];
  EXPECT_EQ(STR_CopyCString(text.c_str(), out, 4), out + 4);
  EXPECT_STREQ(out, "xxxx");
  EXPECT_EQ(STR_CopyCString(text.c_str(), out, 0), out + 255);
  EXPECT_EQ(STR_CopyCString("ab", out, 4), out + 2);
  EXPECT_EQ(STR_CopyCString(nullptr, out, 4), out);
  EXPECT_STREQ(out, "");
  EXPECT_EQ(STR_CopyCString("ab", nullptr, 4), nullptr);

  unsigned char counted[256];
  STR_C2P(text.c_str(), counted);
  EXPECT_EQ(counted[0], 255);
  EXPECT_EQ(counted[255], 'x');
  STR_C2P("a\nb\r", counted);
  EXPECT_EQ(std::memcmp(counted, "\4a\rb\r", 5), 0);
  std::memcpy(counted, "hello", 6);
  STR_C2P(reinterpret_cast<char*>(counted), counted);
  EXPECT_EQ(std::memcmp(counted, "\5hello", 6), 0) << "in place";
  STR_C2P(nullptr, counted);
  EXPECT_EQ(counted[0], 0);
  STR_C2P("ab", nullptr);
  EXPECT_EQ(STR_Length(std::string(40000, 'x').c_str()), 40000 - 65536);
  EXPECT_EQ(STR_Length(nullptr), 0);
}

TEST(Strings, ClassesAreAsciiOnly) {
  const std::string_view lower = "abcdefghijklmnopqrstuvwxyz";
  const std::string_view upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  const auto within = [](std::string_view set, char c) { return set.find(c) != set.npos; };
  for (int i = 1; i < 256; ++i) {
    char text[] = {static_cast<char>(i), 'A', '\0'};
    const char c = text[0];
    const bool letter = within(lower, c) || within(upper, c);
    EXPECT_EQ(STR_IsDelimiter(c), within(",:/\\", c)) << i;
    EXPECT_EQ(STR_IsNumerical(c), within("0123456789", c)) << i;
    EXPECT_EQ(STR_IsAlpha(c), letter) << i;
    EXPECT_EQ(STR_IsAlphaNumeic(c), letter || within("0123456789", c)) << i;
    STR_LowerCase(text);
    EXPECT_EQ(text[0], within(upper, c) ? lower[upper.find(c)] : c) << i;
    EXPECT_EQ(text[1], 'a');
  }
  STR_LowerCase(static_cast<char*>(nullptr));
}
