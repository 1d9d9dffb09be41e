// Reading and writing: beside the plain reader of DocumentReference.h, and the two paths beside each other.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "document/DocumentReference.h"
#include "document/DocumentWriter.h"
#include "document/OBJDocument.h"
#include "document/Selection.h"

namespace {

using namespace WavefrontOBJ;

OBJDocument documentOf(const std::string& text, const DocumentReadOptions& options = {}) {
  OBJDocument document;
  const Result result = document.readBytes(text, "test.obj", options);
  EXPECT_TRUE(result) << result.text;
  return document;
}

std::string describeFindings(const Findings& findings) {
  std::string text;
  for (const Finding& f : findings.kept()) {
    text += std::string(rowOf(f.kind).code) + " " + std::to_string(f.line) + ":" + std::to_string(f.column) +
            " @" + std::to_string(f.offset) + " " + f.text + "\n";
  }
  for (std::size_t k = 0; k < kFindingKindCount; ++k) {
    text += std::to_string(findings.count(static_cast<FindingKind>(k))) + " ";
  }
  return text;
}

std::string written(const OBJDocument& document, const ElementLists& lists,
                    const WriteOptions& options = {}) {
  DocumentWriter writer(document);
  StringSink sink;
  WriteCounts counts;
  const Result result = writer.write(lists, options, sink, &counts);
  EXPECT_TRUE(result) << result.text;
  EXPECT_EQ(counts.bytes, sink.text.size());
  return sink.text;
}

/// Elements with the text of the vertex lines that their corners name: what must survive a renumbering.
std::string describeShape(const OBJDocument& d, const ElementLists& lists) {
  const std::vector<std::uint32_t>* const indices[] = {&lists.faces, &lists.lines, &lists.points};
  std::string text;
  for (std::size_t k = 0; k < kElementKinds; ++k) {
    const ElementTable& table = d.elements(static_cast<ElementKind>(k));
    for (std::uint32_t n = 0; n < (lists.whole ? table.size() : indices[k]->size()); ++n) {
      const std::uint32_t i = lists.whole ? n : (*indices[k])[n];
      const auto column = [&](std::span<const std::int32_t> row, VectorKind kind) {
        for (const std::int32_t index : row) {
          text += index < 0
                      ? "- "
                      : lineWords(d, d.vectorOffsets(kind)[static_cast<std::size_t>(index)], false) + ", ";
        }
      };
      column(table.vertices(i), VectorKind::position);
      // A column that no element uses is as good as one of blanks.
      if (std::ranges::any_of(table.textures(i), [](auto t) { return t >= 0; }))
        column(table.textures(i), VectorKind::texture);
      if (std::ranges::any_of(table.normals(i), [](auto t) { return t >= 0; }))
        column(table.normals(i), VectorKind::normal);
      text += stateText(d, d.states()[table.stateOf(i)]) + "\n";
    }
  }
  return text;
}

/// The same but for smoothing: a part may say "off" where the whole said nothing yet.
void checkParts(const OBJDocument& document) {
  const OBJMembers members = document.members(Division::group, ElementKind::face);
  DocumentWriter writer(document);
  for (std::size_t g = 0; g < document.groups().size(); ++g) {
    const ElementLists part = select(document, {{static_cast<std::int32_t>(g)}, {}, {}, {}});
    ASSERT_TRUE(std::ranges::equal(members.row(g), part.faces));
    for (const bool keepOrder : {false, true}) {
      WriteOptions options;
      options.keepOrder = keepOrder;
      StringSink sink;
      ASSERT_TRUE(writer.write(part, options, sink));
      const OBJDocument back = documentOf(sink.text);
      ASSERT_EQ(describeShape(back, ElementLists::all()), describeShape(document, part)) << sink.text;
      if (keepOrder) {
        ASSERT_EQ(back.vectorCount(VectorKind::position), document.vectorCount(VectorKind::position));
        continue;
      }
      for (const VectorKind kind : {VectorKind::position, VectorKind::texture, VectorKind::normal}) {
        std::vector<bool> used(back.vectorCount(kind));
        for (const ElementTable* table : {&back.faces(), &back.lines(), &back.points()}) {
          const auto column = kind == VectorKind::position  ? table->vertexColumn()
                              : kind == VectorKind::texture ? table->textureColumn()
                                                            : table->normalColumn();
          for (const std::int32_t index : column) {
            if (index >= 0) used[static_cast<std::size_t>(index)] = true;
          }
        }
        ASSERT_EQ(std::ranges::count(used, false), 0) << sink.text;
      }
    }
  }
}

/// Every way of reading `text` gives what the plain reader gives; what is written reads back the same, and
/// writes the same again.
void check(const std::string& text) {
  SCOPED_TRACE(text.size() < 2000 ? text : "a long text");
  OBJDocument document;
  const Result result = document.readBytes(text, "test.obj");
  if (result.status == Status::notText) return;
  ASSERT_TRUE(result) << result.text;
  const std::string expected = describe(ReferenceDocument(text));
  const std::string findings = describeFindings(document.findings());
  ASSERT_EQ(describe(document), expected);
  DocumentReadOptions exact;
  exact.fastPath = false;
  DocumentReadOptions tiny;
  tiny.windowBytes = 1 + text.size() % 7;
  for (const DocumentReadOptions& options : {exact, tiny}) {
    const OBJDocument other = documentOf(text, options);
    ASSERT_EQ(describe(other), expected);
    ASSERT_EQ(describeFindings(other.findings()), findings);
  }
  const std::string whole = written(document, ElementLists::all());
  const OBJDocument back = documentOf(whole);
  ASSERT_EQ(describeShape(back, ElementLists::all()), describeShape(document, ElementLists::all())) << whole;
  ASSERT_EQ(written(back, ElementLists::all()), whole);
  for (const VectorKind kind :
       {VectorKind::position, VectorKind::texture, VectorKind::normal, VectorKind::parameter}) {
    ASSERT_EQ(back.vectorCount(kind), document.vectorCount(kind));
  }
  for (const FindingKind kind :
       {FindingKind::relativeIndex, FindingKind::carriageReturn, FindingKind::indexOutOfRange,
        FindingKind::forwardReference, FindingKind::leadingBlank, FindingKind::emptyPart}) {
    ASSERT_EQ(back.findings().count(kind), 0U) << whole;
  }
  for (const Finding& finding : document.findings().kept()) {
    if (finding.line == 0) continue;
    const std::string before = text.substr(0, static_cast<std::size_t>(finding.offset));
    std::string unified;
    for (std::size_t i = 0; i < before.size(); ++i) {
      if (before[i] != '\r' || text[i + 1] != '\n') unified += before[i] == '\r' ? '\n' : before[i];
    }
    const std::size_t begin = unified.rfind('\n') + 1;
    const bool mark = text.starts_with("\xEF\xBB\xBF") && begin == 0;
    ASSERT_EQ(finding.line, 1U + static_cast<std::size_t>(std::ranges::count(unified, '\n')));
    if (finding.column != 0) {
      ASSERT_EQ(finding.column, unified.size() - begin + 1 - (mark ? 3 : 0));
    }
  }
  checkParts(document);
}

const char kSmall[] =
    "# head\nmtllib a.mtl\nv 0 0 0\nv 1 0 0.5\nv 1 1 -2e3 \nvt 0 1\nvn 0 0 1\no cube\ng a b\ns 1\nusemtl red "
    "one\n"
    "f 1/1/1 2/1/1 3/1/1\nf -3 -2//1 \\\n -1\r\nl 1/1 2/1\np 3\ns off\ng\nf 1//1 2//1 3//1 1//1\ncstype "
    "bezier\ndeg 3\n"
    "curv 0 1 -3 -2\nf 4 3 2\nv 5 5 5\nend\n";

TEST(Document, EveryPrefixAndEveryByteChange) {
  const std::string text = kSmall;
  for (std::size_t n = 0; n <= text.size(); ++n) check(text.substr(0, n));
  for (std::size_t i = 0; i < text.size(); ++i) {
    for (const char c : {'\0', '\n', '\r', '\\', ' ', '/', '-', '9'}) {
      std::string changed = text;
      changed[i] = c;
      check(changed);
      if (HasFatalFailure()) return;
    }
  }
}

/// Words that make lines of every kind, right and wrong.
std::string randomText(Random& random) {
  const std::vector<std::string> words = {
      "v",     "vt",   "vn",       "vp",      "f",      "f",     "f",    "f",          "l",   "p",
      "g",     "s",    "o",        "usemtl",  "mtllib", "#",     "curv", "surf",       "sp",  "F",
      "xyz",   "call", "1",        "2",       "3",      "4",     "-1",   "-2",         "0",   "1/1",
      "2/2/2", "3//3", "-1/-1/-1", "1/",      "2//",    "/1",    "off",  "7",          "1.5", "99999999999",
      "a",     "b",    "default",  "4/4/4/4", "+2",     "12/12", "\\",   "00000000003"};
  const std::vector<std::string> ends = {"\n", "\n",   "\n",  "\n",     "\r\n",
                                         "\r", "\\\n", " \n", "\\\r\n", " \\\n \t"};
  std::string text = below(random, 8) == 0 ? "\xEF\xBB\xBF" : "";
  const std::uint32_t lines = below(random, 40);
  for (std::uint32_t i = 0; i < lines; ++i) {
    switch (below(random, 5)) {
      case 0:
        text += "v " + std::to_string(i) + " 0 0";
        break;
      case 1:
        text += std::string(below(random, 2) != 0 ? "vt " : "vn ") + std::to_string(i) + " 1";
        break;
      case 2: {
        text += "f";
        const std::uint32_t corners = 2 + below(random, 18);
        const std::uint32_t form = below(random, 5);
        for (std::uint32_t c = 0; c < corners; ++c) {
          const std::string v = std::to_string(1 + below(random, i / 2 + 1));
          const std::string t = std::to_string(1 + below(random, i / 8 + 1));
          text += " " + v + (form == 0 ? "" : form == 1 ? "/" + t : form == 2 ? "//" + t : "/" + t + "/" + t);
        }
        break;
      }
      case 3:
        text += words[below(random, 14)];
        [[fallthrough]];
      default:
        for (std::uint32_t w = below(random, 6); w > 0; --w) {
          text += (below(random, 9) == 0 ? "\t" : " ") +
                  words[below(random, static_cast<std::uint32_t>(words.size()))];
        }
    }
    text += ends[below(random, below(random, 3) == 0 ? static_cast<std::uint32_t>(ends.size()) : 4)];
  }
  return text;
}

TEST(Document, RandomFilesAsThePlainReaderHasThem) {
  Random random(1);
  for (int i = 0; i < 500 && !HasFatalFailure(); ++i) check(randomText(random));
}

TEST(Document, RealFiles) {
  std::vector<std::string> paths;
  for (const char* folder : {KSMTH_REAL_FILES, KSMTH_EXAMPLES}) {
    if (!std::filesystem::exists(folder)) continue;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().extension() == ".obj") paths.push_back(entry.path());
    }
  }
  ASSERT_FALSE(paths.empty());
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    std::ifstream file(path, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    OBJDocument document;
    ASSERT_TRUE(document.read(path));
    ASSERT_EQ(describe(document), describe(ReferenceDocument(text)));
    DocumentReadOptions exact;
    exact.fastPath = false;
    ASSERT_EQ(describe(documentOf(text, exact)), describe(document));
    ASSERT_EQ(document.findings().count(Severity::error, false), 0U);
    ASSERT_EQ(describe(documentOf(written(document, ElementLists::all()))), describe(document));
  }
}

