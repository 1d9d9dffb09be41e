// The smallest file of each kind of finding.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "TestSupport.h"
#include "document/Lint.h"
#include "document/Materials.h"
#include "document/OBJDocument.h"

namespace {

using namespace WavefrontOBJ;

struct FindingCase {
  std::string text;
  /// "code line:column text" of every finding of the read and of lint, one a line.
  std::string expected;
};

const std::string kTriangle = "v 0 0 0\nv 1 0 0\nv 1 1 0\n";
const std::string kFace = kTriangle + "f 1 2 3\n";

std::string repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

std::string numbered(const std::string& keyword, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += keyword + " " + std::to_string(i) + "\n";
  return all;
}

std::string manyCorners() {
  std::string text;
  std::string face = "f";
  for (int i = 1; i <= 89; ++i) {
    text += "v " + std::to_string(i) + " 0 0\n";
    face += " " + std::to_string(i);
  }
  return text + face + "\n";
}

const FindingCase kCases[] = {
    {kFace, ""},
    {std::string("v 0 0 0\0x\n", 10) + "v 1 0 0\nv 1 1 0\nf 1 2 3", "nul-byte 1:8 \n"},
    {kFace + "g a\x1A\n", "control-byte 5:4 \n"},
    {kFace + "xyz 1\n", "unknown-statement 5:1 xyz\n"},
    {kFace + "V 1 2 3\n", "upper-case-keyword 5:1 V\n"},
    {kFace + "f 1 0 3\n", "index-zero 5:5 0\n"},
    {kFace + "f 1 2 4\n", "index-out-of-range 5:0 vertex 4\n"},
    {kFace + "f 1 2 -4\n", "index-out-of-range 5:7 -4\n"},
    {kFace + "f 1/1 2 3\n",
     "index-out-of-range 5:0 texture coordinate 1\nmixed-forms 5:0 \nduplicate-faces 5:0 \n"},
    {kFace + "f 1 2 2147483648\n", "index-overflow 5:7 2147483648\n"},
    {kFace + "f 1 2 3x\n", "index-not-a-number 5:7 3x\n"},
    {kFace + "f 1 2/1/1/1 3\n", "index-not-a-number 5:5 2/1/1/1\n"},
    {kFace + "f 1 2\n", "too-few-corners 5:0 f 1 2\n"},
    {kFace + "l 1\n", "too-few-corners 5:0 l 1\nline-or-point 5:1 l\n"},
    {"v 0 0\nv 1 0 0\nv 1 1 0\nf 1 2 3\n", "number-missing 1:0 v 0 0\n"},
    {kFace + "vn 1 2\n", "number-missing 5:0 vn 1 2\n"},
    {kFace + "vt\n", "number-missing 5:0 vt\n"},
    {kFace + "vt 1 2 z\n", "not-a-number 5:8 z\n"},
    {kFace + "vt 1.5e 2e+ 3.5.1\n", "not-a-number 5:4 1.5e\nnot-a-number 5:9 2e+\nnot-a-number 5:13 3.5.1\n"},
    {kFace + "vt 1,5 2\n", "number-with-comma 5:4 1,5\n"},
    {kFace + "vt nan -Infinity\n", "number-not-finite 5:4 nan\nnumber-not-finite 5:8 -Infinity\n"},
    {kFace + "vt 3.5e38 1e38 1e-60\n", "number-out-of-range 5:4 3.5e38\n"},
    {kFace + "vt 1 2 3 4 5\n", "extra-numbers 5:10 4\n"},
    {kFace + "s on\n", "smoothing-not-a-number 5:3 on\n"},
    {kFace + "s\n", "smoothing-not-a-number 5:0 \n"},
    {"mtllib none.mtl\n" + kFace, "library-unreadable 1:0 none.mtl\n"},
    {"mtllib a.mtl\n" + kTriangle + "usemtl red\nf 1 2 3\nusemtl blue green\nf 1 3 2\n",
     "material-missing 5:0 red\nname-with-blank 7:8 blue green\nduplicate-faces 8:0 \n"},
    {kFace + "usemtl\no\ng\n", "name-missing 5:0 \nname-missing 6:0 \nname-missing 7:0 \n"},
    {kFace + "g \xE9\n", "name-not-utf-8 5:3 \xE9\n"},
    {kFace + "g \xC3\xA9\n", ""},
    {kTriangle + "f 1 2 3 2\n", "repeated-corner 4:0 2\n"},
    {kTriangle + "vn 0 0 1\nf 1//1 2//1 3\n", "mixed-forms 5:0 \n"},
    {kTriangle + "f 1/ 2// 3\n", "empty-part 4:3 1/\n"},
    {"f 1 2 3\n" + kTriangle, "forward-reference 1:0 vertex 1\n"},
    {kTriangle + "fo 1 2 3 # a b \n", "old-face 4:1 fo\ntrailing-comment 4:10 # a b\n"},
    {kTriangle + "f 1 2 \\\n3 #4\n", "continuation-line 4:7 \ntrailing-comment 5:3 #4\n"},
    {kTriangle + "f 1 2 3#\n", "index-not-a-number 4:7 3#\n"},
    {kFace + "l 1 2 #3\np # 1\n",
     "line-or-point 5:1 l\ntrailing-comment 5:7 #3\ntoo-few-corners 6:0 p # 1\nline-or-point 6:1 "
     "p\ntrailing-comment 6:3 # 1\n"},
    {kFace + "vt 1 2 # nan\nvn 0 0 1 #1\n", "trailing-comment 5:8 # nan\ntrailing-comment 6:10 #1\n"},
    {kFace + "vt 1 2 3 # 4\nvn 0 1 # 2\n",
     "trailing-comment 5:10 # 4\nnumber-missing 6:0 vn 0 1 # 2\ntrailing-comment 6:8 # 2\n"},
    {kFace + "g a #\ns 1 #\n", "several-groups 5:3 a #\n"},
    {"# a\\\n" + kFace, "continued-comment 1:4 \n"},
    {kFace + "call x.obj\n", "included-file 5:1 call\n"},
    {kFace + "g a b\n", "several-groups 5:3 a b\n"},
    {kFace + "f 2 3 1\n", "duplicate-faces 5:0 \n"},
    {"v 9 9 9\n" + kTriangle + "v 8 8 8\nv 7 7 7\nf 2 3 4\n",
     "unused-vertices 0:0 3\ntrailing-vertices 0:0 2\n"},
    {"v 0 -0 0\nv 1 0 0\nv 1 1 0\nv 0.0 0 0e5\nf 1 2 3 4\n", "coincident-vertices 0:0 1\n"},
    {"\xEF\xBB\xBF" + kFace, "byte-order-mark 1:0 \n"},
    {kTriangle + "f -3 -2 3\n", "relative-index 4:3 -3\n"},
    {kTriangle + "f 1 2 3\r\n", "carriage-return 4:0 \n"},
    {kTriangle + " f 1 2 3\n", "leading-blank 4:2 \n"},
    {kFace + "g a \n", "trailing-blank 5:4 \n"},
    {kTriangle + "f 1 2 \\\n3\n", "continuation-line 4:7 \n"},
    {kTriangle + "f 1 2 3\\", "continuation-line 4:8 \n"},
    {kFace + "#" + std::string(1024, 'x') + "\n", "long-line 5:1 \n"},
    {kFace + "#" + std::string(1023, 'x') + "\n", ""},
    {manyCorners(), "many-corners 90:0 89\n"},
    {kFace + numbered("s", 256) + "s off\n", "smoothing-zero 5:3 0\n"},
    {kFace + numbered("s", 256) + "s 255\n", "smoothing-zero 5:3 0\nsmoothing-table-full 261:3 255\n"},
    {kFace + "s 0\ns 00\ns off\n", "smoothing-zero 5:3 0\nsmoothing-zero 6:3 00\n"},
    {kFace + "s 4294967295\ns 4294967296\n", "smoothing-number-wide 6:3 4294967296\n"},
    {kFace + "usemtl\tRed\ng\tb\n", "tab-after-keyword 5:7 \n"},
    {kFace + "o b\n", "object-name 5:3 b\n"},
    {kFace + "p 1\n", "line-or-point 5:1 p\n"},
    {kTriangle + "fo 1 2 3\n", "old-face 4:1 fo\n"},
    {kFace + "deg 3\nvp 1\n", "free-form 5:1 deg\nfree-form 6:1 vp\n"},
    {"mtllib a.mtl a.mtl\n" + kFace, "several-libraries 1:14 a.mtl\n"},
    {"mtllib a b.mtl\n" + kFace, "several-libraries 1:10 b.mtl\n"},
    {kFace + "vt 1\n", "one-texture-value 5:0 vt 1\n"},
};

TEST(Findings, SmallestFiles) {
  const TempFolder folder;
  folder.write("a.mtl",
               "newmtl blue green\nKd 1 1 1\nmap_Kd -s 1 2 -o 0 0 0 -clamp on my tex.png\nbump -bm 2 "
               "b.png\nmap_aat on\n");
  folder.write("a b.mtl", "newmtl x\r\n");
  std::set<std::string> seen{"utf-16", "not-text"};  // those of files that are not read
  for (const FindingCase& c : kCases) {
    const std::string path = folder.write("test.obj", c.text);
    OBJDocument document;
    ASSERT_TRUE(document.read(path));
    Findings all;
    ASSERT_TRUE(lint(document, {}, all));
    all.add(document.findings());
    std::string found;
    std::uint64_t count = 0;
    for (const Finding& f : all.kept()) {
      const std::string code(rowOf(f.kind).code);
      seen.insert(code);
      found += code + " " + std::to_string(f.line) + ":" + std::to_string(f.column) + " " + f.text + "\n";
    }
    for (const Severity severity : {Severity::error, Severity::warning, Severity::note}) {
      count += all.count(severity, true);
      EXPECT_LE(all.count(severity, false), all.count(severity, true));
    }
    EXPECT_GE(count, all.kept().size());
    EXPECT_EQ(found, c.expected) << c.text;
  }
  for (const FindingRow& row : kFindingKinds) EXPECT_TRUE(seen.contains(std::string(row.code))) << row.code;
}

TEST(Findings, AreCountedPastThePlacesKept) {
  DocumentReadOptions options;
  options.placesPerKind = 3;
  OBJDocument document;
  ASSERT_TRUE(document.readBytes(kTriangle + repeated("f 1 2 -1\r\nxyz\n", 50), "x", options));
  EXPECT_EQ(document.findings().kept().size(), 9U);
  EXPECT_EQ(document.findings().count(FindingKind::relativeIndex), 50U);
  EXPECT_EQ(document.findings().count(FindingKind::carriageReturn), 50U);
  EXPECT_EQ(document.findings().count(Severity::error, true), 50U);
  EXPECT_EQ(document.findings().count(Severity::warning, false), 0U);
}

TEST(Materials, NamesAndTextures) {
  const TempFolder folder;
  const std::string path = folder.write("sub.mtl",
                                        "# c\nnewmtl a\n map_Kd -s 1 2 -o 0 0 0 -clamp on my "
                                        "tex.png\r\nnewmtl b c \nbump -bm 2 \\\nb.png\nmap_aat on\n");
  MaterialLibrary library;
  ASSERT_TRUE(readMaterialLibrary(path, library));
  ASSERT_EQ(library.materials.size(), 2U);
  EXPECT_EQ(library.materials[1].text, "b c");
  EXPECT_EQ(library.materials[1].line, 4U);
  EXPECT_TRUE(library.has("a") && !library.has("b"));
  ASSERT_EQ(library.textures.size(), 2U);
  EXPECT_EQ(library.textures[0].text, "my tex.png");
  EXPECT_EQ(library.textures[0].line, 3U);
  EXPECT_EQ(library.textures[1].text, "b.png");
  EXPECT_EQ(readMaterialLibrary("/dev/zero", library).status, Status::cannotOpen);

  OBJDocument document;
  folder.write("two words.mtl", "");
  ASSERT_TRUE(document.read(folder.write("m.obj", "mtllib two words.mtl\nmtllib x.mtl .\\sub.mtl /y\n")));
  EXPECT_EQ(libraryPaths(document),
            (std::vector<std::string>{folder.path("two words.mtl"), "", folder.path("x.mtl"),
                                      folder.path("./sub.mtl"), "/y"}));
}

}  // namespace
