#include <clocale>
#include <locale>

#include "TestSupport.h"
#include "obj/internal/OBJReader.h"

using namespace WavefrontOBJ;

namespace {

const std::string kTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";

/// The face list as "1 2 3|..." in the file's numbers, with /texture and //normal where carried.
std::string facesOf(const OBJModel& model) {
  std::string text;
  model._faces->forEachFace([&](std::uint32_t index, const OBJFaceView& face) {
    if (index > 0) text += "|";
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      if (i > 0) text += " ";
      text += std::to_string(face.vertexIndex[i] + 1);
      if (face.hasTexture) text += "/" + std::to_string(face.textureIndex[i] + 1);
      if (face.hasNormal) text += (face.hasTexture ? "/" : "//") + std::to_string(face.normalIndex[i] + 1);
    }
  });
  return text;
}

std::string groupsOf(const OBJModel& model) {
  std::string text;
  for (const std::string& name : model._groupNames)
    text += name + ":" + describe(model._groups.at(name)) + ";";
  return text;
}

std::string numbersOf(const OBJModel& model) {
  std::string text;
  for (std::uint32_t i = 0; i < model._smoothingGroupCount; ++i)
    text += std::to_string(model._smoothingGroups[i]) + " ";
  text += "|";
  model._faces->forEachFace(
      [&](std::uint32_t, const OBJFaceView& face) { text += " " + std::to_string(face.smoothingGroup); });
  return text;
}

struct Read {
  explicit Read(const std::string& text, bool strict = false) : model(true) {
    success = model.read(folder.write("m.obj", text), strict);
    message = model._errorMessage;
    const std::string path = folder.path("m.obj");
    for (std::size_t at = 0; (at = message.find(path)) != std::string::npos;)
      message.replace(at, path.size(), "PATH");
  }
  TempFolder folder;
  OBJModel model;
  bool success = false;
  std::string message;
};

}  // namespace

