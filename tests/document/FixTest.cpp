#include <algorithm>
#include <cmath>
#include <set>
#include <sstream>

#include "document/FixSupport.h"

using namespace WavefrontOBJ;

namespace {

/// Faces by what is in force for them: "a b|3|red".
using Chains = std::map<std::string, Chain>;

std::string joined(const std::vector<std::string>& words, char separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : std::string(1, separator)) + word;
  return text;
}

/// What is compared of the faces.
struct Compared {
  bool smoothing;
  bool attributes;  ///< texture coordinates and normals, too
};

template <class Index>
std::int64_t cornerOf(const Compared& compared, Index vertex, std::int64_t texture, std::int64_t normal) {
  return compared.attributes ? (static_cast<std::int64_t>(vertex) * 4096 + texture + 1) * 4096 + normal + 1
                             : vertex;
}

Chains documentChains(const OBJDocument& document, const FixOptions& options, const Compared& compared) {
  Chains chains;
  const ElementTable& faces = document.faces();
  const bool library =
      std::any_of(document.libraries().begin(), document.libraries().end(),
                  [](const OBJLibrary& row) { return row.text == "m.mtl" || row.text == "/m.mtl"; });
  for (std::uint32_t i = 0; i < faces.size(); ++i) {
    const ElementState& state = document.states()[faces.stateOf(i)];
    std::vector<std::string> names;
    for (const std::int32_t g : document.groupSet(state.groupSet)) names.push_back(document.groups()[g].text);
    std::string object;
    if (options.objects && state.object != kNoIndex) object = document.objects()[state.object].text;
    std::replace_if(
        object.begin(), object.end(), [](char c) { return c == ' ' || c == '\t'; }, '_');
    std::erase(names, object);
    if (!object.empty() && names == std::vector<std::string>{"default"}) names.clear();
    if (options.oneName) names = {joined(names, '_')};
    names.push_back(object);
    std::erase(names, "");
    std::sort(names.begin(), names.end());
    std::string key = joined(names, ' ') + "|";
    const std::uint64_t number =
        state.smoothing == kNoIndex ? 0 : document.smoothings()[state.smoothing].number;
    if (compared.smoothing) key += std::to_string(number);
    std::string material = state.material == kNoIndex ? "" : document.materials()[state.material].text;
    material.resize(std::min(material.size(), material.find_first_of(" \t")));
    key += library && (material == "red" || material == "Blue") ? "|" + material : "|";
    std::vector<std::int64_t> corners;
    for (std::size_t c = faces.begin(i); c < faces.begin(i + 1); ++c) {
      corners.push_back(cornerOf(compared, faces.vertexColumn()[c],
                                 faces.textureColumn().empty() ? kNoIndex : faces.textureColumn()[c],
                                 faces.normalColumn().empty() ? kNoIndex : faces.normalColumn()[c]));
    }
    addWalk(chains[key], corners);
  }
  std::erase_if(chains, [](const auto& row) { return row.second.empty(); });
  return chains;
}

Chains modelChains(const OBJModel& model, const Compared& compared) {
  std::vector<std::vector<std::string>> names(model._faces->count);
  for (const auto& [name, list] : model._groups) {
    for (const std::uint32_t face : list) names[face].push_back(name);
  }
  Chains chains;
  for (std::uint32_t i = 0; i < model._faces->count; ++i) {
    const OBJFace face = std::as_const(*model._faces)[i];
    std::string key = joined(names[i], ' ') + "|";
    if (compared.smoothing) key += std::to_string(face.smoothingGroup);
    key +=
        "|" +
        (face.materialIndex < 0 ? "" : model._materials[static_cast<std::size_t>(face.materialIndex)].name);
    std::vector<std::int64_t> corners;
    for (std::uint32_t c = 0; c < face.vertexCount; ++c) {
      corners.push_back(cornerOf(compared, face.vertexIndex[c], face.hasTexture ? face.textureIndex[c] : -1LL,
                                 face.hasNormal ? face.normalIndex[c] : -1LL));
    }
    EXPECT_GE(corners.size(), 3U);
    addWalk(chains[key], corners);
  }
  std::erase_if(chains, [](const auto& row) { return row.second.empty(); });
  return chains;
}