TEST(Document, LongLinesAndManyOfThem) {
  std::string text;
  std::string face = "f";
  for (int i = 1; i <= 3000; ++i) {
    text += "v " + std::to_string(i) + " " + std::string(static_cast<std::size_t>(i % 40), '0') + "1 2\n";
    face += " " + std::to_string(i) + (i % 100 == 0 ? "\\\n" : "");
  }
  text +=
      face + "\n# " + std::string(300'000, 'x') + "\nf 1 2 3\nf 1 2 3 \\\n" + std::string(70'000, ' ') + "4";
  const OBJDocument document = documentOf(text);
  EXPECT_EQ(describe(document), describe(ReferenceDocument(text)));
  DocumentReadOptions small;
  small.windowBytes = 1000;
  EXPECT_EQ(describe(documentOf(text, small)), describe(document));
  std::uint64_t line = 0;
  ASSERT_TRUE(document.lineNumber(document.faces().offset(1), line));
  EXPECT_EQ(line, 3000U + 31 + 1 + 1);
  EXPECT_LE(document.memoryBytes(), 3000U * 32 + 3 * 16 + 12 * document.faces().cornerTotal() + 4096);
}

TEST(Document, Values) {
  const OBJDocument document =
      documentOf("v 0.1 -2e-3 +1e39 0.25 0.5 0.75\nv 1 2 3 4\nv 1,5 x\nv nan -inf .5\nvt 0.1\nvt 1 2 3\n");
  std::vector<double> d;
  std::vector<float> f;
  constexpr double kInf = std::numeric_limits<double>::infinity();
  ASSERT_TRUE(document.positions(d));
  EXPECT_EQ(std::vector<double>(d.begin(), d.begin() + 9),
            (std::vector<double>{0.1, -2e-3, 1e39, 1, 2, 3, 1, 0, 0}));
  EXPECT_TRUE(d[9] != d[9]);
  EXPECT_EQ(d[10], -kInf);
  EXPECT_EQ(d[11], 0.5);
  ASSERT_TRUE(document.positions(f));
  EXPECT_EQ(std::vector<float>(f.begin(), f.begin() + 3),
            (std::vector<float>{0.1F, -2e-3F, static_cast<float>(kInf)}));
  ASSERT_TRUE(document.textures(f));
  EXPECT_EQ(f, (std::vector<float>{0.1F, 0, 1, 2}));
  ASSERT_TRUE(document.vertexColours(f));
  EXPECT_EQ(f, (std::vector<float>{0.25F, 0.5F, 0.75F, 1, 1, 1, 1, 1, 1, 1, 1, 1}));
  ASSERT_TRUE(document.vertexWeights(f));
  EXPECT_EQ(f, (std::vector<float>{1, 4, 1, 1}));
  ASSERT_TRUE(document.normals(f));
  EXPECT_TRUE(f.empty());
}

