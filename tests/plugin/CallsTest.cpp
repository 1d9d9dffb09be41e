#include <algorithm>
#include <cmath>

#include "TestSupport.h"
#include "plugin/CallLimits.h"
#include "plugin/PluginCall.h"

namespace {

char sBlock[65536];

const std::string kModel =
    "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\ng arm\ns 7\nf 1 2 3\ng leg\ns 9\nf 2 3 4\nf 3 4 2\ng dot\ns off\nf "
    "4\n";

struct CallsTest : testing::Test {
  ~CallsTest() override { call(FreeOBJModel, nullptr); }

  float load(const std::string& text) {
    return call(LoadOBJFile, folder.write("m.obj", text).c_str(), 0, sBlock);
  }

  const TempFolder folder;
};

}  // namespace

TEST_F(CallsTest, Lifecycle) {
  EXPECT_EQ(call(FreeOBJModel, nullptr), 0.0F);
  for (const auto function : {GetOBJGroupInfo, GetOBJSmoothGroupInfo, ExportOBJGroup, ExportOBJSmoothGroup}) {
    EXPECT_EQ(call(function, "name", 1), -1.0F) << "without a model";
  }
  EXPECT_EQ(call(GetOBJInfo, "vertexCount"), 0.0F);
  EXPECT_EQ(load(kModel), 3.0F);
  EXPECT_EQ(call(LoadOBJFile, nullptr), 0.0F);
  EXPECT_EQ(gOBJModel, nullptr) << "even a null path frees";
  EXPECT_EQ(load("v 1 2 3\nv 1 2 3\n"), 0.0F);
  EXPECT_EQ(call(GetOBJInfo, "vertexCount"), 2.0F) << "no groups, and still a model";
  EXPECT_EQ(load("f 1\n"), -1.0F);
  EXPECT_EQ(sBlock, "Vertex not found at (f 1) in " + folder.path("m.obj") + "\n");
  EXPECT_EQ(gOBJModel, nullptr);
  EXPECT_EQ(call(LoadOBJFile, folder.path("none").c_str()), -1.0F) << "without a buffer";
  EXPECT_EQ(call(LoadOBJFile, folder.path("").c_str(), 0, sBlock), -1.0F);
  EXPECT_EQ(sBlock, "OBJ file not found: " + folder.path("")) << "a folder";
  testing::internal::CaptureStdout();
  KOBJRev01().HelloWorld("hello");
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "hello\n");
}

TEST_F(CallsTest, AnswerForEveryIndex) {
  ASSERT_EQ(load(kModel), 3.0F);
  const struct {
    decltype(&Version) function;
    const char* key;
    std::vector<std::pair<double, float>> answers;
  } cases[] = {
      {GetOBJInfo, "vertexCount", {{0, 4}}},
      {GetOBJInfo, "faceCount", {{0, 4}}},
      {GetOBJInfo, "groupCount", {{0, 3}}},
      {GetOBJInfo, "smoothGroupCount", {{0, 2}}},
      {GetOBJInfo, "vertexCount ", {{0, 0}}},
      {GetOBJInfo, nullptr, {{0, 0}}},
      {GetOBJGroupInfo,
       "name",
       {{4, -1}, {0, -1}, {0.5, -1}, {-1, -1}, {std::nan(""), -1}, {4294967297.0, -1}}},
      {GetOBJGroupInfo, "vertexCount", {{0.5, 0}, {1, 3}, {3, 0}, {4, -1}, {0, -1}}},
      {GetOBJGroupInfo, "faceCount", {{1, -1}}},
      {GetOBJGroupInfo, nullptr, {{1, -1}}},
      {GetOBJSmoothGroupInfo, "count", {{std::nan(""), 2}}},
      {GetOBJSmoothGroupInfo, "value", {{1, 7}, {2, 9}, {3, 0}, {4, -1}, {0.5, -1}, {0, -1}, {1e19, -1}}},
      {GetOBJSmoothGroupInfo, "name", {{1, -1}}},
      {GetOBJSmoothGroupInfo, nullptr, {{1, -1}}},
      {ExportOBJGroup, nullptr, {{0, -1}}},
      {ExportOBJSmoothGroup, nullptr, {{1, -1}}},
  };
  for (const auto& c : cases) {
    for (const auto& [number, answer] : c.answers) {
      EXPECT_EQ(call(c.function, c.key, number, sBlock), answer) << (c.key != nullptr ? c.key : "") << number;
    }
  }
  for (const auto& [number, name] : {std::pair{1.0, "arm"}, {2.99, "leg"}, {3.0, "dot"}}) {
    EXPECT_EQ(call(GetOBJGroupInfo, "name", number, sBlock), 0.0F);
    EXPECT_STREQ(sBlock, name);
  }
  EXPECT_EQ(call(GetOBJGroupInfo, "name", 1), -2.0F);
}

