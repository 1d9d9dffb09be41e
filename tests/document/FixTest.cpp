#include "document/Fix.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <set>
#include <sstream>

#include "TestSupport.h"
#include "document/fix/FaceCutting.h"
#include "document/fix/SmoothingColours.h"
#include "document/fix/VectorRepair.h"

using namespace WavefrontOBJ;

namespace {

OBJDocument documentOf(const std::string& text, const std::string& name = "model.obj") {
  OBJDocument document;
  EXPECT_TRUE(document.readBytes(text, name)) << text;
  return document;
}

struct Fixed {
  std::string text;
  FixReport report;
};

Fixed fixed(const OBJDocument& document, const FixOptions& options = {}) {
  Fixed result;
  StringSink sink;
  const Result done = fix(document, options, sink, result.report);
  EXPECT_TRUE(done) << done.text;
  result.text = sink.text;
  return result;
}

/// The codes of what was reported, each with its count where that is not 1.
std::string codesOf(const FixReport& report) {
  std::string codes;
  for (const FixRow& row : kFixKinds) {
    const std::uint64_t count = report.count(row.kind);
    if (count == 0) continue;
    codes +=
        (codes.empty() ? "" : " ") + std::string(row.code) + (count > 1 ? "*" + std::to_string(count) : "");
  }
  return codes;
}

// ---- a fixed file in the host, against the document -------------------------------------------------------

using Chain = std::map<std::pair<std::int64_t, std::int64_t>, int>;

/// Adds a closed walk: each edge counts once in its direction and is taken back in the other. Pieces of a
/// face make up the face's own chain, whichever way it was cut.
template <class Corners>
void addWalk(Chain& chain, const Corners& corners, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto a = static_cast<std::int64_t>(corners[i]);
    const auto b = static_cast<std::int64_t>(corners[(i + 1) % count]);
    if (a == b) continue;
    const auto edge = std::minmax(a, b);
    int& sum = chain[edge];
    sum += a < b ? 1 : -1;
    if (sum == 0) chain.erase(edge);
  }
}

/// Faces by what is in force for them: "a b|3|red".
using Chains = std::map<std::string, Chain>;

std::string joined(const std::vector<std::string>& words, char separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : std::string(1, separator)) + word;
  return text;
}

std::string inOneWord(std::string text) {
  std::replace(text.begin(), text.end(), ' ', '_');
  std::replace(text.begin(), text.end(), '\t', '_');
  return text;
}

Chains documentChains(const OBJDocument& document, const FixOptions& options, bool smoothing) {
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
    if (options.objects && state.object != kNoIndex)
      object = inOneWord(document.objects()[state.object].text);
    std::erase(names, object);
    if (!object.empty() && names == std::vector<std::string>{"default"}) names.clear();
    if (options.oneName) names = {joined(names, '_')};
    if (!object.empty()) names.push_back(object);
    std::erase(names, "");
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    const std::uint64_t number =
        state.smoothing == kNoIndex ? 0 : document.smoothings()[state.smoothing].number;
    const std::string material = state.material == kNoIndex ? "" : document.materials()[state.material].text;
    const bool known = material == "red" || material == "Blue";
    const std::string key = joined(names, ' ') + "|" + (smoothing ? std::to_string(number) : "") + "|" +
                            (known && library ? material : "");
    Chain& chain = chains[key];
    addWalk(chain, faces.vertices(i), faces.cornerCount(i));
    if (chain.empty()) chains.erase(key);
  }
  return chains;
}

Chains modelChains(const OBJModel& model, bool smoothing) {
  std::vector<std::vector<std::string>> names(model._faces->count);
  for (const auto& [name, list] : model._groups) {
    for (const std::uint32_t face : list) names[face].push_back(name);
  }
  Chains chains;
  for (std::uint32_t i = 0; i < model._faces->count; ++i) {
    const OBJFace face = faceCopy(*model._faces, i);
    EXPECT_GE(face.vertexCount, 3U);
    const std::string key =
        joined(names[i], ' ') + "|" + (smoothing ? std::to_string(face.smoothingGroup) : "") + "|" +
        (face.materialIndex < 0 ? "" : model._materials[static_cast<std::size_t>(face.materialIndex)].name);
    Chain& chain = chains[key];
    addWalk(chain, face.vertexIndex, face.vertexCount);
    if (chain.empty()) chains.erase(key);
  }
  return chains;
}