void expectVectors(const OBJDocument& document, VectorKind kind, const OBJVectorArray& vectors) {
  ASSERT_EQ(vectors.count, document.vectorCount(kind));
  const std::size_t width = kind == VectorKind::texture ? 2 : 3;
  std::vector<float> values;
  ASSERT_TRUE(document.values(kind, width, values));
  for (std::uint32_t i = 0; i < vectors.count; ++i) {
    std::string line;
    ASSERT_TRUE(document.lineText(document.vectorOffsets(kind)[i], line));
    const float read[3] = {vectors[i].x, vectors[i].y, vectors[i].z};
    for (std::size_t k = 0; k < width; ++k) {
      const float value = values[width * i + k];
      EXPECT_TRUE(std::isfinite(read[k])) << line;
      // Commas have a test of their own.
      if (std::isfinite(value) && line.find(',') == std::string::npos) {
        EXPECT_EQ(read[k], value) << line;
      }
    }
  }
}

/// Fixes the document, reads it as the host does and compares. `folder` has the library "m.mtl".
void expectSameInHost(const std::string& text, const FixOptions& options, const TempFolder& folder) {
  SCOPED_TRACE(text.size() < 3000 ? text : text.substr(0, 3000));
  const OBJDocument document = documentOf(text, folder.path("model.obj"));
  const Fixed once = fixed(document, options);
  const OBJDocument again = documentOf(once.text, folder.path("model.obj"));
  const Fixed twice = fixed(again, options);
  EXPECT_EQ(twice.text, once.text);
  EXPECT_EQ(twice.report.count(FixEffect::rewritten) + twice.report.count(FixEffect::leftOut), 0U)
      << codesOf(twice.report);
  EXPECT_EQ(again.findings().count(Severity::error, false), 0U);

  OBJModel model(true);
  const ThrowingAssertions throwing;
  ASSERT_TRUE(model.read(folder.write("model.obj", once.text), false)) << model._errorMessage << once.text;
  std::size_t passedOver = 0;
  for (const OBJReadNote& note : model._readNotes.kept) {
    EXPECT_NE(note.kind, OBJReadNote::Kind::malformedCorner);
    if (note.kind != OBJReadNote::Kind::unknownLine) continue;
    ++passedOver;
    EXPECT_TRUE(note.text[0] == 'l' || note.text[0] == 'p') << note.text;
  }
  if (model._readNotes.total < 200) {
    EXPECT_EQ(passedOver, again.lines().size() + again.points().size());
  }
  expectVectors(document, VectorKind::position, *model._vertices);
  expectVectors(document, VectorKind::texture, *model._textureCoords);
  expectVectors(document, VectorKind::normal, *model._normals);

  const auto none = [&once](std::initializer_list<FixKind> kinds) {
    return std::all_of(kinds.begin(), kinds.end(),
                       [&](FixKind kind) { return once.report.count(kind) == 0; });
  };
  const Compared compared{
      none({FixKind::smoothingWide}),
      none({FixKind::vertexMetAgain, FixKind::repeatedCorner, FixKind::flatFace, FixKind::mixedForms})};
  if (none({FixKind::nameBackslash, FixKind::nameLong, FixKind::groupsPastLine})) {
    EXPECT_EQ(modelChains(model, compared), documentChains(document, options, compared)) << once.text;
  }
}

std::vector<std::string> listOf(const std::string& text) {
  std::vector<std::string> list;
  std::istringstream stream(text);
  for (std::string item; std::getline(stream, item, '|');) list.push_back(item);
  return list;
}

