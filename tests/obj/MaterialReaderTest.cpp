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