/// Corners with all their indices, of every face; for faces that were not cut.
std::string documentCorners(const OBJDocument& document) {
  std::ostringstream text;
  const ElementTable& faces = document.faces();
  for (std::uint32_t i = 0; i < faces.size(); ++i) {
    for (std::uint32_t c = faces.begin(i); c < faces.begin(i + 1); ++c) {
      text << ' ' << faces.vertexColumn()[c] << '/'
           << (faces.textureColumn().empty() ? kNoIndex : faces.textureColumn()[c]) << '/'
           << (faces.normalColumn().empty() ? kNoIndex : faces.normalColumn()[c]);
    }
    text << '\n';
  }
  return text.str();
}

std::string modelCorners(const OBJModel& model) {
  std::ostringstream text;
  for (std::uint32_t i = 0; i < model._faces->count; ++i) {
    const OBJFace face = faceCopy(*model._faces, i);
    for (std::uint32_t c = 0; c < face.vertexCount; ++c) {
      text << ' ' << face.vertexIndex[c] << '/'
           << (face.hasTexture ? static_cast<std::int32_t>(face.textureIndex[c]) : kNoIndex) << '/'
           << (face.hasNormal ? static_cast<std::int32_t>(face.normalIndex[c]) : kNoIndex);
    }
    text << '\n';
  }
  return text.str();
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

  const FixReport& report = once.report;
  const auto none = [&report](std::initializer_list<FixKind> kinds) {
    return std::all_of(kinds.begin(), kinds.end(), [&](FixKind kind) { return report.count(kind) == 0; });
  };
  const bool sameSmoothing =
      none({FixKind::smoothingRenumbered, FixKind::smoothingParted, FixKind::smoothingWide});
  if (none(
          {FixKind::nameBackslash, FixKind::nameLong, FixKind::groupsPastLine, FixKind::materialNameBlank})) {
    EXPECT_EQ(modelChains(model, sameSmoothing), documentChains(document, options, sameSmoothing))
        << once.text;
  }
  if (none({FixKind::manyCorners, FixKind::longElement, FixKind::vertexMetAgain, FixKind::repeatedCorner,
            FixKind::flatFace, FixKind::mixedForms})) {
    EXPECT_EQ(modelCorners(model), documentCorners(document));
  }
}