/// A file with whatever exporters and editors leave in one.
std::string wildFile(Random& random) {
  const auto anyOf = [&random](const std::vector<std::string>& list) {
    return list[below(random, static_cast<std::uint32_t>(list.size()))];
  };
  const std::vector<std::string> ends{"\n", "\n", "\n", "\r\n", " \n", "\r"};
  const std::vector<std::string> good = listOf("0|1.5|-2.25|.5|7.|1e3|1E-3|+4");
  const std::vector<std::string> wild =
      listOf("0|1.5|-2.25|.5|7.|1e3|nan|-inf|1e99|0x10|1,25|1.5mm|-|1e|1e+|3.14159265");
  const std::vector<std::string> lines = listOf(
      "g|g  left\tear |g head|\tg default|g head eyes head|o|o Cube|o left arm|s off|s 0|s 1|s 2|s "
      "4294967295|"
      "s 99999999999|s on|s|usemtl red|usemtl Blue|usemtl\tBlue|usemtl gone|usemtl red wine|usemtl|mtllib "
      "m.mtl|"
      "mtllib gone.mtl m.mtl|vp 0.5 0.5|surf 0 1 0 1 1 2 3 4|end|cstype bezier|shadow_obj x|call x.obj|# a "
      "comment|"
      "# v 1 2 3\\|V 1 2 3|garbage|f|f 1 2|f 0 1 2|f 1 2 999|f a b c|l 1 2 3|p 1|l 1/1 2|fo 1 2 3|g head\\|| "
      "  ");
  std::string text = below(random, 4) == 0 ? "\xEF\xBB\xBF# head\n" : "mtllib m.mtl\n";
  const bool tame = below(random, 3) != 0;
  std::uint32_t vertices = 0;
  for (std::uint32_t i = 5 + below(random, 60); i > 0; --i) {
    const std::uint32_t kind = vertices < 4 ? 0 : below(random, 10);
    std::string line = anyOf(lines);
    if (kind < 4) {
      line = vertices < 4 ? "v" : anyOf({"v", "v", "v", "vt", "vn"});
      vertices += line == "v" ? 1 : 0;
      for (std::uint32_t k = tame ? 3 : below(random, 6); k > 0; --k) {
        line += (below(random, 9) == 0 ? "\t " : " ") + anyOf(tame ? good : wild);
      }
    } else if (kind < 8) {
      const std::string form = anyOf({"", "/1", "//1", "/1/1", "/"});
      const std::uint32_t first = below(random, vertices);
      line = "f";
      for (std::uint32_t k = below(random, 20) == 0 ? 80 + below(random, 400) : 3 + below(random, 4); k > 0;
           --k) {
        const std::uint32_t v = 1 + (tame ? first + k : below(random, vertices)) % vertices;
        line += ' ' + (below(random, 9) == 0 ? "-" + std::to_string(vertices + 1 - v) : std::to_string(v));
        if (tame || below(random, 9) != 0) line += form;
        if (below(random, 40) == 0) line += " \\\n";
      }
    }
    text += (below(random, 30) == 0 ? " " : "") + line + anyOf(ends);
  }
  // What the corners of all forms name, later in the file or not at all.
  return text + (below(random, 4) != 0 ? "vt 0.5 0.5\nvn 0 0 1\n" : "");
}

std::string mutated(std::string text, Random& random) {
  static const std::string kBytes(
      "\n\r\t \\/#-,.0123vfgso\0\x80"
      "e+",
      23);
  for (std::uint32_t i = 1 + below(random, 8); i > 0 && !text.empty(); --i) {
    const std::size_t at = below(random, static_cast<std::uint32_t>(text.size()));
    const char byte = kBytes[below(random, static_cast<std::uint32_t>(kBytes.size()))];
    switch (below(random, 3)) {
      case 0:
        text[at] = byte;
        break;
      case 1:
        text.insert(at, 1, byte);
        break;
      default:
        text.erase(at, 1 + below(random, 4));
    }
  }
  return text;
}

TEST(Fix, HostReadsTheDocument) {
  const TempFolder folder;
  folder.write("m.mtl", "newmtl red\nKd 1 0 0\nnewmtl Blue\n");
  Random random(20);
  for (int i = 0; i < 400 && !testing::Test::HasFailure(); ++i) {
    std::string text = wildFile(random);
    if (i % 3 == 0) text = mutated(std::move(text), random);
    expectSameInHost(text, with(below(random, 3) == 0, below(random, 3) == 0), folder);
  }
}

TEST(Fix, HostReadsRealFiles) {
  if (!std::filesystem::exists(KSMTH_REAL_FILES)) GTEST_SKIP() << "the folder of real files is not here";
  const TempFolder folder;
  Random random(7);
  for (const auto& entry : std::filesystem::directory_iterator(KSMTH_REAL_FILES)) {
    if (entry.path().extension() != ".obj") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    expectSameInHost(text, {}, folder);
    expectSameInHost(mutated(text, random), {}, folder);
  }
}

// ---- one kind of fix after the other ----------------------------------------------------------------------

struct Row {
  std::string text;
  std::string fixed;
  std::string codes;
  FixOptions options = {};
};

