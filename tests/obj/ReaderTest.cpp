#include <locale>
#include <sstream>

#include "TestSupport.h"

using namespace WavefrontOBJ;

namespace {

std::string describeMaterial(const OBJMaterial& m) {
  std::ostringstream text;
  text << m.name;
  for (const auto* colour : {&m.Kd, &m.Ka, &m.Ks}) {
    text << "|" << (*colour)[0] << " " << (*colour)[1] << " " << (*colour)[2];
  }
  text << "|" << m.Ns << " " << m.d << " " << m.Ni << " " << m.illum;
  for (const std::string* map : {&m.map_Kd, &m.map_Ks, &m.map_Ka, &m.map_bump, &m.map_d}) text << "|" << *map;
  return text.str();
}

}  // namespace

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
  std::string text = "f";
  for (int i = 1; i < 90; ++i) text = "v 0 0 0\n" + text + " " + std::to_string(i);
  EXPECT_EQ(failedAssertion([&] { model.read(folder.write("m.obj", text), false); }),
            "OBJBasic:324 addVertex 0");
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

TEST(MaterialReader, StoresKeywords) {
  const std::string black = "|0 0 0|0 0 0|0 0 0|";
  struct Case {
    std::string text, materials, message;  ///< DIR stands for the folder
    bool lenient = true, strict = true;
  };
  const Case cases[] = {
      {"", "", ""},
      {"NEWMTL a\nKD 1 0.5 .25\nka 1e-1 2 3\nKs 4 5 6\nNs 10\nd 0.5\nNi 1.5\nillum 2.0\nmap_Kd tex/a.png\n"
       "MAP_KS b\nmap_Ka c.png\nmap_Bump -bm d\nmap_d e\n",
       "a|1 0.5 0.25|0.1 2 3|4 5 6|10 0.5 1.5 2|DIRtex/a.png|DIRb|c.png|DIR-bm|DIRe\n", ""},
      {"# x\n\n \t\n # y\nnewmtl r\r\n", "r" + black + "0 1 1 0|||||\n", ""},
      // Values that are missing or do not fit repeat earlier ones; names share one token.
      {"newmtl a\nNs 7\nd\nKd 1 2 3\nnewmtl b\nKs 9 x 4\nNi 1e999\nKa 1e 2\n",
       "a|1 2 3|0 0 0|0 0 0|7 7 1 0|||||\nb|0 0 0|9 2 3|9 2 3|0 1 7 0|||||\n", ""},
      {"newmtl\nmap_Kd t.png\nnewmtl\n", black + "0 1 1 0|DIRt.png||||\nt.png" + black + "0 1 1 0|||||\n",
       ""},
      {"Ka 1 1 1\nnewmtl a\n", "", " line \"Ka 1 1 1\" for newmtl in DIRlib.mtl", false, false},
      {"newmtl a\nTr 0.5\nNs 1\n", "a" + black + "1 1 1 0|||||\n",
       " line \"Tr 0.5\" in DIRlib.mtl in not valid.\n", true, false},
  };
  const TempFolder folder;
  const auto expand = [&folder](std::string text) {
    for (std::size_t at = 0; (at = text.find("DIR")) != std::string::npos;)
      text.replace(at, 3, folder.path(""));
    return text;
  };
  for (const Case& c : cases) {
    for (const bool strict : {false, true}) {
      SCOPED_TRACE(c.text + (strict ? ", strict" : ", lenient"));
      OBJModel model(true);
      model._errorMessage = "before";
      std::vector<OBJMaterial*> materials;
      const bool success = model.readMaterialFile(folder.write("lib.mtl", c.text), materials, strict);
      EXPECT_EQ(success, strict ? c.strict : c.lenient);
      EXPECT_EQ(model._errorMessage, "before" + expand(c.message));
      std::string described;
      for (const OBJMaterial* material : materials) described += describeMaterial(*material) + "\n";
      EXPECT_TRUE(!success || described == expand(c.materials)) << described;
      for (const OBJMaterial* material : materials) delete material;
    }
  }
  for (const std::string& path : {folder.path("none.mtl"), folder.path(""), std::string("/dev/zero")}) {
    OBJModel model(true);
    std::vector<OBJMaterial*> materials;
    EXPECT_FALSE(model.readMaterialFile(path, materials, false)) << "regular files alone";
    EXPECT_EQ(model._errorMessage, "Materials file missing: " + path);
  }
}

TEST(MaterialReader, HelpersOfTheInterface) {
  const char* const paths[][2] = {{"/a/b.obj", "/a/"}, {"b.obj", ""}, {"a\\b/c\\d", "a\\b/c\\"}};
  for (const auto& [path, folder] : paths) EXPECT_EQ(OBJModel::getPath(path), folder);
  std::int32_t v = 7, vt = 8, vn = 9;
  EXPECT_TRUE(OBJModel::readVertexInfo("1/2/3", true, true, v, vt, vn));
  EXPECT_EQ(v + 10 * vt + 100 * vn, 321);
  EXPECT_TRUE(OBJModel::readVertexInfo("4/", true, false, v, vt, vn)) << "what is missing stays as it was";
  EXPECT_EQ(v + 10 * vt, 24);
  EXPECT_FALSE(OBJModel::readVertexInfo("1", true, false, v, vt, vn));
  EXPECT_FALSE(OBJModel::readVertexInfo("1/2/3x", true, true, v, vt, vn));
  EXPECT_TRUE(OBJModel::readVertexInfo("5x6", true, false, v, vt, vn)) << "any separator";
}
