#include <locale>
#include <sstream>

#include "TestSupport.h"

using namespace WavefrontOBJ;

TEST(Reader, Messages) {
  struct Case {
    const char *text, *message;  ///< message: before the file's path
    bool success = false;
  };
  const Case cases[] = {
      {"g a\nf 1 2 3\n", "", true},
      {"XYZ A\nf 1\n", "Line \"xyz A\" in ", true},
      {"f 1 2/2 3\nf 1\n", "Error for vertex at (f 1 2/2 3)\n", true},
      {"f 1 2 4\n", "Vertex not found at (f 1 2 4) in "},
      {"f 0\n", "Vertex 0 invalid at (f 0) in "},
      {"f 1/1\n", "Coordinate of texture invalid at (f 1/1) in "},
      {"f 1/0\n", "Coordinate of texture 0 invalid at (f 1/0) in "},
      {"f 1//1\n", "Usage of non valid normal for vertex at (f 1//1) in "},
      {"f 1//0\n", "Normal of vertex 0 invalid at f 1//0) in "},
  };
  const TempFolder folder;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const std::string path = folder.write("m.obj", std::string("v 0 0 0\nv 1 0 0\nv 0 1 0\n") + c.text);
    OBJModel model(true), strict(true);
    EXPECT_EQ(model.read(path, false), c.success);
    EXPECT_EQ(model._errorMessage.substr(0, model._errorMessage.find(path)), c.message);
    EXPECT_EQ(model._readNotes.total, c.success && *c.message != '\0' ? 1U : 0U);
    EXPECT_EQ(strict.read(path, true), *c.message == '\0');
    EXPECT_EQ(strict._errorMessage, model._errorMessage);
  }
  OBJModel model(true);
  model._errorMessage = "old";
  EXPECT_FALSE(model.read(folder.path("none.obj"), false));
  EXPECT_EQ(model._errorMessage, "OBJ file not found: " + folder.path("none.obj"));
}

TEST(Reader, FullSmoothingTableLeavesAnEmptyLogAndEnds) {
  const TempFolder folder;
  std::string text;
  for (int i = 1; i <= 256; ++i) text += "s " + std::to_string(i) + "\n";
  const auto old = std::filesystem::current_path();
  std::filesystem::current_path(folder.path(""));
  OBJModel full(true), known(true);
  EXPECT_EQ(failedAssertion([&] { full.read(folder.write("full.obj", text + "s off\n"), false); }), "");
  EXPECT_FALSE(folder.has("error_objmodel_read.txt"));
  EXPECT_EQ(failedAssertion([&] { known.read(folder.write("more.obj", text + "s 1\n"), false); }),
            "OBJModel:976 read 0")
      << "even a number that is known";
  EXPECT_TRUE(folder.has("error_objmodel_read.txt") && folder.read("error_objmodel_read.txt").empty());
  std::filesystem::current_path(old);
}

TEST(Reader, MaterialLibraries) {
  const TempFolder folder;
  folder.write("a.mtl", "newmtl red\nKd 1 0 0\nnewmtl Blue\n");
  folder.write("b.mtl", "newmtl red\nTr 1\n");
  folder.write("bad.mtl", "Ka 1 1 1\n");
  const auto read = [&](const std::string& text, bool strict, OBJModel& model) {
    return model.read(folder.write("m.obj", "v 0 0 0\n" + text), strict);
  };
  OBJModel model(true), failing(true), strict(true), full(true);
  const char* const text =
      "mtllib a.mtl c.mtl\nUSEMTL Blue\nf 1\nmtllib b.mtl\nusemtl red\nf 1\nf 1\nusemtl blue\nf 1\n";
  EXPECT_TRUE(read(text, false, model));
  ASSERT_EQ(model._materials.size(), 3U);
  EXPECT_EQ(describe(model._materialFaces[0]), "1 2 ") << "the first of two of one name";
  EXPECT_EQ(describe(model._materialFaces[1]), "0 ");
  EXPECT_EQ(model._errorMessage, " line \"Tr 1\" in " + folder.path("b.mtl") + " in not valid.\n");

  EXPECT_TRUE(read("xyz\nmtllib bad.mtl\nmtllib none.mtl\nabc\nf 1\n", false, failing));
  EXPECT_EQ(failing._errorMessage, "Line \"abc\" in " + folder.path("m.obj") + " has error.")
      << "a failing library takes the messages before it away";
  EXPECT_EQ(failing._readNotes.total, 4U) << "the notes stay";
  EXPECT_FALSE(read("mtllib none.mtl\n", true, strict));
  EXPECT_EQ(strict._errorMessage, "Materials file missing: " + folder.path("none.mtl"));

  full._materials.reserve(kMaxMaterials + 2);
  full._materials.resize(kMaxMaterials - 2);
  EXPECT_TRUE(read("mtllib a.mtl\n", false, full));
  EXPECT_FALSE(read("xyz\nmtllib b.mtl\n", false, full)) << "a model takes no more";
  EXPECT_EQ(full._errorMessage, "Out of memory.");
}

TEST(Reader, IgnoresTheLocaleOfTheProcess) {
  struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale old = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
  const TempFolder folder;
  folder.write("a.mtl", "newmtl red\nKd 0.5 1.25 1e-1\n");
  OBJModel model(true);
  EXPECT_TRUE(model.read(folder.write("m.obj", "mtllib a.mtl\nv 12345.5 +2.25 3e0\n"), false));
  model.write(folder.path("out.obj"), true, nullptr);
  std::istringstream numbers("1.5 x 3"), coordinates("1.25 -2.5");
  double values[3] = {7, 8, 9};
  OBJModel::readThreeDouble(values, numbers);
  OBJVector vector(5, 5, 5, 5);
  OBJModel::readOBJVector(vector, coordinates);
  std::locale::global(old);
  EXPECT_EQ(model._materials[0].Kd[1], 1.25);
  EXPECT_NE(folder.read("out.obj").find("v 12345.5 2.25000 3.00000 \n"), std::string::npos);
  EXPECT_TRUE(values[0] == 1.5 && values[1] == 8 && values[2] == 9) << "ends at the first that is no number";
  EXPECT_TRUE(vector.x == 1.25F && vector.y == -2.5F && vector.z == 0.0F && vector.w == 0.0F);
}