TEST(Fix, SaysWhatItDoes) {
  const std::string v = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";
  const std::string f = "f 1 2 3\n";
  const std::string x(1100, 'x');
  const std::string y(1100, 'y');
  const std::string half(600, 'h');
  std::string umlauts;
  while (umlauts.size() < 1100) umlauts += "\xC3\xB6";
  std::string longLine = "l";
  for (int i = 0; i < 600; ++i) longLine += i % 2 == 0 ? " 1" : " 2";
  std::string blanks = v;
  blanks.replace(blanks.find(' '), 1, std::string(1100, ' '));
  const Row rows[] = {
      {v + f, v + f, ""},
      {"\xEF\xBB\xBF" + v + "f -4 -3\\\n -2\r\n", v + f,
       "byte-order-mark carriage-return continuation-line relative-index"},
      {" v 0 0 0\n" + v.substr(8) + f, v + f, "leading-blank"},
      {f + v, v + f, "forward-reference"},
      {v + "g a \n" + f, v + "g a\n" + f, "trailing-blank"},
      {v + "g\tA\n" + f, v + "g A\n" + f, "tab-after-keyword"},
      {v + "f 1// 2// 3//\n", v + f, "empty-part"},
      {v + "f 1 2 9\nf 1 2 0\nf 1 x 3\nf 1 2\n" + f, v + f, "element-index*3 few-corners"},
      {v + "vt 0 1 #\nf 1/1 2/1 3/1 # a\\\nf 1 2 3\n", v + "vt 0 1\nf 1/1 2/1 3/1\n",
       "continuation-line trailing-comment*2"},
      {v + "g\n" + f, v + "g default\n" + f, "name-missing"},
      // Corners that the host would leave out, and faces that come to a vertex again.
      {v + "f 1 1 2 3 3 1\n", v + f, "repeated-corner*3"},
      {v + "f 1 2 1 2\nf 1 2 1\n" + f, v + f, "flat-face*2"},
      {v + "v 2 0 0\nf 1 2 3 1 4 5\n", v + "v 2 0 0\nf 1 2 3\nf 1 4 5\n", "vertex-met-again"},
      {v + "vt 0 0\nf 1/1 2 3/1\n" + f, v + "vt 0 0\n" + f + f, "mixed-forms"},
      {v + "vn 0 0 1\nf 1//1 2//1 3\n", v + "vn 0 0 1\n" + f, "mixed-forms"},
      // Names.
      {v + "o left arm\n" + f, v + "o left arm\n" + f, "object-name"},
      {v + "o left arm\n" + f + "g hand\n" + f + "g default\n" + f,
       v + "o left arm\ng left_arm\n" + f + "g left_arm hand\n" + f + "g left_arm\n" + f, "object-group*3",
       with(true, false)},
      {v + "o a\ng left ear\n" + f, v + "o a\ng a left_ear\n" + f, "object-group one-name", with(true, true)},
      {v + "g left ear\n" + f + "g left_ear\n" + f + "g left ear\n" + f + "g right ear\n" + f + "g a b_c\n" +
           f + "g a_b c\n" + f,
       v + "g left_ear\n" + f + f + f + "g right_ear\n" + f + "g a_b_c\n" + f + f,
       "one-name*4 one-name-met*2", with(false, true)},
      {v + "o a\n" + f + "o\n" + f, v + "o a\n" + f + "o default\n" + f,
       "name-missing no-object object-name"},
      {v + "usemtl a b\n" + f + "usemtl\n" + f, v + "usemtl a b\n" + f + "usemtl (null)\n" + f,
       "name-missing no-material material-name-blank material-missing"},
      {v + "g a\\\\ \n" + f, v + "g a__\n" + f, "trailing-blank name-backslash"},
      {v + "g " + x + "\n" + f + "usemtl " + y + "\n" + f,
       v + "g " + x.substr(0, 1019) + "_0\n" + f + "usemtl " + y.substr(0, 1014) + "_0\n" + f,
       "long-line*2 name-long*2 material-missing"},
      {v + "o " + umlauts + "\n" + f, v + "o " + umlauts.substr(0, 1018) + "_0\n" + f,
       "long-line name-long object-name"},
      {v + "g " + half + " b " + half + " c\n" + f, v + "g " + half + " b " + "c\n" + f, "long-line"},
      {v + "g " + half + " b " + x.substr(0, 419) + " c d\n" + f, v + "g " + half + " b\n" + f,
       "long-line groups-past-line*3"},
      {"mtllib a.mtl dir\\b.mtl\n" + v, "mtllib a.mtl\nmtllib dir/b.mtl\n" + v,
       "several-libraries library-name library-missing*2"},
      {"mtllib " + x + "\n" + v, v, "long-line library-past-line library-missing"},
      // Comments and statements.
      {"# a\\\n#\n" + v + "# b\\\n" + f + "#c", "# a\n#\n" + v + "# b\n" + f + "#c\n", "long-comment*2"},
      {v + "g a\n# b\nvp 1\nlod 1\ng c\nfo 1 2 3\n", v + "# b\ng c\n" + f,
       "old-face parameter-vertex display empty-group"},
      {v + "usemtl \n" + f, v + "usemtl (null)\n" + f, "name-missing no-material"},
      {"#" + x + "\n" + v, "#" + x.substr(0, 1022) + "\n# " + x.substr(1022) + "\n" + v,
       "long-line long-comment"},
      {v + "vp 1 2\ncstype bezier\nlod 1\ncall a\nV 1 1 1\ns x\n" + f, v + f,
       "smoothing-not-a-number parameter-vertex free-form display included-file unknown-statement"},
      {v + f + "l 1 2\nl 1\np 1\np 9\n", v + f + "l 1 2\np 1\n", "element-index few-corners line-or-point*2"},
      {v + longLine + "\n", v + longLine.substr(0, 1023) + "\nl 1" + longLine.substr(1023) + "\n",
       "long-line long-element line-or-point"},
      {blanks, v, "long-line"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text.substr(0, 200));
    const Fixed result = fixed(documentOf(row.text), row.options);
    EXPECT_EQ(result.text, row.fixed);
    EXPECT_EQ(codesOf(result.report), row.codes);
  }
}

