#include "Checksum.h"
#include "TestSupport.h"
#include "system/TalvexPlugin.h"

TEST(Strings, CompareMatchesPatternAgainstText) {
  Checksum all;
  const std::vector<std::string> texts = everyText("A1! \xE9", 3);
  for (const std::string& a : texts) {
    for (const std::string& b : texts) {
      for (const unsigned mode : {0U, 1U, 2U, 3U}) {
        const char* end = STR_Compare(a.c_str(), b.c_str(), (mode & 1U) != 0, (mode & 2U) != 0);
        all.add(end == nullptr ? -1 : static_cast<std::int32_t>(end - b.c_str()));
      }
      EXPECT_EQ(STR_CompareExact(a.c_str(), b.c_str()), a == b ? b.c_str() + b.size() : nullptr);
    }
  }
  EXPECT_EQ(all.sum, 0x7DBF7887U);
  const char* b = "file:a/b";
  EXPECT_EQ(STR_Compare("file:", b, false, false), b + 5);
  EXPECT_EQ(STR_Compare("File:", b, false, false), nullptr);
  EXPECT_EQ(STR_Compare(nullptr, b, true, true), b);
  EXPECT_EQ(STR_CompareExact(nullptr, nullptr), nullptr);
}

TEST(Strings, LongToStringPadsInFrontOfTheSign) {
  char out[24];
  Checksum all;
  for (const long value : {0L, 7L, -5L, 1234L, -1234L, 2147483647L, -2147483647L - 1}) {
    for (int width = -1; width < 14; ++width) {
      const char* end = STR_LongToString(value, out, width);
      EXPECT_EQ(end, out + std::strlen(out));
      all.add(std::string_view(out));
    }
  }
  EXPECT_EQ(all.sum, 0xBF089065U);
  STR_LongToString(-5, out, 4);
  EXPECT_STREQ(out, "00-5");
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
  std::string delimiters, digits, letters, both;
  for (int i = 1; i < 256; ++i) {
    const char c = static_cast<char>(i);
    if (STR_IsDelimiter(c)) delimiters += c;
    if (STR_IsNumerical(c)) digits += c;
    if (STR_IsAlpha(c)) letters += c;
    if (STR_IsAlphaNumeic(c)) both += c;
  }
  EXPECT_EQ(delimiters, ",/:\\");
  EXPECT_EQ(digits, "0123456789");
  EXPECT_EQ(letters, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ(both, digits + letters);
  char text[] = "@AbZ[`{\xC4";
  STR_LowerCase(text);
  EXPECT_STREQ(text, "@abz[`{\xC4");
  STR_LowerCase(static_cast<char*>(nullptr));
}