TEST_F(CallsTest, Exports) {
  const struct {
    decltype(&Version) function;
    std::vector<double> numbers;
    const char* faces = "";  ///< the lines from the first "g" on; empty: -1, and no file is made
    const char* more = "";   ///< behind the model
  } cases[] = {
      {ExportOBJGroup,
       {0, 0.5, -0.5},
       "g arm\nf 1 2 3\ng leg\nf 2 3 4\nf 3 4 2\ng dot\nf 4\ng arm\nf 1 2 4\n",
       "g arm\nf 1 2 4\n"},
      {ExportOBJGroup, {2}, "g leg\nf 1 2 3\nf 2 3 1\n"},
      {ExportOBJGroup, {3, 4, -1, std::nan(""), -4294967295.0, 4294967296.0}},
      {ExportOBJSmoothGroup, {2}, "g 9\nf 1 2 3\nf 2 3 1\n"},
      {ExportOBJSmoothGroup, {0.5, 0, 3}},
      {ExportOBJSmoothGroup, {0.5}, "g 0\nf 4\nf 2 1 4\n", "f 2 1 4\n"},  // the faces outside all
      // A position that is missing is written with zeros.
      {ExportOBJGroup, {4}, "g new\nf 1 2 3\n", "v 8 8 8\nv 9 9 9\ng new\nf 5 6 -1\n"},
  };
  for (const auto& c : cases) {
    load(kModel + c.more);
    for (const double number : c.numbers) {
      SCOPED_TRACE(number);
      std::filesystem::remove(folder.path("out.obj"));
      EXPECT_EQ(call(c.function, folder.path("out.obj").c_str(), number), *c.faces != '\0' ? 0.0F : -1.0F);
      EXPECT_EQ(folder.has("out.obj"), *c.faces != '\0');
      const std::string text = folder.read("out.obj");
      EXPECT_EQ(text.substr(text.find("\ng ") + 1), c.faces);
    }
  }
  EXPECT_NE(folder.read("out.obj").find("v 9.00000 9.00000 9.00000 \nv 0.00000 0.00000 0.00000 \ng"),
            std::string::npos);
}

TEST_F(CallsTest, ReplacesVertices) {
  EXPECT_EQ(call(ReplaceOBJVertices, "x"), -1.0F) << "without a model";
  ASSERT_EQ(load(kModel), 3.0F);
  EXPECT_EQ(call(ReplaceOBJVertices, nullptr), -1.0F);
  EXPECT_EQ(call(ReplaceOBJVertices, ""), -1.0F);
  EXPECT_EQ(call(ReplaceOBJVertices, folder.path("none").c_str()), -2.0F);
  EXPECT_EQ(call(ReplaceOBJVertices, folder.write("a.obj", "v 1 1 1\n").c_str()), -3.0F);
  const std::string moved = folder.write("b.obj", "v 9 0 0\nv 8 0 0\nv 7 0 0\nv 6 0 0\n");
  EXPECT_EQ(call(ReplaceOBJVertices, moved.c_str()), 0.0F);
  EXPECT_EQ((*gOBJModel->_vertices)[3].x, 6.0F);
  EXPECT_EQ(call(GetOBJInfo, "groupCount"), 3.0F);
}

TEST_F(CallsTest, NoExceptionLeavesACall) {
  const ThrowingAssertions throwing;
  std::string text;
  for (int i = 1; i <= 89; ++i) text += "v 0 0 0\n";
  text += "f";
  for (int i = 1; i <= 89; ++i) text += " " + std::to_string(i);
  EXPECT_EQ(load(text + "\n"), -1.0F) << "a corner more than a face takes";
  EXPECT_EQ(gOBJModel, nullptr);
  ASSERT_EQ(load(kModel), 3.0F);
  for (const auto function : {ExportOBJGroup, ExportOBJSmoothGroup}) {
    EXPECT_EQ(call(function, folder.path("no/out.obj").c_str(), 1), -1.0F);
  }
}

