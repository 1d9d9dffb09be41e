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
#include <set>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "document/BlockCache.h"
#include "document/DocumentReference.h"
#include "document/DocumentWriter.h"
#include "document/NewIndices.h"
#include "document/OBJDocument.h"
#include "document/PlainArray.h"
#include "document/RandomText.h"
#include "document/Selection.h"

namespace {

using namespace WavefrontOBJ;

OBJDocument documentOf(const std::string& text, const DocumentReadOptions& options = {}) {
  OBJDocument document;
  const Result result = document.readBytes(text, "test.obj", options);
  EXPECT_TRUE(result) << result.text;
  return document;
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
Words shapeOf(const PlainFile& file) {
  Words shape;
  for (const auto& list : file.elements) {
    for (const PlainFile::Element& element : list) {
      std::string text;
      for (const PlainFile::Corner& corner : element.corners) {
        for (std::size_t part = 0; part < 3; ++part) {
          text += (corner[part] < 0 ? "" : file.vectors[part][static_cast<std::size_t>(corner[part])]) + "/";
        }
      }
      shape.push_back(text + element.state);
    }
  }
  return shape;
}

/// The part of each group reads back as its elements, with the vertex lines that they use and no others.
void checkParts(const OBJDocument& document, const PlainFile& file) {
  const OBJMembers members = document.members(Division::group, ElementKind::face);
  DocumentWriter writer(document);
  for (std::size_t g = 0; g < document.groups().size(); ++g) {
    const ElementLists part = select(document, {{static_cast<std::int32_t>(g)}, {}, {}, {}});
    ASSERT_TRUE(std::ranges::equal(members.row(g), part.faces));
    PlainFile expected = file;
    const std::vector<std::uint32_t>* const lists[] = {&part.faces, &part.lines, &part.points};
    for (std::size_t k = 0; k < kElementKinds; ++k) {
      expected.elements[k].clear();
      for (const std::uint32_t i : *lists[k]) expected.elements[k].push_back(file.elements[k][i]);
    }
    for (const bool keepOrder : {false, true}) {
      WriteOptions options;
      options.keepOrder = keepOrder;
      StringSink sink;
      ASSERT_TRUE(writer.write(part, options, sink));
      const PlainFile back = plain(documentOf(sink.text));
      ASSERT_EQ(shapeOf(back), shapeOf(expected)) << sink.text;
      if (keepOrder) {
        ASSERT_EQ(back.vectors[0], file.vectors[0]);
        continue;
      }
      std::set<std::int64_t> used[3];
      for (const auto& list : back.elements) {
        for (const PlainFile::Element& element : list) {
          for (const PlainFile::Corner& corner : element.corners) {
            for (std::size_t k = 0; k < 3; ++k) used[k].insert(corner[k]);
          }
        }
      }
      for (std::size_t k = 0; k < 3; ++k) {
        used[k].erase(-1);
        ASSERT_EQ(used[k].size(), back.vectors[k].size()) << sink.text;
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
  const PlainFile expected = PlainReader(text).file;
  ASSERT_EQ(shapeOf(plain(document)), shapeOf(expected));
  ASSERT_TRUE(plain(document) == expected);
  for (const ElementKind kind : {ElementKind::face, ElementKind::line, ElementKind::point}) {
    const ElementTable& table = document.elements(kind);
    for (const auto column : {table.textureColumn(), table.normalColumn()})
      ASSERT_TRUE(column.empty() || std::ranges::count(column, kNoIndex) < std::ssize(column));
  }
  DocumentReadOptions exact;
  exact.fastPath = false;
  DocumentReadOptions tiny;
  tiny.windowBytes = 1 + text.size() % 7;
  for (const DocumentReadOptions& options : {exact, tiny}) {
    const OBJDocument other = documentOf(text, options);
    ASSERT_EQ(describe(other), describe(document));
  }
  DocumentReadOptions few;
  few.placesPerKind = 2;
  DocumentReadOptions pieces = few;
  pieces.threads = 3;
  pieces.threadBytes = 0;
  pieces.windowBytes = 1 + text.size() % 61;
  ASSERT_EQ(describe(documentOf(text, pieces)), describe(documentOf(text, few)));
  const std::string whole = written(document, ElementLists::all());
  const OBJDocument back = documentOf(whole);
  ASSERT_EQ(shapeOf(plain(back)), shapeOf(expected)) << whole;
  ASSERT_EQ(plain(back).names[0], expected.names[0]) << whole;
  ASSERT_EQ(plain(back).emptyGroups, expected.emptyGroups) << whole;
  ASSERT_EQ(written(back, ElementLists::all()), whole);
  for (std::size_t k = 0; k < kVectorKinds; ++k) {
    ASSERT_EQ(plain(back).vectors[k].size(), expected.vectors[k].size());
  }
  for (const FindingKind kind :
       {FindingKind::relativeIndex, FindingKind::carriageReturn, FindingKind::indexOutOfRange,
        FindingKind::leadingBlank, FindingKind::emptyPart, FindingKind::trailingComment}) {
    ASSERT_EQ(back.findings().count(kind), 0U) << whole;
  }
  for (const Finding& finding : document.findings().kept()) {
    if (finding.line == 0) continue;
    const std::string before = unified(text, static_cast<std::size_t>(finding.offset));
    const std::size_t begin = before.rfind('\n') + 1;
    const bool mark = text.starts_with("\xEF\xBB\xBF") && begin == 0;
    ASSERT_EQ(finding.line, 1U + static_cast<std::size_t>(std::ranges::count(before, '\n')));
    if (finding.column != 0) {
      ASSERT_EQ(finding.column, before.size() - begin + 1 - (mark ? 3 : 0));
    }
  }
  checkParts(document, expected);
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
  check(text + "v 1 2 3\\");
  // A line's text is read by 256 bytes.
  check("v 1" + std::string(252, ' ') + "\\\n2 3\n");
  // Faces of vertices that never come, alone in their groups.
  check(text +
        "g c\nusemtl gold\nf 1 2 9\ng a\nf 1 2 9\nl 1 2\ng d\no x\nf 9 8 7\ng c e\nf 8 1 2\ng y\nl 1 2\ng "
        "z\nf 1 2 3");
  check("f 1 2 9\ng d\nf 1/1 2/1 3/9\n" + text);
  for (std::size_t i = 0; i < text.size(); ++i) {
    for (const char c : {'\0', '\n', '\r', '\\', ' ', '/', '-', '9', '#'}) {
      std::string changed = text;
      changed[i] = c;
      check(changed);
      if (HasFatalFailure()) return;
    }
  }
}

/// Lines that pieces of a file have to be put together rightly for.
TEST(Document, ByPieces) {
  const auto repeated = [](const std::string& lines, std::size_t size) {
    std::string text = "v 0 0 0\r\nv 1 0 0\r\nl 1 2\r\nl 2 1\r\nv 0 1 0\n";
    while (text.size() < size) text += lines;
    return text;
  };
  // So long that every length of a piece comes.
  for (std::size_t size = 200; size < 300; size += 8) {
    for (const char* lines : {"f 1 2 0\n", "g a\nf 1 2 3\ng b\nf 3 2 1\n", "#\n"})
      check(repeated(lines, size));
  }
}

TEST(Document, RandomFilesAsThePlainReaderHasThem) {
  Random random(1);
  for (int i = 0; i < 500 && !HasFatalFailure(); ++i) check(randomText(random));
}

TEST(Document, RealFiles) {
  ASSERT_FALSE(realFiles().empty());
  for (const std::string& path : realFiles()) {
    SCOPED_TRACE(path);
    std::ifstream file(path, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    check(text);
    const OBJDocument document = documentOf(text);
    EXPECT_EQ(document.findings().count(Severity::error, false), 0U);
    EXPECT_TRUE(plain(documentOf(written(document, ElementLists::all()))) == plain(document));
  }
}

/// Lines that lie all over a file, some across the blocks that it is read by, each with an end from a table:
/// as it is in the file, and as it is written.
TEST(Document, ScatteredLines) {
  constexpr const char* kEnds[][2] = {{"\n", "\n"},
                                      {"\r\n", "\n"},
                                      {"\r", "\n"},
                                      {" \n", "\n"},
                                      {" \r\n", "\n"},
                                      {"\\\n2\n", " 2\n"},
                                      {" 2\\\r\n3\n", " 2 3\n"},
                                      {"\\2\n", "\\2\n"},
                                      {"\x7F\n", "\x7F\n"},
                                      {"\xFF\n", "\xFF\n"},
                                      {"\t2\n", "\t2\n"},
                                      {"\x1F\n", "\x1F\n"}};
  const TempFolder folder;
  std::string text;
  Words lines;
  for (std::size_t i = 0; i < 20'000; ++i) {
    const std::string begin = "v " + std::to_string(i) + " " + std::string(1 + i * 7 % 300, '1');
    const auto& [end, writtenEnd] = kEnds[i / 5 % std::size(kEnds)];
    text += begin + end;
    lines.push_back(begin + writtenEnd);
  }
  for (std::size_t i = 0; i < 40; ++i) {
    text += "g g" + std::to_string(i) + "\np";
    for (std::size_t v = i * 11; v < lines.size(); v += 97 + 10 * i) text += " " + std::to_string(v + 1);
    text += "\n";
  }
  OBJDocument document;
  text += "p 20001 \nv 7 8 9";
  ASSERT_TRUE(document.read(folder.write("a.obj", text)));
  DocumentWriter writer(document);
  for (std::uint32_t i = 0; i <= 40; ++i) {
    ElementLists part;
    part.points = {i};
    StringSink sink;
    WriteOptions options;
    options.vectorsFirst = true;
    ASSERT_TRUE(writer.write(part, options, sink));
    std::string expected;
    for (const std::int32_t v : document.points().vertices(i)) {
      expected += v == 20'000 ? "v 7 8 9\n" : lines[static_cast<std::size_t>(v)];
    }
    // Not told apart in a message, being long.
    ASSERT_TRUE(sink.text.substr(0, sink.text.find('g')) == expected) << i;
  }
  BlockCache cache(document.source(), 3 * BlockCache::kBlockBytes);
  Random random(3);
  for (int i = 0; i < 1000; ++i) {
    const std::uint32_t offset = below(random, static_cast<std::uint32_t>(text.size()) >> (i % 9));
    std::string_view bytes;
    ASSERT_TRUE(cache.block(offset, bytes));
    ASSERT_TRUE(bytes == std::string_view(text).substr(offset - offset % BlockCache::kBlockBytes,
                                                       BlockCache::kBlockBytes + BlockCache::kOverlapBytes));
  }
  // What there is room for is read once: a file that has changed cannot be read.
  BlockCache all(document.source(), 2 * text.size());
  for (const bool changed : {false, true}) {
    if (changed) folder.write("a.obj", "changed");
    for (std::size_t offset = 0; offset < text.size(); offset += BlockCache::kBlockBytes) {
      std::string_view bytes;
      ASSERT_TRUE(all.block(offset, bytes));
    }
  }
}

TEST(Document, NewIndicesCountThoseThatAreUsed) {
  Random random(5);
  NewIndices indices;
  indices.resize(10'000);
  for (std::uint32_t i = 0; i < 200; ++i) {
    std::set<std::uint32_t> used;
    for (std::uint32_t left = below(random, i % 2 == 0 ? 10 : 3000); left > 0; --left) {
      const std::uint32_t index = below(random, 10'000);
      used.insert(index);
      indices.add(index);
    }
    indices.number();
    ASSERT_EQ(std::vector<std::uint32_t>(used.begin(), used.end()), indices.added());
    std::uint32_t number = 0;
    for (const std::uint32_t index : used) ASSERT_EQ(indices[index], ++number);
    indices.clear();
  }
}

TEST(Document, TablesGrowAndShrinkAcrossItsKindsOfMemory) {
  PlainArray<std::uint64_t> array;
  std::vector<std::uint64_t> expected;
  const auto requireSame = [&] {
    ASSERT_EQ(array.size(), expected.size());
    ASSERT_TRUE(std::equal(array.begin(), array.end(), expected.begin()));
  };
  // Rooms of bytes to 12 MB, and back; each touched to its end.
  for (const std::size_t size : {1U, 1000U, 400'000U, 524'288U, 524'289U, 900'000U, 1'500'000U}) {
    while (expected.size() < size) {
      const std::uint64_t value = expected.size() * 0x9E3779B97F4A7C15U;
      array.push_back(value);
      expected.push_back(value);
    }
    requireSame();
    PlainArray<std::uint64_t> other(std::move(array));
    other.shrink();
    other.reserve(size / 3);
    array = std::move(other);
    requireSame();
  }
  for (const std::size_t size : {1'200'000U, 800'000U, 524'288U, 300'000U, 10U}) {
    array.truncate(size);
    array.shrink();
    expected.resize(size);
    requireSame();
    EXPECT_EQ(array.memoryBytes(), size * sizeof(std::uint64_t));
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
  EXPECT_TRUE(plain(document) == PlainReader(text).file);
  DocumentReadOptions small;
  small.windowBytes = 1000;
  EXPECT_TRUE(plain(documentOf(text, small)) == plain(document));
  std::uint64_t line = 0;
  ASSERT_TRUE(document.lineNumber(document.faces().offset(1), line));
  EXPECT_EQ(line, 3000U + 31 + 1 + 1);
  EXPECT_LE(document.memoryBytes(), 3000U * 32 + 3 * 16 + 12 * document.faces().cornerTotal() + 4096);
}

TEST(Document, Values) {
  const OBJDocument document = documentOf(
      "v 0.1 -2e-3 +1e39 0.25 0.5 0.75\nv 1 2 3 4 5\nv 1,5 x\nv nan -inf .5 #1 2 3\nvt 0.1 #7\nvt 1 2 3\n");
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
      "m\np 3\nf 1 2 3\ng b\ns 0\n"
      "f 1 2 4\no y\ns off\nusemtl n\np 2\nf 2 3 4\nlod 3\ncurv2 -1 1\np 1\n");
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
  const OBJDocument late = documentOf("v 0 0 0\nf 1 1 1\nusemtl m\nf 1 1 1\n");
  EXPECT_EQ(late.members(Division::material, ElementKind::face).indices, (List{1, 0}));
  EXPECT_EQ(byMaterial.indices, (List{0, 1, 2}));
  EXPECT_EQ(document.members(Division::smoothing, ElementKind::face).row(1)[0], 1U);

  EXPECT_EQ(written(document, ElementLists::all()),
            "# one\n# two\nmtllib a.mtl b.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 2 2 2\nvp 1\no x\ng a b\ns "
            "1\nusemtl m\n"
            "p 3\nf 1 2 3\ng b\ns 0\nf 1 2 4\no y\ns off\nusemtl n\np 2\nf 2 3 4\nlod 3\ncurv2 1 1\np 1\n");
  WriteOptions options;
  options.headComments = options.materials = options.objects = options.smoothing = options.statements = false;
  options.notes = {"part 1"};
  options.groups = {document.find(Division::group, "b")};
  EXPECT_EQ(written(document, ElementLists::all(), options),
            "# part 1\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 2 2 2\ng b\np 3\nf 1 2 3\nf 1 2 4\np 2\nf 2 3 4\np 1\n");
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
  const PlainFile expected = plain(document);
  const std::string whole = written(document, ElementLists::all());

  const int descriptor = open(path.c_str(), O_RDONLY);
  OBJDocument held;
  ASSERT_TRUE(held.readDescriptor(descriptor, "standard input"));
  close(descriptor);
  EXPECT_TRUE(held.source().isHeld());
  EXPECT_TRUE(plain(held) == expected);

  // Another file of that name leaves the one that was opened as it was; a change of it does not.
  folder.write("b.obj", "v 1 2 3\n");
  std::filesystem::rename(folder.path("b.obj"), path);
  EXPECT_TRUE(plain(document) == expected);
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
  EXPECT_EQ(document.readBytes(std::string("glTF\2\0\0\0", 8) + std::string(200, 'x'), "x").status,
            Status::notText);
  // As compressed data are: each byte as often as any other.
  std::string bytes;
  for (int i = 0; i < 4096; ++i) bytes += static_cast<char>(1 + i % 255);
  EXPECT_EQ(document.readBytes(bytes, "x").status, Status::notText);
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