/// A file with whatever exporters and editors leave in one.
std::string wildFile(Random& random) {
  static const char* const kEnds[] = {"\n", "\n", "\n", "\r\n", " \n", "\r"};
  static const char* const kNumbers[] = {"0",    "1.5",   "-2.25", ".5",   "7.",   "1e3",
                                         "1E-3", "+4",    "nan",   "-inf", "1e99", "0x10",
                                         "1,25", "1.5mm", "-",     "1e",   "1e+",  "3.14159265"};
  static const char* const kLines[] = {"g",
                                       "g  left\tear ",
                                       "g head",
                                       "\tg default",
                                       "g head eyes head",
                                       "o",
                                       "o Cube",
                                       "o left arm",
                                       "s off",
                                       "s 0",
                                       "s 1",
                                       "s 2",
                                       "s 4294967295",
                                       "s 99999999999",
                                       "s on",
                                       "s",
                                       "usemtl red",
                                       "usemtl Blue",
                                       "usemtl\tBlue",
                                       "usemtl gone",
                                       "usemtl",
                                       "mtllib m.mtl",
                                       "mtllib gone.mtl m.mtl",
                                       "vp 0.5 0.5",
                                       "surf 0 1 0 1 1 2 3 4",
                                       "end",
                                       "cstype bezier",
                                       "shadow_obj x",
                                       "call x.obj",
                                       "# a comment",
                                       "# v 1 2 3\\",
                                       "V 1 2 3",
                                       "garbage",
                                       "f",
                                       "f 1 2",
                                       "f 0 1 2",
                                       "f 1 2 999",
                                       "f a b c",
                                       "l 1 2 3",
                                       "p 1",
                                       "l 1/1 2",
                                       "fo 1 2 3",
                                       "g head\\",
                                       "",
                                       "   "};
  std::string text = below(random, 4) == 0 ? "\xEF\xBB\xBF# head\n" : "mtllib m.mtl\n";
  const std::uint32_t plain = below(random, 3);
  std::uint32_t vertices = 0;
  for (std::uint32_t i = 5 + below(random, 60); i > 0; --i) {
    const std::uint32_t kind = below(random, 10);
    std::string line;
    if (kind < 4 || vertices < 4) {
      static const char* const kWords[] = {"v", "v", "v", "vt", "vn"};
      line = kWords[vertices < 4 ? 0 : below(random, 5)];
      if (line == "v") ++vertices;
      for (std::uint32_t k = plain == 0 ? below(random, 6) : 3; k > 0; --k) {
        line += std::string(below(random, 9) == 0 ? "\t " : " ") +
                kNumbers[plain == 0 ? below(random, std::size(kNumbers)) : below(random, 8)];
      }
    } else if (kind < 8) {
      line = "f";
      const std::uint32_t form = below(random, 5);
      const std::uint32_t corners = below(random, 20) == 0 ? 80 + below(random, 200) : 3 + below(random, 4);
      const std::uint32_t first = below(random, vertices);
      for (std::uint32_t k = 0; k < corners; ++k) {
        const std::uint32_t v = 1 + (plain != 0 ? first + k : below(random, vertices)) % vertices;
        line += ' ' + (below(random, 9) == 0 ? "-" + std::to_string(vertices + 1 - v) : std::to_string(v));
        if (form == 1 && (plain != 0 || below(random, 9) != 0)) line += "/1";
        if (form == 2) line += below(random, 30) == 0 ? "//" : "//1";
        if (form == 3) line += "/1/1";
        if (form == 4 && below(random, 9) == 0) line += "/";
        if (below(random, 40) == 0) line += " \\\n";
      }
    } else {
      line = kLines[below(random, std::size(kLines))];
    }
    text += (below(random, 30) == 0 ? " " : "") + line + kEnds[below(random, std::size(kEnds))];
  }
  // What the corners of all forms name, later in the file or not at all.
  if (below(random, 4) != 0) text += "vt 0.5 0.5\nvn 0 0 1\n";
  return text;
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

FixOptions randomOptions(Random& random) {
  FixOptions options;
  options.objects = below(random, 3) == 0;
  options.oneName = below(random, 3) == 0;
  return options;
}

TEST(Fix, HostReadsTheDocument) {
  const TempFolder folder;
  folder.write("m.mtl", "newmtl red\nKd 1 0 0\nnewmtl Blue\n");
  Random random(20);
  for (int i = 0; i < 1500 && !testing::Test::HasFailure(); ++i) {
    std::string text = wildFile(random);
    if (i % 3 == 0) text = mutated(std::move(text), random);
    expectSameInHost(text, randomOptions(random), folder);
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

FixOptions with(bool objects, bool oneName) {
  FixOptions options;
  options.objects = objects;
  options.oneName = oneName;
  return options;
}

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
      {v + "g " + half + " b " + x.substr(0, 600) + " c d\n" + f, v + "g " + half + " b\n" + f,
       "long-line groups-past-line*3"},
      {"mtllib a.mtl dir\\b.mtl\n" + v, "mtllib a.mtl\nmtllib dir/b.mtl\n" + v,
       "several-libraries library-name library-missing*2"},
      {"mtllib " + x + "\n" + v, v, "long-line library-past-line library-missing"},
      // Comments and statements.
      {"# a\\\n#\n" + v + "# b\n", "# a\n#\n" + v, "long-comment comment"},
      {"#" + x + "\n" + v, "#" + x.substr(0, 1020) + "\n# " + x.substr(1020) + "\n" + v,
       "long-line long-comment"},
      {v + "vp 1 2\ncstype bezier\nlod 1\ncall a\nV 1 1 1\ns x\n" + f, v + f,
       "smoothing-not-a-number parameter-vertex free-form display included-file unknown-statement"},
      {v + f + "l 1 2\np 1\n", v + f + "l 1 2\np 1\n", "line-or-point*2"},
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

TEST(Fix, MakesNumbersOfWords) {
  struct Words {
    const char* text;
    const char* fixed;
    const char* codes;
    VectorKind kind = VectorKind::position;
  };
  const Words rows[] = {
      {"1 -2.5 +3e-2", "1 -2.5 +3e-2", ""},
      {" 1\t.5  5.", " 1\t.5  5.", ""},
      {"1 2", "1 2 0", "number-missing"},
      {"", "0 0 0", "number-missing"},
      {"1", "1 0", "one-texture-value", VectorKind::texture},
      {"", "0 0", "number-missing", VectorKind::texture},
      {"1 2", "1 2", "", VectorKind::texture},
      {"1 2", "1 2 0", "number-missing", VectorKind::normal},
      {"1,5 -2,25 0,1e1", "1.5 -2.25 0.1e1", "number-with-comma"},
      {"1,2,3", "1 2 3", "number-with-comma"},
      {"1,2", "1.2 0 0", "number-missing number-with-comma"},
      {"1, 2, 3", "1 2 3", "not-a-number"},
      {"1,5x 1.5.5 0x10", "1 1.5 0", "not-a-number"},
      {"1e+ - x", "1 0 0", "not-a-number"},
      {"nan -inf INFINITY", "0 0 0", "number-not-finite"},
      {"1e39 -1e400 3.4e38", "3.4028235e+38 -3.4028235e+38 3.4e38", "number-out-of-range"},
      {"400000000000000000000000000000000000000 0 1e-99", "3.4028235e+38 0 1e-99", "number-out-of-range"},
      {"1 2 3 0.5 0.25 1", "1 2 3 0.5 0.25 1", ""},
      {"1 2 3 0,5 # note", "1 2 3 0.5", "number-with-comma extra-words"},
      {"1 2 nan", "1 2", "extra-words", VectorKind::texture},
      {"1\f2\v3", "1 2 3", ""},
  };
  const auto codes = [](FixKindBits bits) {
    FixReport report;
    for (std::size_t i = 0; i < kFixKindCount; ++i) {
      if ((bits >> i & 1U) != 0) report.add(static_cast<FixKind>(i), 0, {});
    }
    return codesOf(report);
  };
  for (const Words& row : rows) {
    std::string text = row.text;
    EXPECT_EQ(codes(repairVector(row.kind, text)), row.codes) << row.text;
    EXPECT_EQ(text, row.fixed);
  }
  // The longest that stays, and what is written in its place.
  std::string number(1020 - 4, '1');
  number[1] = '.';
  for (const char* const more : {"", "1"}) {
    std::string text = number + more + " 2 3";
    const std::string before = text;
    EXPECT_EQ(codes(repairVector(VectorKind::position, text)), *more == '\0' ? "" : "number-long");
    EXPECT_EQ(text, *more == '\0' ? before : "1.1111112 2 3");
  }
}

// ---- cutting faces ----------------------------------------------------------------------------------------

using Pieces = std::vector<std::vector<std::uint32_t>>;

Pieces cutPieces(const std::vector<std::int32_t>& vertices, const std::vector<FaceCutter::Point>& points,
                 std::size_t most) {
  FaceCutter cutter;
  std::vector<std::uint32_t> flat;
  cutter.cut(vertices, points, most, flat);
  Pieces pieces(1);
  for (const std::uint32_t position : flat) {
    if (position == Rewriter::kPieceEnd) {
      pieces.emplace_back();
    } else {
      pieces.back().push_back(position);
    }
  }
  EXPECT_TRUE(pieces.back().empty());
  pieces.pop_back();
  return pieces;
}

double areaOf(const std::vector<FaceCutter::Point>& points, const std::vector<std::uint32_t>& corners) {
  double area = 0;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const FaceCutter::Point& a = points[corners[i]];
    const FaceCutter::Point& b = points[corners[(i + 1) % corners.size()]];
    area += (static_cast<double>(a[0]) * b[1] - static_cast<double>(b[0]) * a[1]) / 2;
  }
  return area;
}

/// Pieces have few, different corners and the face's own chain. Chords inside a simple face give pieces that
/// all turn its way and together have its area.
void expectCut(const std::vector<std::int32_t>& vertices, const std::vector<FaceCutter::Point>& points,
               std::size_t most, bool inside) {
  Chain chain;
  addWalk(chain, vertices, vertices.size());
  std::vector<std::uint32_t> all;
  for (std::uint32_t i = 0; i < vertices.size(); ++i) all.push_back(i);
  const double area = inside ? areaOf(points, all) : 0;
  double sum = 0;
  Chain pieceChain;
  for (const std::vector<std::uint32_t>& piece : cutPieces(vertices, points, most)) {
    EXPECT_GE(piece.size(), 3U);
    EXPECT_LE(piece.size(), most);
    std::vector<std::int32_t> named;
    for (const std::uint32_t position : piece) named.push_back(vertices[position]);
    EXPECT_EQ(std::set<std::int32_t>(named.begin(), named.end()).size(), named.size());
    addWalk(pieceChain, named, named.size());
    if (inside) sum += std::fabs(areaOf(points, piece));
  }
  EXPECT_EQ(pieceChain, chain);
  EXPECT_NEAR(sum, std::fabs(area), 1e-4 * std::fabs(area));
}

TEST(Fix, CutsAlongChordsInside) {
  Random random(3);
  // Stars, convex where all radii are 1, both ways round.
  for (int run = 0; run < 300 && !testing::Test::HasFailure(); ++run) {
    const std::size_t size = 4 + below(random, 120);
    const std::size_t most = 3 + below(random, 20);
    std::vector<std::int32_t> vertices(size);
    std::vector<FaceCutter::Point> points(size);
    for (std::size_t i = 0; i < size; ++i) {
      vertices[i] = static_cast<std::int32_t>(i + 5);
      const double angle =
          (run % 2 == 0 ? 2 : -2) * std::numbers::pi * static_cast<double>(i) / static_cast<double>(size);
      const double radius = run % 3 == 0 ? 1.0 : 0.4 + below(random, 100) / 100.0;
      points[i] = {static_cast<float>(1000 + radius * std::cos(angle)),
                   static_cast<float>(radius * std::sin(angle)), 7};
    }
    SCOPED_TRACE(size);
    expectCut(vertices, points, most, true);
    expectCut(vertices, {}, most, false);
    if (run % 3 == 0) {
      // As few pieces as can be.
      EXPECT_EQ(cutPieces(vertices, points, most).size(), (size - 2 + most - 3) / (most - 2));
      EXPECT_EQ(cutPieces(vertices, {}, most).size(), (size - 2 + most - 3) / (most - 2));
    }
  }
  // A square with a square hole, along a bridge that the face runs twice.
  const std::vector<std::int32_t> bridged{0, 1, 2, 3, 0, 4, 5, 6, 7, 4};
  const FaceCutter::Point corners[8] = {{0, 0, 0}, {9, 0, 0}, {9, 9, 0}, {0, 9, 0},
                                        {3, 3, 0}, {3, 6, 0}, {6, 6, 0}, {6, 3, 0}};
  std::vector<FaceCutter::Point> points;
  for (const std::int32_t vertex : bridged) points.push_back(corners[vertex]);
  expectCut(bridged, points, 88, true);
  EXPECT_EQ(cutPieces(bridged, points, 88).size(), 2U);
  // Walks that turn anyhow, without a shape.
  for (int run = 0; run < 500 && !testing::Test::HasFailure(); ++run) {
    std::vector<std::int32_t> vertices(3 + below(random, 40));
    std::vector<FaceCutter::Point> places;
    for (std::int32_t& vertex : vertices) {
      vertex = static_cast<std::int32_t>(below(random, 12));
      places.push_back({static_cast<float>(vertex % 4), static_cast<float>(vertex / 4),
                        static_cast<float>(vertex * vertex)});
    }
    expectCut(vertices, places, 3 + below(random, 6), false);
    EXPECT_EQ(FaceCutter().isFlat(vertices), cutPieces(vertices, places, 88).empty());
  }
}

TEST(Fix, CutsFacesOfAFile) {
  // 100 corners: too many; 80 corners of 14 characters: too long for a line, and so are the line and points.
  std::string text;
  for (int i = 0; i < 12000; ++i)
    text += "v " + std::to_string(std::cos(i / 2000.0)) + " " + std::to_string(std::sin(i / 2000.0)) + " 0\n";
  text += "vt 0 0\nvn 0 0 1\nf";
  for (int i = 0; i < 100; ++i) text += " " + std::to_string(100 * i + 1);
  std::string corners;
  for (int i = 0; i < 80; ++i) corners += " " + std::to_string(10001 + i) + "//1";
  text += "\nf" + corners + "\nl";
  for (int i = 0; i < 400; ++i) text += " " + std::to_string(10001 + i);
  text += "\np";
  for (int i = 0; i < 400; ++i) text += " " + std::to_string(10001 + i);
  const Fixed result = fixed(documentOf(text));
  EXPECT_EQ(codesOf(result.report), "long-line*2 many-corners long-element*2 line-or-point*2");
  std::istringstream lines(result.text);
  std::map<char, int> kinds;
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 1023U);
    ++kinds[line[0]];
  }
  EXPECT_EQ(kinds['f'], 3);
  EXPECT_EQ(kinds['l'], 3);
  EXPECT_EQ(kinds['p'], 3);
  const OBJDocument again = documentOf(result.text);
  EXPECT_EQ(again.lines().vertices(1)[0], again.lines().vertices(0).back());
  EXPECT_EQ(again.lines().cornerTotal(), 402U);
  EXPECT_EQ(again.points().cornerTotal(), 400U);
}

