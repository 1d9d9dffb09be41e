#include <cmath>
#include <limits>

#include "TestSupport.h"
#include "plugin/KOBJRev01.h"

namespace {

char sBlock[65536];

float call(decltype(&Version) function, const char* text, double number = 0, char* block1 = sBlock) {
  sBlock[0] = '\0';
  return function(text, number, block1, 1, 2, 3, nullptr);
}

const std::string kModel =
    "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\ng arm\ns 7\nf 1 2 3\ng leg\ns 9\nf 2 3 4\nf 3 4 2\ng dot\ns off\nf "
    "4\n";

struct CallsTest : testing::Test {
  ~CallsTest() override { call(FreeOBJModel, nullptr); }

  float load(const std::string& text) { return call(LoadOBJFile, folder.write("m.obj", text).c_str()); }

  TempFolder folder;
};

}  // namespace

TEST_F(CallsTest, Lifecycle) {
  EXPECT_EQ(call(Version, nullptr), 1.3F);
  EXPECT_EQ(call(FreeOBJModel, nullptr), 0.0F);
  EXPECT_EQ(call(GetOBJInfo, "vertexCount"), 0.0F);
  EXPECT_EQ(load(kModel), 3.0F);
  EXPECT_NE(gOBJModel, nullptr);
  EXPECT_EQ(call(LoadOBJFile, nullptr), 0.0F);
  EXPECT_EQ(gOBJModel, nullptr) << "even a null path frees";
  EXPECT_EQ(load("v 1 2 3\nv 1 2 3\n"), 0.0F);
  EXPECT_EQ(call(GetOBJInfo, "vertexCount"), 2.0F) << "no groups, and still a model";
  EXPECT_EQ(load("f 1\n"), -1.0F);
  EXPECT_STREQ(sBlock, ("Vertex not found at (f 1) in " + folder.path("m.obj") + "\n").c_str());
  EXPECT_EQ(gOBJModel, nullptr);
  EXPECT_EQ(call(LoadOBJFile, folder.path("none").c_str(), 0, nullptr), -1.0F) << "without a buffer";
  EXPECT_EQ(call(LoadOBJFile, folder.path("").c_str()), -1.0F);
  EXPECT_STREQ(sBlock, ("OBJ file not found: " + folder.path("")).c_str()) << "a folder";
}

TEST_F(CallsTest, AnswersForEveryIndex) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInf = std::numeric_limits<double>::infinity();
  for (const auto function : {GetOBJGroupInfo, GetOBJSmoothGroupInfo, ExportOBJGroup, ExportOBJSmoothGroup}) {
    EXPECT_EQ(call(function, "name", 1), -1.0F) << "without a model";
  }
  ASSERT_EQ(load(kModel), 3.0F);
  struct Case {
    decltype(&Version) function;
    const char* key;
    double number;
    float answer;
    const char* text;
  };
  const Case cases[] = {
      {GetOBJInfo, "vertexCount", 0, 4, ""},
      {GetOBJInfo, "faceCount", 0, 4, ""},
      {GetOBJInfo, "groupCount", 0, 3, ""},
      {GetOBJInfo, "smoothGroupCount", 0, 2, ""},
      {GetOBJInfo, "VertexCount", 0, 0, ""},
      {GetOBJInfo, "vertexCount ", 0, 0, ""},
      {GetOBJInfo, nullptr, 0, 0, ""},
      {GetOBJGroupInfo, "name", 1, 0, "arm"},
      {GetOBJGroupInfo, "name", 2.99, 0, "leg"},
      {GetOBJGroupInfo, "name", 3, 0, "dot"},
      {GetOBJGroupInfo, "name", 4, -1, ""},
      {GetOBJGroupInfo, "name", 0, -1, ""},
      {GetOBJGroupInfo, "name", 0.5, -1, ""},
      {GetOBJGroupInfo, "vertexCount", 0.5, 0, ""},
      {GetOBJGroupInfo, "name", -1, -1, ""},
      {GetOBJGroupInfo, "name", kNaN, -1, ""},
      {GetOBJGroupInfo, "name", kInf, -1, ""},
      {GetOBJGroupInfo, "name", 1e300, -1, ""},
      {GetOBJGroupInfo, "vertexCount", 1, 3, ""},
      {GetOBJGroupInfo, "vertexCount", 3, 0, ""},
      {GetOBJGroupInfo, "faceCount", 1, -1, ""},
      {GetOBJGroupInfo, nullptr, 1, -1, ""},
      {GetOBJSmoothGroupInfo, "count", kNaN, 2, ""},
      {GetOBJSmoothGroupInfo, "value", 1, 7, ""},
      {GetOBJSmoothGroupInfo, "value", 2, 9, ""},
      {GetOBJSmoothGroupInfo, "value", 3, 0, ""},
      {GetOBJSmoothGroupInfo, "value", 4, -1, ""},
      {GetOBJSmoothGroupInfo, "value", 0.5, -1, ""},
      {GetOBJSmoothGroupInfo, "value", 0, -1, ""},
      {GetOBJSmoothGroupInfo, "value", kNaN, -1, ""},
      {GetOBJSmoothGroupInfo, "value", -kInf, -1, ""},
      {GetOBJSmoothGroupInfo, "value", 1e19, -1, ""},
      {GetOBJSmoothGroupInfo, "name", 1, -1, ""},
      {ExportOBJGroup, nullptr, 0, -1, ""},
      {ExportOBJSmoothGroup, nullptr, 1, -1, ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(call(c.function, c.key, c.number), c.answer)
        << (c.key != nullptr ? c.key : "null") << " " << c.number;
    EXPECT_STREQ(sBlock, c.text);
  }
  EXPECT_EQ(call(GetOBJGroupInfo, "name", 1, nullptr), -2.0F);
}