TEST(Reader, FacesAndGroups) {
  struct Case {
    const char* name;
    std::string text;
    const char* faces;
    const char* groups;
  };
  const Case cases[] = {
      {"empty file", "", "", ""},
      {"no group line", "f 1 2 3\n", "1 2 3", "default:0 ;"},
      {"no line feed at the end", "f 1 2 3", "1 2 3", "default:0 ;"},
      {"two names", "g a b\nf 1 2 3\ng b\nf 3 2 1\n", "1 2 3|3 2 1", "a:0 ;b:0 1 ;"},
      {"keyword case and name case", "G Arm\nF 1 2 3\n", "1 2 3", "Arm:0 ;"},
      {"trailing blank doubles the last name", "g a b \nf 1 2 3\n", "1 2 3", "a:0 ;b:0 0 ;"},
      {"carriage returns double the name, not the corner", "g a\r\nf 1 2 3\r\n", "1 2 3", "a:0 0 ;"},
      {"bare g first", "g\nf 1 2 3\n", "1 2 3", "default:0 ;"},
      {"bare g takes the stale corner", "f 1 2 3\ng\nf 3 2 1\n", "1 2 3|3 2 1", "default:0 ;3:1 ;"},
      {"bare g takes the stale smoothing token in lower case", "s OFF\ng\nf 1 2 3\n", "1 2 3", "off:0 ;"},
      {"bare g takes the stale material", "usemtl Red\ng\nf 1 2 3\n", "1 2 3", "Red:0 ;"},
      {"repeated corner", "f 1 2 2 3\n", "1 2 3", "default:0 ;"},
      {"one and two corners load", "f 1\nf 1 2\n", "1|1 2", "default:0 1 ;"},
      {"stale corner as a face", "f 1 2 3\nf\n", "1 2 3|3", "default:0 1 ;"},
      {"-1 names the position past the last", "f 1 2 -1\n", "1 2 4", "default:0 ;"},
      {"-3 lands further out", "f -3 1 2\n", "6 1 2", "default:0 ;"},
      {"texture", "vt 0 0\nf 1/1 2/1 3/1\n", "1/1 2/1 3/1", "default:0 ;"},
      {"normal", "vn 0 0 1\nf 1//1 2//1 3//1\n", "1//1 2//1 3//1", "default:0 ;"},
      {"both", "vt 0 0\nvn 0 0 1\nf 1/1/1 2/1/1 3/1/1\n", "1/1/1 2/1/1 3/1/1", "default:0 ;"},
      {"relative texture past the last", "vt 0 0\nf 1/-1 2/1 3/1\n", "1/2 2/1 3/1", "default:0 ;"},
      {"number that does not fit keeps the one before", "f 1 99999999999 3\n", "1 3", "default:0 ;"},
      {"any second character reads a vertex", "vp 5\nv5 6 7\nf 4 5 1\n", "4 5 1", "default:0 ;"},
      {"g glued to its name", "group x\nf 1 2 3\n", "1 2 3", "roup:0 ;x:0 ;"},
      {"blank before the keyword ignores the line", " f 1 2 3\no f\n", "", ""},
      {"NUL ends the line early", std::string("f 1 2 3\0 1\n", 11), "1 2 3", "default:0 ;"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Read read(kTriangle + c.text);
    EXPECT_TRUE(read.success);
    EXPECT_EQ(read.message, "");
    EXPECT_EQ(facesOf(read.model), c.faces);
    EXPECT_EQ(groupsOf(read.model), c.groups);
  }
}

TEST(Reader, MessagesInBothModes) {
  struct Case {
    const char* name;
    std::string text;
    bool lenient;
    const char* message;
  };
  const Case cases[] = {
      {"unknown line", "XYZ A\n", true, "Line \"xyz A\" in PATH has error."},
      {"malformed corner", "f 1 2/2 3\n", true, "Error for vertex at (f 1 2/2 3)\n"},
      {"corner with a tail", "f 1 2x 3\n", true, "Error for vertex at (f 1 2x 3)\n"},
      {"missing texture number", "f 1/1 2 3/1\n", false,
       "Coordinate of texture invalid at (f 1/1 2 3/1) in PATH\n"},
      {"vertex 0", "f 1 0 3\n", false, "Vertex 0 invalid at (f 1 0 3) in PATH\n"},
      {"vertex beyond", "f 1 2 4\n", false, "Vertex not found at (f 1 2 4) in PATH\n"},
      {"vertex far below", "f 1 2 -2147483648\n", false, "Vertex not found at (f 1 2 -2147483648) in PATH\n"},
      {"vertex beyond 31 bits first", "f 2147483648 1 2\n", false,
       "Vertex 0 invalid at (f 2147483648 1 2) in PATH\n"},
      {"texture 0", "vt 0 0\nf 1/0 2/1 3/1\n", false,
       "Coordinate of texture 0 invalid at (f 1/0 2/1 3/1) in PATH\n"},
      {"normal 0", "vn 0 0 1\nf 1//0 2//1 3//1\n", false,
       "Normal of vertex 0 invalid at f 1//0 2//1 3//1) in PATH\n"},
      {"normal beyond", "vn 0 0 1\nf 1//2 2//1 3//1\n", false,
       "Usage of non valid normal for vertex at (f 1//2 2//1 3//1) in PATH\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Read lenient(kTriangle + c.text + "g last\nf 1 2 3\n");
    EXPECT_EQ(lenient.success, c.lenient);
    EXPECT_EQ(lenient.message, c.message);
    EXPECT_EQ(facesOf(lenient.model), c.lenient ? "1 2 3" : "");
    EXPECT_EQ(lenient.model._readNotes.total, c.lenient ? 1U : 0U);
    const Read strict(kTriangle + c.text + "f 1 2 3\n", true);
    EXPECT_FALSE(strict.success);
    EXPECT_EQ(strict.message, c.message);
    EXPECT_EQ(strict.model._vertices->count, 3U) << "what was read stays";
  }
  EXPECT_EQ(Read(kTriangle + "usemtl Red\nf 1 2 3\n", true).message, "Material Red in PATH not found.");
  EXPECT_EQ(Read(kTriangle + "usemtl Red\nf 1 2 3\n").message, "");
  EXPECT_EQ(Read("ab\nf 1\n").message, "Line \"ab\" in PATH has error.Vertex not found at (f 1) in PATH\n");
}

TEST(Reader, FilesThatCannotBeOpened) {
  const TempFolder folder;
  for (const std::string& path : {folder.path("none.obj"), folder.path(""), std::string()}) {
    OBJModel model(true);
    model._errorMessage = "old";
    EXPECT_FALSE(model.read(path, false));
    EXPECT_EQ(model._errorMessage, "OBJ file not found: " + path);
  }
}

TEST(Reader, VectorsShareOneScratch) {
  const Read read("v 1 2 3\nvt 5 6\nv\nvn 9\nvt 0.5 0.25 7\nv x\nvt\n");
  const auto expect = [](const OBJVector& v, float x, float y, float z) {
    EXPECT_EQ(v.x, x);
    EXPECT_EQ(v.y, y);
    EXPECT_EQ(v.z, z);
    EXPECT_EQ(v.w, 1.0F);
  };
  const OBJVectorArray& v = *read.model._vertices;
  const OBJVectorArray& vt = *read.model._textureCoords;
  expect(vt[0], 5, 6, 0);
  expect(v[1], 5, 6, 0);
  expect((*read.model._normals)[0], 9, 6, 0);
  expect(vt[1], 0.5F, 0.25F, 7);
  expect(v[2], 0.5F, 0.25F, 7);
  expect(vt[2], 0.5F, 0.25F, 7);
}

TEST(Reader, SmoothingGroups) {
  struct Case {
    const char* text;
    const char* numbers;  ///< the table | the faces
  };
  for (const Case& c :
       {Case{"s 2\nf 1 2 3\ns off\nf 1 2 3\n", "2 | 2 0"}, Case{"s 0\nf 1 2 3\n", "0 | 0"},
        Case{"s 5\ns 5 7\ns Off\ns 3\nf 1 2 3\n", "5 3 | 3"}, Case{"s 5\ns x\nf 1 2 3\n", "5 | 5"},
        Case{"s x\nf 1 2 3\n", "0 | 0"}, Case{"s 8\ns 4294967296\nf 1 2 3\n", "8 | 8"},
        Case{"s 4294967295\nf 1 2 3\n", "4294967295 | 4294967295"}, Case{"f 1 2 3\ns\nf 1 2 3\n", "3 | 0 3"},
        Case{"smooth 4\nf 1 2 3\n", "0 | 0"}}) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(numbersOf(Read(kTriangle + c.text).model), c.numbers);
  }
}

TEST(Reader, FullSmoothingTableLeavesAnEmptyLogAndEnds) {
  const TempFolder folder;
  std::string text;
  for (int i = 1; i <= 256; ++i) text += "s " + std::to_string(i) + "\n";
  const auto old = std::filesystem::current_path();
  std::filesystem::current_path(folder.path(""));
  OBJModel full(true);
  EXPECT_EQ(failedAssertion([&] { full.read(folder.write("full.obj", text + "s off\n"), false); }), "");
  EXPECT_EQ(full._smoothingGroupCount, 256U);
  EXPECT_FALSE(folder.has("error_objmodel_read.txt"));
  OBJModel known(true);
  EXPECT_EQ(failedAssertion([&] { known.read(folder.write("more.obj", text + "s 1\n"), false); }),
            "OBJModel:976 read 0")
      << "even a number that is known";
  EXPECT_TRUE(folder.has("error_objmodel_read.txt"));
  EXPECT_EQ(folder.read("error_objmodel_read.txt"), "");
  std::filesystem::current_path(old);
}

TEST(Reader, MaterialLibraries) {
  const TempFolder folder;
  folder.write("a.mtl", "newmtl red\nKd 1 0 0\nnewmtl Blue\n");
  folder.write("b.mtl", "newmtl red\nTr 1\n");
  folder.write("bad.mtl", "newmtl lost\n");
  folder.write("bad.mtl", "Ka 1 1 1\n");
  const auto read = [&](const std::string& text, bool strict, OBJModel& model) {
    return model.read(folder.write("m.obj", kTriangle + text), strict);
  };
  OBJModel model(true);
  EXPECT_TRUE(
      read("xyz\nmtllib a.mtl c.mtl\nUSEMTL Blue\nf 1 2 3\nmtllib b.mtl\nusemtl red\nf 1 2 3\nf 3 2 1\n"
           "usemtl blue\nf 1 2 3\n",
           false, model));
  ASSERT_EQ(model._materials.size(), 3U);
  EXPECT_EQ(model._materials[0].Kd[0], 1.0);
  EXPECT_EQ(describe(model._materialFaces[0]), "1 2 ") << "the first of two of one name";
  EXPECT_EQ(describe(model._materialFaces[1]), "0 ");
  EXPECT_EQ(model._faces->view(3).materialIndex, -1) << "names keep their case";
  EXPECT_NE(model._errorMessage.find("xyz"), std::string::npos);
  EXPECT_NE(model._errorMessage.find(" line \"Tr 1\" in " + folder.path("b.mtl") + " in not valid.\n"),
            std::string::npos);

  OBJModel failing(true);
  EXPECT_TRUE(read("xyz\nmtllib bad.mtl\nmtllib none.mtl\nabc\nf 1 2 3\n", false, failing));
  EXPECT_EQ(failing._errorMessage, "Line \"abc\" in " + folder.path("m.obj") + " has error.")
      << "a failing library takes the messages before it away";
  EXPECT_EQ(failing._readNotes.total, 4U) << "the notes stay";
  EXPECT_EQ(failing._materials.size(), 0U);

  OBJModel strict(true);
  EXPECT_FALSE(read("mtllib none.mtl\n", true, strict));
  EXPECT_EQ(strict._errorMessage, "Materials file missing: " + folder.path("none.mtl"));
}

TEST(Reader, IgnoresTheLocaleOfTheProcess) {
  struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale old = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
  const char* german = nullptr;
  for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) {
    if (german == nullptr) german = std::setlocale(LC_ALL, name);
  }
  const TempFolder folder;
  folder.write("a.mtl", "newmtl red\nKd 0.5 1.25 1e-1\n");
  OBJModel model(true);
  const bool success = model.read(
      folder.write("m.obj", "mtllib a.mtl\nv 1.5 +2.25 3e0\nv 12345.5 0 0\nv 0 0 1\nf 1 2 3\n"), false);
  model.write(folder.path("out.obj"), true, nullptr);
  std::setlocale(LC_ALL, "C");
  std::locale::global(old);
  EXPECT_TRUE(success);
  EXPECT_EQ((*model._vertices)[0].y, 2.25F);
  EXPECT_EQ(model._materials[0].Kd[1], 1.25);
  EXPECT_NE(folder.read("out.obj").find("v 12345.5 0.00000 0.00000 \n"), std::string::npos);
  EXPECT_NE(folder.read("out.obj").find("#Vertex Count 3\n"), std::string::npos);
}

TEST(Reader, RunsOutOfNothingOnHugeNameLists) {
  std::string text = kTriangle;
  for (int line = 0; line < 2000; ++line) {
    text += "g";
    for (int name = 0; name < 100; ++name) text += " n" + std::to_string(line * 100 + name);
    text += "\nf 1 2 3\n";
  }
  const Read read(text);
  EXPECT_TRUE(read.success);
  EXPECT_EQ(read.model._groupNames.size(), 200000U);
  EXPECT_EQ(read.model._groups.at("n199999")[0], 1999U);
}