// ---- smoothing groups -------------------------------------------------------------------------------------

/// A grid of quads, each with one of `numbers` numbers in patches, and loose faces.
std::string smoothMesh(Random& random, std::uint32_t side, std::uint32_t numbers, bool scattered) {
  std::string text;
  for (std::uint32_t i = 0; i < (side + 1) * (side + 1); ++i) text += "v 0 0 0\n";
  for (std::uint32_t y = 0; y < side; ++y) {
    for (std::uint32_t x = 0; x < side; ++x) {
      const std::uint32_t number = scattered ? below(random, numbers) : (y / 2 * side + x / 2) % numbers;
      text += number == 0 ? "s off\n" : "s " + std::to_string(number * 3) + "\n";
      const std::uint32_t a = y * (side + 1) + x + 1;
      text += "f";
      for (const std::uint32_t v : {a, a + 1, a + side + 2, a + side + 1}) text += " " + std::to_string(v);
      text += "\n";
    }
  }
  return text;
}

struct Borders {
  std::size_t lost = 0;       ///< edges between faces of two numbers that have one number now
  std::size_t lostTouch = 0;  ///< the same at vertices
  std::size_t made = 0;       ///< edges between faces of one number that have two numbers now
};

Borders bordersOf(const std::vector<std::vector<std::uint32_t>>& faces,
                  const std::vector<std::uint64_t>& before, const std::vector<std::uint32_t>& after) {
  Borders borders;
  for (std::size_t a = 0; a < faces.size(); ++a) {
    for (std::size_t b = 0; b < a; ++b) {
      std::size_t common = 0;
      for (const std::uint32_t v : faces[a])
        common += std::count(faces[b].begin(), faces[b].end(), v) > 0 ? 1 : 0;
      const bool differ = before[a] != before[b];
      if (common >= 2) borders.lost += differ && after[a] == after[b] ? 1 : 0;
      if (common >= 1) borders.lostTouch += differ && after[a] == after[b] ? 1 : 0;
      if (common >= 2) borders.made += !differ && after[a] != after[b] ? 1 : 0;
    }
  }
  return borders;
}