TEST_F(CallsTest, AnswersAreCutToTheTextLimit) {
  // Characters of one to four bytes, and bytes that are none.
  const std::string name = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\x8D\x80\x80\x80\x80\x80z\xF0";
  const std::size_t ends[] = {0, 1, 3, 6, 10, 11, 12, 13, 14, 15, 16, 17};
  ASSERT_EQ(load("v 0 0 0\nv 1 1 1\nv 2 2 2\ng " + name + "\nf 1 2 3\n"), 1.0F);
  for (std::size_t limit = 1; limit <= name.size() + 2; ++limit) {
    KSmthGrpImpt_SetTextLimit(limit);
    std::string block(name.size() + 2, '#');
    EXPECT_EQ(call(GetOBJGroupInfo, "name", 1, block.data()), 0.0F);
    const std::size_t length = *(std::upper_bound(std::begin(ends), std::end(ends), limit - 1) - 1);
    EXPECT_EQ(block, name.substr(0, length) + '\0' + std::string(name.size() + 1 - length, '#')) << limit;
  }
  EXPECT_EQ(KSmthGrpImpt_SetTextLimit(8), name.size() + 2);
  EXPECT_EQ(call(LoadOBJFile, "none", 0, sBlock), -1.0F);
  EXPECT_STREQ(sBlock, "OBJ fil");
  host::HostMesh mesh(3, 1, {"a_long_name"});
  EXPECT_EQ(call(GetMesh3DInfo, mesh, "groupName", 0, sBlock), 0.0F);
  EXPECT_STREQ(sBlock, "a_long_");
  folder.write("another_long_name", "");
  EXPECT_EQ(call(OpenFolder, folder.path("").c_str()), 0.0F);
  bool cut = false;
  while (call(GetFile, nullptr, 0, sBlock) == 0.0F) cut |= std::string(sBlock) == "another";
  EXPECT_TRUE(cut);
  call(CloseFolder, nullptr);
  KSmthGrpImpt_SetTextLimit(0);
  EXPECT_EQ(call(LoadOBJFile, "none", 0, sBlock), -1.0F);
  EXPECT_STREQ(sBlock, "OBJ file not found: none");
}

TEST_F(CallsTest, AssertionsAreAnsweredWhereThatIsAskedFor) {
  std::string corners, smoothing, normals = "v 0 0 0\nvt 1 2\n";
  for (int i = 1; i <= 89; ++i) corners += "v 0 0 0\n";
  corners += "f";
  for (int i = 1; i <= 89; ++i) corners += " " + std::to_string(i);
  for (int i = 0; i <= 256; ++i) smoothing += "s " + std::to_string(i) + "\n";
  for (int i = 0; i < 8001; ++i) normals += "vn 0 0 1\n";
  const std::string cornersFile = folder.write("c.obj", corners),
                    smoothingFile = folder.write("s.obj", smoothing);
  const std::string nowhere = folder.path("no/out.obj"), out = folder.path("out.obj");
  const struct {
    decltype(&Version) function;
    const std::string& path;
    double number;
    const char* reason;
  } cases[] = {{LoadOBJFile, cornersFile, 0, "0, function addVertex, file OBJBasic, line 324."},
               {LoadOBJFile, smoothingFile, 0, "0, function read, file OBJModel, line 976."},
               {ReplaceOBJVertices, cornersFile, 0, "0, function addVertex, file OBJBasic, line 324."},
               {ExportOBJGroup, nowhere, 0, "function write, file OBJModel, line 244."},
               {ExportOBJGroup, nowhere, 1, "function WriteGroup, file OBJModel, line 420."},
               {ExportOBJSmoothGroup, nowhere, 1, "function WriteSmoothingGroup, file OBJModel, line 541."},
               {ExportOBJGroup, out, 0, "function operator[], file OBJVectorArray, line 61."}};
  const auto old = std::filesystem::current_path();
  std::filesystem::current_path(folder.path(""));
  {
    // Comes second to the answers.
    const ThrowingAssertions throwing;
    EXPECT_EQ(KSmthGrpImpt_SetAssertionAnswers(2), 0);
    for (const auto& c : cases) {
      ASSERT_EQ(load(kModel + normals), 3.0F);
      *sBlock = '\0';
      EXPECT_EQ(call(c.function, c.path.c_str(), c.number, sBlock), -1.0F) << c.reason;
      EXPECT_NE(std::string(sBlock).find(c.reason), std::string::npos) << sBlock;
      EXPECT_EQ(gOBJModel, nullptr) << "given up";
    }
    ASSERT_EQ(load(kModel), 3.0F);
    gOBJModel->_groups["arm"].addFace(4000);
    host::HostMesh mesh(4, 4);
    EXPECT_EQ(call(SetMesh3DFromOBJGroup, mesh, "mask", 1, sBlock), -1.0F);
    EXPECT_STREQ(sBlock, "Assertion failed: 0, function operator[], file OBJFaceArray, line 64.");
    EXPECT_EQ(gOBJModel, nullptr);
    EXPECT_EQ(call(LoadOBJFile, cornersFile.c_str()), -1.0F) << "without a buffer";
    EXPECT_EQ(KSmthGrpImpt_SetAssertionAnswers(0), 1);
    *sBlock = '\0';
    EXPECT_EQ(call(LoadOBJFile, cornersFile.c_str(), 0, sBlock), -1.0F);
    EXPECT_STREQ(sBlock, "") << "the program's own handler again";
  }
  EXPECT_FALSE(folder.has("error_objmodel_read.txt"));
  std::filesystem::current_path(old);
}
