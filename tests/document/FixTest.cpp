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

}  // namespace