TEST(Fix, KeepsSmoothingBorders) {
  Random random(11);
  std::map<SmoothingNumbers::Outcome, int> outcomes;
  int lost = 0;
  int edgesAlone = 0;
  for (int run = 0; run < 150 && !testing::Test::HasFailure(); ++run) {
    const std::uint32_t numbers = 2 + below(random, 40);
    const std::size_t most = 1 + below(random, 9);
    const OBJDocument document = documentOf(smoothMesh(random, 3 + below(random, 8), numbers, run % 2 == 0));
    const SmoothingNumbers plan = smoothingNumbers(document, most);
    std::vector<std::vector<std::uint32_t>> faces;
    std::vector<std::uint64_t> before;
    std::vector<std::uint32_t> after;
    for (std::uint32_t i = 0; i < document.faces().size(); ++i) {
      const auto vertices = document.faces().vertices(i);
      faces.emplace_back(vertices.begin(), vertices.end());
      const auto row = static_cast<std::size_t>(document.states()[document.faces().stateOf(i)].smoothing);
      before.push_back(document.smoothings()[row].number);
      after.push_back(plan.byFace.empty() ? plan.byRow[row] : plan.byFace[i]);
      EXPECT_EQ(after.back() == 0, before.back() == 0);
    }
    ++outcomes[plan.outcome];
    const Borders borders = bordersOf(faces, before, after);
    EXPECT_EQ(borders.lost, plan.bordersLost);
    EXPECT_EQ(borders.made, 0U);
    const std::set<std::uint32_t> used(after.begin(), after.end());
    const std::set<std::uint64_t> original(before.begin(), before.end());
    EXPECT_LE(used.size() - used.count(0), most);
    lost += plan.bordersLost > 0 ? 1 : 0;
    edgesAlone += plan.bordersLost == 0 && borders.lostTouch > 0 ? 1 : 0;
    if (plan.outcome == SmoothingNumbers::Outcome::kept) {
      EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin()));
      continue;
    }
    EXPECT_GT(original.size() - original.count(0), most);
    EXPECT_EQ(used.size() - used.count(0), most);
  }
  // Each way is taken.
  EXPECT_GT(outcomes[SmoothingNumbers::Outcome::kept], 5);
  EXPECT_GT(outcomes[SmoothingNumbers::Outcome::renumbered], 20);
  EXPECT_GT(outcomes[SmoothingNumbers::Outcome::parted], 20);
  EXPECT_GT(lost, 5);
  EXPECT_GT(edgesAlone, 3);
}