TEST_F(CallsTest, Exports) {
  ASSERT_EQ(load(kModel), 3.0F);
  struct Case {
    decltype(&Version) function;
    double number;
    float answer;
    const char* faces;  ///< the lines from the first "g" on; null: no file is made
  };
  const char* const whole = "g arm\nf 1 2 3\ng leg\nf 2 3 4\nf 3 4 2\ng dot\nf 4\n";
  const Case cases[] = {
      {ExportOBJGroup, 0, 0, whole},
      {ExportOBJGroup, 0.5, 0, whole},
      {ExportOBJGroup, -0.5, 0, whole},
      {ExportOBJGroup, 2, 0, "g leg\nf 1 2 3\nf 2 3 1\n"},
      {ExportOBJGroup, 3, -1, nullptr},
      {ExportOBJGroup, 4, -1, nullptr},
      {ExportOBJGroup, -1, -1, nullptr},
      {ExportOBJGroup, std::nan(""), -1, nullptr},
      {ExportOBJGroup, -4294967296.0, -1, nullptr},
      {ExportOBJGroup, 4294967296.0, -1, nullptr},
      {ExportOBJSmoothGroup, 2, 0, "g 9\nf 1 2 3\nf 2 3 1\n"},
      {ExportOBJSmoothGroup, 0.5, -1, nullptr},
      {ExportOBJSmoothGroup, 0, -1, nullptr},
      {ExportOBJSmoothGroup, 3, -1, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.number);
    std::filesystem::remove(folder.path("out.obj"));
    EXPECT_EQ(call(c.function, folder.path("out.obj").c_str(), c.number), c.answer);
    EXPECT_EQ(folder.has("out.obj"), c.faces != nullptr);
    if (c.faces == nullptr) continue;
    const std::string text = folder.read("out.obj");
    EXPECT_EQ(text.substr(text.find("\ng ") + 1), c.faces);
  }
  ASSERT_EQ(load(kModel + "f 2 1 4\n"), 3.0F);
  EXPECT_EQ(call(ExportOBJSmoothGroup, folder.path("off.obj").c_str(), 0.5), 0.0F) << "the faces outside all";
  EXPECT_NE(folder.read("off.obj").find("g 0\nf 4\nf 2 1 4\n"), std::string::npos);
}

TEST_F(CallsTest, ReplacesVertices) {
  EXPECT_EQ(call(ReplaceOBJVertices, "x"), -1.0F) << "without a model";
  ASSERT_EQ(load(kModel), 3.0F);
  EXPECT_EQ(call(ReplaceOBJVertices, nullptr), -1.0F);
  EXPECT_EQ(call(ReplaceOBJVertices, ""), -1.0F);
  EXPECT_EQ(call(ReplaceOBJVertices, folder.path("none").c_str()), -2.0F);
  EXPECT_STREQ(sBlock, "");
  EXPECT_EQ(call(ReplaceOBJVertices, folder.write("a.obj", "v 1 1 1\n").c_str()), -3.0F);
  const std::string moved = folder.write("b.obj", "v 9 0 0\nv 8 0 0\nv 7 0 0\nv 6 0 0\n");
  EXPECT_EQ(call(ReplaceOBJVertices, moved.c_str()), 0.0F);
  ASSERT_EQ(call(ExportOBJGroup, folder.path("out.obj").c_str(), 1), 0.0F);
  EXPECT_NE(folder.read("out.obj").find("v 9.00000 0.00000 0.00000 \n"), std::string::npos);
  EXPECT_EQ(call(GetOBJInfo, "groupCount"), 3.0F);
}

TEST_F(CallsTest, FaceWithAMissingPositionIsWrittenWithZeros) {
  ASSERT_EQ(load("v 1 1 1\nv 2 2 2\ng a\nf 1 2 -1\n"), 1.0F);
  EXPECT_EQ(call(GetOBJGroupInfo, "vertexCount", 1), 3.0F);
  ASSERT_EQ(call(ExportOBJGroup, folder.path("out.obj").c_str(), 1), 0.0F);
  EXPECT_NE(
      folder.read("out.obj").find("v 2.00000 2.00000 2.00000 \nv 0.00000 0.00000 0.00000 \ng a\nf 1 2 3\n"),
      std::string::npos);
  ASSERT_EQ(call(ExportOBJGroup, folder.path("out.obj").c_str(), 0), 0.0F);
  EXPECT_NE(folder.read("out.obj").find("\nv 2.00000 2.00000 2.00000 \ng a\nf 1 2 3\n"), std::string::npos);
}

TEST_F(CallsTest, NoExceptionLeavesACall) {
  const ThrowingAssertions throwing;
  std::string fan = "v 0 0 0\n";
  std::string face = "f";
  for (int i = 1; i <= 89; ++i) {
    fan += "v " + std::to_string(i) + " 0 0\n";
    face += " " + std::to_string(i);
  }
  EXPECT_EQ(load(fan + face + "\n"), -1.0F);
  EXPECT_EQ(gOBJModel, nullptr);
  ASSERT_EQ(load(kModel), 3.0F);
  EXPECT_EQ(call(ExportOBJGroup, folder.path("no/out.obj").c_str(), 0), -1.0F);
}

TEST(HelloWorld, WritesTheTextAndALineEnd) {
  testing::internal::CaptureStdout();
  KOBJRev01().HelloWorld("hello");
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "hello\n");
}