TEST(Document, SelectionsAndOptions) {
  const OBJDocument document = documentOf(
      "# one\n# two\nmtllib a.mtl b.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 2 2 2\nvp 1\no x\ng a b\ns 1\nusemtl "
      "m\nf 1 2 3\ng b\ns 0\n"
      "f 1 2 4\no y\ns off\nusemtl n\nf 2 3 4\nlod 3\ncurv2 -1 1\np 1\n");
  const auto part = [&](const Selection& selection) { return select(document, selection).faces; };
  using List = std::vector<std::uint32_t>;
  EXPECT_EQ(part({{document.find(Division::group, "a")}, {}, {}, {}}), (List{0}));
  EXPECT_EQ(part({{0, 1}, {0}, {}, {}}), (List{1, 2}));
  EXPECT_EQ(part({{1}, {0, 1}, {0}, {}}), (List{0, 1}));
  EXPECT_EQ(part({{}, {}, {}, {1, 7, -5}}), (List{2}));
  EXPECT_EQ(part({{}, {}, {kNoIndex}, {}}), (List{}));
  EXPECT_TRUE(select(document, {}).whole);
  const OBJMembers byMaterial = document.members(Division::material, ElementKind::face);
  EXPECT_EQ(byMaterial.rows(), 3U);
  EXPECT_EQ(byMaterial.indices, (List{0, 1, 2}));
  EXPECT_EQ(document.members(Division::smoothing, ElementKind::face).row(1)[0], 1U);

  EXPECT_EQ(written(document, ElementLists::all()),
            "# one\n# two\nmtllib a.mtl b.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 2 2 2\nvp 1\no x\ng a b\ns "
            "1\nusemtl m\n"
            "f 1 2 3\ng b\ns 0\nf 1 2 4\no y\ns off\nusemtl n\nf 2 3 4\nlod 3\ncurv2 1 1\np 1\n");
  WriteOptions options;
  options.headComments = options.materials = options.objects = options.smoothing = options.statements = false;
  options.notes = {"part 1"};
  options.groups = {document.find(Division::group, "b")};
  EXPECT_EQ(written(document, ElementLists::all(), options),
            "# part 1\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 2 2 2\ng b\nf 1 2 3\nf 1 2 4\nf 2 3 4\np 1\n");
  WriteOptions apart;
  const std::vector<std::string> names{"../a.mtl", "../b.mtl"};
  apart.libraries = &names;
  apart.librariesApart = true;
  apart.headComments = false;
  ElementLists last;
  last.faces = {2};
  EXPECT_EQ(
      written(document, last, apart),
      "mtllib ../a.mtl\nmtllib ../b.mtl\nv 1 0 0\nv 1 1 0\nv 2 2 2\no y\ng b\ns off\nusemtl n\nf 1 2 3\n");
}