TEST(Fix, SparesTheHostsSmoothingTable) {
  const TempFolder folder;
  Random random(1);
  for (const std::uint32_t numbers : {255U, 256U, 257U, 700U}) {
    for (const bool zero : {false, true}) {
      SCOPED_TRACE(std::to_string(numbers) + (zero ? " with s 0" : ""));
      std::string text = smoothMesh(random, 54, numbers, false);
      if (zero) text += "s 0\nf 1 2 3\n";
      const Fixed result = fixed(documentOf(text));
      OBJModel model(true);
      ASSERT_TRUE(model.read(folder.write("s.obj", result.text), false));
      EXPECT_LE(model._smoothingGroupCount, 255U);
      EXPECT_EQ(result.report.count(FixKind::smoothingBorder), 0U);
      EXPECT_EQ(result.report.count(FixKind::smoothingZero), zero && numbers >= 256 ? 1U : 0U);
      EXPECT_EQ(result.report.count(FixKind::smoothingRenumbered) > 0, numbers > 256);
    }
  }
  const std::string v = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
  const Fixed wide = fixed(documentOf(v + "s 1\nf 1 2 3\ns 4294967296\nf 1 2 3\ns 4294967295\nf 1 2 3\n"));
  EXPECT_EQ(wide.text, v + "s 1\nf 1 2 3\ns 2\nf 1 2 3\ns 4294967295\nf 1 2 3\n");
  EXPECT_EQ(codesOf(wide.report), "smoothing-wide");
}

}  // namespace
