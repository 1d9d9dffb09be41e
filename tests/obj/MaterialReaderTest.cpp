#include <sstream>

#include "TestSupport.h"

using namespace WavefrontOBJ;

namespace {

std::string describeMaterial(const OBJMaterial& m) {
  std::ostringstream text;
  text << m.name << "|Kd " << m.Kd[0] << " " << m.Kd[1] << " " << m.Kd[2] << "|Ka " << m.Ka[0] << " "
       << m.Ka[1] << " " << m.Ka[2] << "|Ks " << m.Ks[0] << " " << m.Ks[1] << " " << m.Ks[2] << "|" << m.Ns
       << " " << m.d << " " << m.Ni << " " << m.illum;
  for (const std::string* map : {&m.map_Kd, &m.map_Ks, &m.map_Ka, &m.map_bump, &m.map_d}) text << "|" << *map;
  return text.str();
}

}  // namespace

TEST(MaterialReader, StoresKeywords) {
  const std::string colours = "|Kd 0 0 0|Ka 0 0 0|Ks 0 0 0|";
  struct Case {
    const char* name;
    std::string text;
    bool lenient, strict;
    std::string message;                 ///< DIR stands for the folder
    std::vector<std::string> materials;  ///< likewise
  };
  const Case cases[] = {
      {"empty", "", true, true, "", {}},
      {"defaults", "newmtl red\n", true, true, "", {"red" + colours + "0 1 1 0|||||"}},
      {"everything, in any case",
       "NEWMTL a\nKD 1 0.5 .25\nka 1e-1 2 3\nKs 4 5 6\nNs 10\nd 0.5\nNi 1.5\nillum 2.0\nmap_Kd tex/a.png\n"
       "MAP_KS b\nmap_Ka c.png\nmap_Bump -bm d\nmap_d e\n",
       true,
       true,
       "",
       {"a|Kd 1 0.5 0.25|Ka 0.1 2 3|Ks 4 5 6|10 0.5 1.5 2|DIRtex/a.png|DIRb|c.png|DIR-bm|DIRe"}},
      {"comments and blank lines",
       "# x\n\n \t\n # y\nnewmtl r\r\n",
       true,
       true,
       "",
       {"r" + colours + "0 1 1 0|||||"}},
      {"values that are missing repeat earlier ones",
       "newmtl a\nNs 7\nd\nKd 1 2 3\nnewmtl b\nKs 9 x 4\nNi 1e\n",
       true,
       true,
       "",
       {"a|Kd 1 2 3|Ka 0 0 0|Ks 0 0 0|7 7 1 0|||||", "b|Kd 0 0 0|Ka 0 0 0|Ks 9 2 3|0 1 7 0|||||"}},
      {"overflow keeps the value",
       "newmtl a\nNs 5\nNs 1e999\n",
       true,
       true,
       "",
       {"a" + colours + "5 1 1 0|||||"}},
      {"names share one token",
       "newmtl\nmap_Kd t.png\nnewmtl\n",
       true,
       true,
       "",
       {colours + "0 1 1 0|DIRt.png||||", "t.png" + colours + "0 1 1 0|||||"}},
      {"second of one name",
       "newmtl a\nnewmtl a\nNs 1\n",
       true,
       true,
       "",
       {"a" + colours + "0 1 1 0|||||", "a" + colours + "1 1 1 0|||||"}},
      {"keyword before newmtl",
       "Ka 1 1 1\nnewmtl a\n",
       false,
       false,
       " line \"Ka 1 1 1\" for newmtl in DIRlib.mtl",
       {}},
      {"unknown keyword",
       "newmtl a\nTr 0.5\nNs 1\n",
       true,
       false,
       " line \"Tr 0.5\" in DIRlib.mtl in not valid.\n",
       {"a" + colours + "1 1 1 0|||||"}},
  };
  const TempFolder folder;
  for (const Case& c : cases) {
    for (const bool strict : {false, true}) {
      SCOPED_TRACE(std::string(c.name) + (strict ? ", strict" : ", lenient"));
      const std::string path = folder.write("lib.mtl", c.text);
      const auto expand = [&folder](std::string text) {
        for (std::size_t at = 0; (at = text.find("DIR")) != std::string::npos;)
          text.replace(at, 3, folder.path(""));
        return text;
      };
      OBJModel model(true);
      model._errorMessage = "before";
      std::vector<OBJMaterial*> materials;
      const bool success = model.readMaterialFile(path, materials, strict);
      EXPECT_EQ(success, strict ? c.strict : c.lenient);
      EXPECT_EQ(model._errorMessage, "before" + expand(c.message));
      if (success) {
        ASSERT_EQ(materials.size(), c.materials.size());
        for (std::size_t i = 0; i < materials.size(); ++i) {
          EXPECT_EQ(describeMaterial(*materials[i]), expand(c.materials[i]));
        }
      }
      for (const OBJMaterial* material : materials) delete material;
    }
  }
}

TEST(MaterialReader, OpensRegularFilesAlone) {
  const TempFolder folder;
  for (const std::string& path :
       {folder.path("none.mtl"), folder.path(""), std::string("/dev/zero"), std::string()}) {
    OBJModel model(true);
    std::vector<OBJMaterial*> materials;
    EXPECT_FALSE(model.readMaterialFile(path, materials, false));
    EXPECT_EQ(model._errorMessage, "Materials file missing: " + path);
  }
}

TEST(MaterialReader, HelpersOfTheInterface) {
  for (const auto& [path, folder] : {std::pair<const char*, const char*>{"/a/b.obj", "/a/"},
                                     {"b.obj", ""},
                                     {"a\\b/c\\d", "a\\b/c\\"},
                                     {"/", "/"},
                                     {"", ""}}) {
    EXPECT_EQ(OBJModel::getPath(path), folder);
  }
  std::istringstream three("1.5 x 3");
  double values[3] = {7, 8, 9};
  OBJModel::readThreeDouble(values, three);
  EXPECT_EQ(values[0], 1.5);
  EXPECT_EQ(values[1], 8.0);
  EXPECT_EQ(values[2], 9.0);
  std::istringstream two("1 -2");
  OBJVector vector(5, 5, 5, 5);
  OBJModel::readOBJVector(vector, two);
  EXPECT_EQ(vector.y, -2.0F);
  EXPECT_EQ(vector.z, 0.0F);
  EXPECT_EQ(vector.w, 0.0F);

  std::int32_t v = 7;
  std::int32_t vt = 8;
  std::int32_t vn = 9;
  EXPECT_TRUE(OBJModel::readVertexInfo("1/2/3", true, true, v, vt, vn));
  EXPECT_EQ(v + 10 * vt + 100 * vn, 321);
  EXPECT_TRUE(OBJModel::readVertexInfo("4/", true, false, v, vt, vn))
      << "an empty number keeps the one before";
  EXPECT_EQ(v + 10 * vt, 24);
  EXPECT_FALSE(OBJModel::readVertexInfo("1", true, false, v, vt, vn));
  EXPECT_FALSE(OBJModel::readVertexInfo("1/2/3x", true, true, v, vt, vn));
  EXPECT_TRUE(OBJModel::readVertexInfo("5x6", true, false, v, vt, vn)) << "any separator";
  EXPECT_EQ(vt, 6);
}