TEST(Document, Rewriting) {
  struct Changes : Rewriter {
    bool vectorText(VectorKind kind, std::uint32_t index, std::string& text) override {
      if (kind != VectorKind::position || index != 1) return false;
      text += " 9";
      return true;
    }
    bool groupText(std::int32_t groupSet, std::int32_t object, std::string& text) override {
      if (groupSet != kNoIndex) return false;
      text = "object_" + std::to_string(object);
      return true;
    }
    bool smoothingText(ElementKind, std::uint32_t index, std::string& text) override {
      if (index == 0) text = "5";
      return index == 0;
    }
    bool cutFace(std::uint32_t index, std::vector<std::uint32_t>& pieces) override {
      if (index == 0) pieces = {0, 1, 2, kPieceEnd, 0, 2, 3, kPieceEnd};
      return index == 0;
    }
  } changes;
  const OBJDocument document =
      documentOf("v 0 0\t0\nv 1 0 0\nv 1 1 0\nv 0 1 0\no x\nf 1 2 3 4\nf 1 2 3\ng g\ns 2\nf 2 3 4\n");
  WriteOptions options;
  options.rewriter = &changes;
  EXPECT_EQ(written(document, ElementLists::all(), options),
            "v 0 0\t0\nv 1 0 0 9\nv 1 1 0\nv 0 1 0\no x\ng object_0\ns 5\nf 1 2 3\nf 1 3 4\ns off\nf 1 2 "
            "3\ng g\ns 2\n"
            "f 2 3 4\n");
}