TEST(Fix, SaysWhichLibrariesTheHostRefuses) {
  const TempFolder folder;
  folder.write("bom.mtl", "\xEF\xBB\xBFnewmtl red\n");
  folder.write("late.mtl", "\n # x\nKd 1 1 1\nnewmtl red\n");
  folder.write("good.mtl", "# x\n\tNEWMTL red\r\n");
  std::string many;
  for (std::uint32_t i = 1; i < 1U << 20; ++i) many += "newmtl\n";
  folder.write("many.mtl", many);
  const std::pair<std::string, std::string> rows[] = {
      {"mtllib good.mtl\nmtllib many.mtl\n", ""},
      {"mtllib bom.mtl\nmtllib late.mtl\n", "library-refused*2"},
      {"mtllib good.mtl\nmtllib many.mtl\nmtllib good.mtl\n", "materials-past-table"}};
  for (const auto& [text, codes] : rows) {
    const Fixed result = fixed(documentOf(text, folder.path("model.obj")));
    EXPECT_EQ(codesOf(result.report), codes) << text;
    if (text.find("many") != std::string::npos) continue;
    OBJModel model(true);
    EXPECT_TRUE(model.read(folder.write("model.obj", result.text), false));
    const auto refused =
        std::ranges::count(model._readNotes.kept, OBJReadNote::Kind::failedLibrary, &OBJReadNote::kind);
    EXPECT_EQ(refused, 2);
  }
}

TEST(Fix, CutsWhatIsTooLong) {
  // 88 corners are enough, 1,023 characters, and slashes are some of them.
  std::string text;
  for (int i = 0; i < 10100; ++i) text += "v " + std::to_string(i) + " " + std::to_string(i * i) + " 0\n";
  for (int i = 0; i < 1111; ++i) text += "vn 0 0 1\n";
  const auto face = [&text](int corners, int first, const std::string& normal) {
    text += "f";
    for (int i = 0; i < corners; ++i) text += " " + std::to_string(first + i) + normal;
    text += "\n";
  };
  face(88, 1, "");
  face(89, 1, "");
  face(85, 10001, "//1111");
  face(86, 10001, "//1111");
  const Fixed result = fixed(documentOf(text));
  EXPECT_EQ(codesOf(result.report), "long-line many-corners long-element");
  std::istringstream lines(result.text);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 1023U);
}

}  // namespace