TEST(Document, SourcesAndStops) {
  const TempFolder folder;
  const std::string path = folder.write("a.obj", kSmall);
  OBJDocument document;
  ASSERT_TRUE(document.read(path));
  EXPECT_FALSE(document.source().isHeld());
  const std::string expected = describe(document);
  const std::string whole = written(document, ElementLists::all());

  const int descriptor = open(path.c_str(), O_RDONLY);
  OBJDocument held;
  ASSERT_TRUE(held.readDescriptor(descriptor, "standard input"));
  close(descriptor);
  EXPECT_TRUE(held.source().isHeld());
  EXPECT_EQ(describe(held), expected);

  // Another file of that name leaves the one that was opened as it was; a change of it does not.
  folder.write("b.obj", "v 1 2 3\n");
  std::filesystem::rename(folder.path("b.obj"), path);
  EXPECT_EQ(describe(document), expected);
  ASSERT_TRUE(document.read(path));
  StringSink sink;
  // The size tells, or the time alone, by a nanosecond.
  const auto time = std::filesystem::last_write_time(path);
  const auto tick = std::chrono::nanoseconds(1);
  for (const std::string& change : {std::string("v 1 2 4\n"), std::string("v 1 2 3\nv"), std::string()}) {
    std::ofstream(path, std::ios::binary) << change;
    std::filesystem::last_write_time(path, change.size() == 8 ? time + tick : time);
    DocumentWriter writer(document);
    EXPECT_EQ(writer.write(ElementLists::all(), {}, sink).status, Status::changed) << change;
    std::vector<float> values;
    EXPECT_EQ(document.positions(values).status, Status::changed);
    EXPECT_TRUE(values.empty());
  }
  EXPECT_EQ(document.read(folder.path("none.obj")).status, Status::cannotOpen);
  EXPECT_EQ(document.read(folder.path("")).status, Status::cannotOpen);
  EXPECT_EQ(document.read("/dev/zero").status, Status::notText);
  EXPECT_EQ(document.readBytes(std::string("v\0 \0001\0 \0002\0\n\0", 12), "x").status, Status::notText);
  EXPECT_EQ(document.findings().count(FindingKind::utf16), 1U);
  EXPECT_EQ(document.readBytes("\xFF\xFEv", "x").status, Status::notText);
  EXPECT_EQ(document.readBytes(std::string("\x89PNG\r\n\x1A\n\x01\x02\x03\x04"), "x").status,
            Status::notText);
  EXPECT_EQ(document.findings().count(FindingKind::notText), 1U);

  const auto stopAtOnce = [](double) { return false; };
  DocumentReadOptions stop;
  stop.progress = stopAtOnce;
  EXPECT_EQ(document.readBytes(kSmall, "x", stop).status, Status::cancelled);
  ASSERT_TRUE(document.readBytes(kSmall, "x"));
  WriteOptions stopWriting;
  stopWriting.progress = stopAtOnce;
  EXPECT_EQ(DocumentWriter(document).write(ElementLists::all(), stopWriting, sink).status, Status::cancelled);
  EXPECT_EQ(written(document, ElementLists::all()), whole);

  struct FullSink : Sink {
    Result write(std::string_view) override { return {Status::writeFailed, "full"}; }
  } full;
  EXPECT_EQ(DocumentWriter(document).write(ElementLists::all(), {}, full).status, Status::writeFailed);
}

}  // namespace
