// Documents taken apart, put together, compared: what is done to them has to be undone, or seen.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "document/Companions.h"
#include "document/Diff.h"
#include "document/DocumentReference.h"
#include "document/Merge.h"
#include "document/PartNotes.h"
#include "document/RandomText.h"
#include "document/Replace.h"
#include "document/SelectionPatterns.h"
#include "document/Split.h"

namespace {

using namespace WavefrontOBJ;
using Strings = std::vector<std::string>;

OBJDocument documentOf(const std::string& text, const std::string& name = "test.obj") {
  OBJDocument document;
  const Result result = document.readBytes(text, name);
  EXPECT_TRUE(result) << result.text;
  return document;
}

std::string whole(const OBJDocument& document) {
  StringSink sink;
  EXPECT_TRUE(DocumentWriter(document).write(ElementLists::all(), {}, sink));
  return sink.text;
}

/// All parts, last the rest where there is one.
Strings partsOf(const OBJDocument& document, Division by, const WriteOptions& options = {}) {
  DocumentSplit split(document, by);
  Strings texts;
  for (std::size_t i = 0; i < split.partCount(); ++i) {
    StringSink sink;
    WriteCounts counts;
    EXPECT_TRUE(split.writePart(i, options, sink, &counts));
    EXPECT_EQ(counts.bytes, sink.text.size());
    texts.push_back(sink.text);
  }
  if (split.hasRest()) {
    StringSink sink;
    EXPECT_TRUE(split.writeRest({}, sink));
    texts.push_back(sink.text);
  }
  return texts;
}

std::string merged(const Strings& texts, const MergeOptions& options = {}, MergeReport* report = nullptr) {
  std::vector<OBJDocument> documents;
  std::vector<const OBJDocument*> list;
  for (const std::string& text : texts) documents.push_back(documentOf(text));
  for (const OBJDocument& document : documents) list.push_back(&document);
  StringSink sink;
  const Result result = merge(list, options, sink, report);
  return result ? sink.text : result.text;
}

constexpr Division kDivisions[] = {Division::group, Division::smoothing, Division::material,
                                   Division::object};

/// The parts, in whatever order, are the document again, to the byte.
void checkRoundTrip(const OBJDocument& document, Random& random) {
  const std::string expected = whole(document);
  DocumentDifference difference;
  ASSERT_TRUE(diff(document, documentOf(expected), difference));
  ASSERT_FALSE(difference.topology);
  for (const MembershipDifference& row : difference.memberships)
    ASSERT_EQ(row.facesOnly[0] + row.facesOnly[1], 0U) << row.name;
  for (const Division by : kDivisions) {
    WriteOptions options;
    options.keepOrder = below(random, 4) == 0;
    Strings parts = partsOf(document, by, options);
    std::shuffle(parts.begin(), parts.end(), random);
    MergeReport report;
    ASSERT_EQ(merged(parts, {}, &report), expected) << "by " << static_cast<int>(by);
    ASSERT_EQ(report.missing + report.differing + report.welded, 0U);
  }
}

TEST(Parts, OfRandomDocumentsAreTheDocumentAgain) {
  Random random(2);
  int tried = 0;
  for (int i = 0; i < 3000 && !HasFatalFailure(); ++i) {
    const std::string text = randomText(random);
    OBJDocument document;
    if (!document.readBytes(text, "test.obj")) continue;
    const DocumentSplit split(document, Division::group);
    if (split.partCount() == 0 && !split.hasRest()) continue;
    SCOPED_TRACE(text);
    checkRoundTrip(document, random);
    ++tried;
  }
  EXPECT_GT(tried, 1000);
}

TEST(Parts, OfRealFilesAreTheFileAgain) {
  Random random(3);
  for (const char* const folder : {KSMTH_REAL_FILES, KSMTH_EXAMPLES}) {
    if (!std::filesystem::exists(folder)) continue;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().extension() != ".obj") continue;
      SCOPED_TRACE(entry.path());
      OBJDocument document;
      ASSERT_TRUE(document.read(entry.path()));
      checkRoundTrip(document, random);
      ASSERT_EQ(plain(documentOf(whole(document))), plain(document));
    }
  }
  OBJDocument robot;
  ASSERT_TRUE(robot.read(std::string(KSMTH_EXAMPLES) + "/robot.obj"));
  const OBJDocument again = documentOf(merged(partsOf(robot, Division::group)));
  EXPECT_EQ(again.groups().size(), 11U);
  EXPECT_EQ(smoothingNumbers(again).size(), 9U);  // and none
  EXPECT_EQ(again.materials().size(), 4U);
}

/// Comments, groups without elements and lines without a name stay where they are, whole and in parts.
TEST(Parts, KeepWhatStandsBetweenTheLines) {
  const std::string text =
      "# head\nmtllib a.mtl\\ \n# first\ng a\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl\n# of one\ng a\nf 1 2 3\n"
      "g\n# of two\\\nv 1 1 0\nlod 1\no\ng b\ns 1\nusemtl red\\ \nf 2 4 3\n# end\ng\n";
  const OBJDocument document = documentOf(text);
  EXPECT_EQ(
      whole(document),
      "# head\nmtllib a.mtl\\ \n# first\ng a\nv 0 0 0\nv 1 0 0\nv 0 1 0\n# of one\ng a\nusemtl \nf 1 2 3\n"
      "g\n# of two\\\nv 1 1 0\nlod 1\no \ng b\ns 1\nusemtl red\\ \nf 2 4 3\n# end\ng\n");
  EXPECT_EQ(plain(documentOf(whole(document))), plain(document));
  const Strings parts = partsOf(document, Division::material);
  ASSERT_EQ(parts.size(), 3U);
  EXPECT_TRUE(parts[0].ends_with("v 0 1 0\n# of one\ng a\nusemtl \nf 1 2 3\n")) << parts[0];
  EXPECT_TRUE(parts[1].ends_with("f 1 3 2\n# end\ng\n")) << parts[1];
  EXPECT_EQ(merged(parts), whole(document));
}

const char kTwoGroups[] =
    "# head\nmtllib a.mtl b.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nv 9 9 9\nvt 0 0\ng a b\ns 1\nusemtl "
    "red\n"
    "f 1/1 2/1 3/1\ng b\nl 2 3\ng c\nf 2 4 3\n";

TEST(Parts, SayWhatTheyHave) {
  const OBJDocument document = documentOf(kTwoGroups);
  const Strings parts = partsOf(document, Division::group);
  ASSERT_EQ(parts.size(), 4U);
  WriteOptions keepOrder;
  keepOrder.keepOrder = true;
  EXPECT_EQ(partsOf(document, Division::group, keepOrder).size(), 3U);
  std::uint64_t sum = 0;
  ASSERT_TRUE(checksum(document, sum));
  EXPECT_EQ(sum, 0x2AC46FD86C3CADADU) << std::hex << sum;  // on every machine
  ASSERT_TRUE(checksum(documentOf("#" + std::string(1U << 18, 'x') + "\nv\n"), sum));
  EXPECT_EQ(sum, 0x6E0AA253E8BAB468U);
  const std::string head = "smthgrp part 1 of 2ac46fd86c3cadad lines 9\n# smthgrp part lines ";
  EXPECT_EQ(parts[2], "# head\n# " + head +
                          "2-4 9\nmtllib a.mtl b.mtl\n"
                          "v 1 0 0\nv 0 1 0\nv 1 1 0\ng c\ns 1\nusemtl red\nf 1 3 2\n");
  EXPECT_EQ(parts[3], "# head\n# " + head + "5\nmtllib a.mtl b.mtl\nv 9 9 9\n");
  // A part of a part, and what is chosen of one, do not say what is not so any more.
  const OBJDocument part = documentOf(parts[1]);
  StringSink chosen;
  ASSERT_TRUE(DocumentWriter(part).write(select(part, {{0}, {}, {}, {}}), {}, chosen));
  EXPECT_EQ(chosen.text.find("smthgrp"), std::string::npos);
  EXPECT_EQ(merged(partsOf(part, Division::group)), whole(documentOf(chosen.text + "g b\nl 2 3\n")));

  // Ranges that do not fit on one line, and notes that were tampered with.
  std::string scattered = kTwoGroups;
  for (int i = 0; i < 300; ++i) scattered += i % 2 == 0 ? "g a\nf 1 2 3\n" : "g c\nf 1 2 4\n";
  const Strings many = partsOf(documentOf(scattered), Division::group);
  for (const std::string& text : many) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) ASSERT_LE(line.size(), 110U);
  }
  EXPECT_EQ(merged(many), whole(documentOf(scattered)));
  const std::string note = parts[2].substr(parts[2].find("# smthgrp"), parts[2].find("mtllib") - 7);
  for (const auto& [from, to] :
       std::vector<std::pair<std::string, std::string>>{{"2-4 9", "2-5 9"},
                                                        {"2-4 9", "2-3 9"},
                                                        {"2-4 9", "4-2 6-9"},
                                                        {"2-4 9", "0-2 9"},
                                                        {"2-4 9", "7-10"},
                                                        {"2-4 9", "2-2 2-3 9"},
                                                        {"part 1", "part 2"},
                                                        {"4 9\nm", "4 9x\nm"},
                                                        {"part lines ", "part line "},
                                                        {"f 1 3 2", "f 1 3 2\nf 1 2 3"}}) {
    std::string text = parts[2];
    text.replace(text.find(from), from.size(), to);
    EXPECT_EQ(merged({text}), "test.obj: does not hold what its note of the part it is says; it was changed")
        << text;
  }
}

TEST(Parts, OfWhatIsChosen) {
  const OBJDocument document = documentOf(
      "v 0 0 0\nv 1 0 0\nv 0 1 0\ns 0\nf 1 2 3\ng a b\nf 2 3 1\nusemtl m\ng b\n"
      "f 3 2 1\ns off\ng a\nf 2 1 3\np 1\no x\np 2\n");
  const auto describeSplit = [&](Division by, const Selection& within) {
    const DocumentSplit split(document, by, within);
    std::string text;
    for (std::size_t i = 0; i < split.partCount(); ++i) {
      text += split.name(i).value_or("-") + ":";
      for (const std::uint32_t f : split.elements(i).faces) text += " " + std::to_string(f);
      text += " p" + std::to_string(split.elements(i).points.size()) + "; ";
    }
    return text;
  };
  EXPECT_EQ(describeSplit(Division::group, {}), "default: 0 p0; a: 1 3 p2; b: 1 2 p0; ");
  EXPECT_EQ(describeSplit(Division::group, {{1}, {}, {}, {}}), "a: 1 3 p2; ");
  EXPECT_EQ(describeSplit(Division::group, {{}, {}, {0}, {}}), "a: 3 p2; b: 2 p0; ");
  EXPECT_EQ(describeSplit(Division::material, {}), "m: 2 3 p2; -: 0 1 p0; ");
  EXPECT_EQ(describeSplit(Division::material, {{2}, {}, {kNoIndex}, {}}), "-: 1 p0; ");
  EXPECT_EQ(describeSplit(Division::smoothing, {}), "-: 0 1 2 3 p2; ");
  EXPECT_EQ(describeSplit(Division::object, {{}, {}, {}, {0}}), "x: p1; ");
}

TEST(Merge, PutsFilesBehindOneAnother) {
  const std::string a =
      "# a\nmtllib a.mtl x.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\no A\ng a\ns 1\nusemtl m\nf 1/1 2/1 3/1\n";
  const std::string b =
      "# b\nmtllib x.mtl b.mtl\nv 1 0 0\nv 0 1 0\nv 1 1 0 \nvn 0 0 1\nf -3//1 -1//1 -2//1\ncurv 0 1 -1 2 "
      "1\ng "
      "a\np 3\n";
  const std::string head =
      "# a\n# b\nmtllib a.mtl x.mtl\nmtllib b.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\no A\ng a\ns 1\nusemtl "
      "m\n"
      "f 1/1 2/1 3/1\n";
  const std::string shared = "vn 0 0 1\no \ng default\ns off\nusemtl \n";
  MergeReport report;
  EXPECT_EQ(merged({a, b}),
            head + "v 1 0 0\nv 0 1 0\nv 1 1 0\n" + shared + "f 4//1 6//1 5//1\ncurv 0 1 6 5 4\ng a\np 6\n");
  MergeOptions weld;
  weld.weld = true;
  EXPECT_EQ(merged({a, b}, weld, &report),
            head + "v 1 1 0\n" + shared + "f 2//1 4//1 3//1\ncurv 0 1 4 3 2\ng a\np 4\n");
  EXPECT_EQ(report.welded, 2U);
  // Vertices of one file are never welded to one another, and each to another one of the other file.
  const std::string twice = "v 1 0 0\nv 1  0 0\nv 2 0 0\nf 1 2 3\n";
  EXPECT_EQ(merged({twice, twice, "v 1 0 0\n"}, weld), "v 1 0 0\nv 1  0 0\nv 2 0 0\nf 1 2 3\nf 1 2 3\n");

  // Parts of two documents, one of which lacks a part, and a part that was edited.
  Strings parts = partsOf(documentOf(kTwoGroups), Division::group);
  const std::string edited = parts[1].replace(parts[1].find("v 1 0 0"), 7, "v 1 0 5");
  const Strings others = partsOf(documentOf(a), Division::group);
  const std::string text = merged({parts[0], edited, others[0], parts[2]}, {}, &report);
  EXPECT_EQ(report.documents, 2U);
  EXPECT_EQ(report.missing, 1U);
  EXPECT_EQ(report.differing, 1U);
  EXPECT_EQ(report.firstDiffering, "test.obj:6");
  const OBJDocument both = documentOf(text);
  EXPECT_EQ(both.vectorCount(VectorKind::position), 4U + 3);
  EXPECT_EQ(both.faces().size(), 3U);
  MergeOptions plain;
  plain.concatenate = true;
  EXPECT_EQ(documentOf(merged(parts, plain)).faces().size(), 3U);
  EXPECT_EQ(documentOf(merged(parts, plain)).vectorCount(VectorKind::position), 3U + 3 + 3 + 1);
  plain.progress = [](double) { return false; };
  EXPECT_EQ(merged(parts, plain), "cancelled");
}

TEST(Patterns, ChooseNamesIndicesAndNumbers) {
  const OBJDocument document = documentOf(
      "v 0 0 0\nv 1 0 0\nv 0 1 0\np 1\ng arm_l\ns 2\nf 1 2 3\ng arm_r 2\ns 5\nf 1 2 3\ng [x]\nusemtl red "
      "one\ns 12\n"
      "f 1 2 3\no cube\nf 1 2 3\n");
  const auto chosen = [&](const SelectionPatterns& patterns) {
    Selection s;
    if (const auto unmatched = resolve(document, patterns, s)) return "no " + unmatched->word;
    std::string text;
    for (const auto* list : {&s.groups, &s.materials, &s.objects}) {
      for (const std::int32_t i : *list) text += std::to_string(i) + " ";
      text += "| ";
    }
    for (const std::uint64_t n : s.smoothing) text += std::to_string(n) + " ";
    return text;
  };
  const std::vector<std::pair<SelectionPatterns, std::string>> rows = {
      {{}, "| | | "},
      {{{"arm_l"}, {}, {}, {}}, "1 | | | "},
      {{{"arm_*", "[x]"}, {}, {}, {}}, "1 2 4 | | | "},  // 0 is default, of the point
      {{{"2"}, {}, {}, {}}, "3 | | | "},
      {{{"3"}, {}, {}, {}}, "2 | | | "},
      {{{"4-"}, {}, {}, {}}, "3 4 | | | "},
      {{{"1-2", "5-99"}, {}, {}, {}}, "0 1 4 | | | "},
      {{{"0"}, {}, {}, {}}, "no 0"},
      {{{"6"}, {}, {}, {}}, "no 6"},
      {{{"3-2"}, {}, {}, {}}, "no 3-2"},
      {{{""}, {}, {}, {}}, "no "},
      {{{"ARM*"}, {}, {}, {}}, "no ARM*"},
      {{{}, {"0"}, {}, {}}, "| | | 0 "},
      {{{}, {"off", "2-5"}, {}, {}}, "| | | 0 2 5 "},
      {{{}, {"6-", "5"}, {}, {}}, "| | | 12 5 "},
      {{{}, {"99999999999999999999999"}, {}, {}}, "no 99999999999999999999999"},
      {{{}, {"x"}, {}, {}}, "no x"},
      {{{}, {"6-11"}, {}, {}}, "no 6-11"},
      {{{}, {}, {"red*", ""}, {}}, "| 0 -1 | | "},
      {{{}, {}, {"1"}, {}}, "no 1"},
      {{{}, {}, {}, {"c?be"}}, "| | 0 | "},
      {{{}, {}, {}, {"cube", "ball"}}, "no ball"}};
  for (const auto& [patterns, expected] : rows) EXPECT_EQ(chosen(patterns), expected);
}

TEST(Diff, NamesTheFirstDifference) {
  const std::string base = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf 1 2 3\nf 2 4 3\nl 1 2\n";
  const OBJDocument a = documentOf(base, "a");
  const std::vector<std::pair<std::string, std::string>> rows = {
      {base, ""},
      {"v 3 3 3\nv 1 0 0\nv 0 1 0\nv 1 1 0\ng x\nf -4 -3 -2\nf 2 4 3\nl 1 2\n", ""},
      {base + "v 1 1 1\n", "a has 4 vertices, b has 5 vertices"},
      {base + "f 1 2 3\n", "a has 2 faces, b:8 has 3 faces"},
      {"v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf 1 2 3\nf 2 4 3 1\nl 1 2\n",
       "face 2: a:6 has 3 corners, b:6 has 4 corners"},
      {"v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\n\nf 1 2 3\nf 2 3 4\nl 1 2\n",
       "face 2, corner 2: a:6 has vertex 4, b:7 has vertex 3"},
      {"v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf 1 2 3\nf 2 4 3\n", "a:7 has 1 line, b has 0 lines"}};
  for (const auto& [text, expected] : rows) {
    const OBJDocument b = documentOf(text, "b");
    DocumentDifference difference;
    ASSERT_TRUE(diff(a, b, difference));
    EXPECT_EQ(difference.topology ? difference.topology->text(a, b) : "", expected);
  }
}

TEST(Diff, TellsMovesAndMemberships) {
  const OBJDocument a = documentOf(
      "v 0 0 0\nv 1.0 0 0\nv 0 1 0\nvt 0 0\nvt 1 1\ng a b\ns off\nf 1/1 2/1 3/1\ng a\nf 2/1 1/1 3/1\nf 3 2 "
      "1\n");
  const OBJDocument b = documentOf(
      "# b\nv 0 0 0\nv 1 0 2\nv 3 5 0\nvt 0 0\nvt 1 1\ng a\ns 0\nf 1/1 2/1 3/1\nusemtl m\nf 2/1 1/2 3/1\ng "
      "c\nf 3//1 2//1 1//1\nvn 0 0 1\n");
  DocumentDifference d;
  ASSERT_TRUE(diff(a, b, d));
  EXPECT_FALSE(d.topology);
  EXPECT_EQ(d.moved, 2U);
  EXPECT_DOUBLE_EQ(d.greatestMove, 5);
  EXPECT_DOUBLE_EQ(d.meanMove, 3.5);
  EXPECT_EQ(d.greatestVertex, 2U);
  EXPECT_EQ(d.greatestLines, (std::array<std::uint64_t, 2>{3, 4}));
  EXPECT_EQ(d.greatestPositions[1], (std::array<double, 3>{3, 5, 0}));
  EXPECT_EQ(d.facesWithOtherTextures, 1U);
  EXPECT_EQ(d.facesWithOtherNormals, 1U);
  std::string rows;
  for (const MembershipDifference& row : d.memberships) {
    rows += std::to_string(static_cast<int>(row.division)) + row.name;
    for (std::size_t i = 0; i < 2; ++i)
      rows += " " + (row.present[i] ? std::to_string(row.faces[i]) : "-") + "+" +
              std::to_string(row.facesOnly[i]);
    rows += "\n";
  }
  EXPECT_EQ(rows, "0a 3+1 2+0\n0b 1+1 -+0\n0c -+0 1+1\n2 3+2 1+0\n2m -+0 2+2\n");
}

TEST(Replace, ChangesPositionsAlone) {
  const OBJDocument model =
      documentOf("# m\nv 0 0 0 0.5 0.25 1\nv 1 0 0 2\nv 0 1 # 0\nv 7 7 7\nvt .5 .50\ng a\nf 1/1 2/1 3/1\n");
  const OBJDocument positions = documentOf("v 1.50 -0 1e1 9 9 9\nv 2 # 3\nv\t4 5 \\\n 6\n");
  StringSink sink;
  ASSERT_TRUE(writeWithPositions(model, positions, {}, sink));
  EXPECT_EQ(
      sink.text,
      "# m\nv 1.50 -0 1e1 0.5 0.25 1\nv 2 0 0 2\nv 4 5 6 # 0\nv 7 7 7\nvt .5 .50\ng a\nf 1/1 2/1 3/1\n");
}

TEST(Companions, FollowTheFile) {
  const TempFolder folder;
  for (const char* const name : {"in/tex/deep", "out/sub", "in/old", "other"})
    std::filesystem::create_directories(folder.path(name));
  folder.write("in/a.mtl",
               "newmtl a\nmap_Kd tex\\deep\\a.png\nmap_Ks -s 1 1 1 b.png\nbump ../out.png\nmap_d "
               "gone.png\nmap_Ka b.png\n");
  folder.write("in/old/c.mtl", "map_Kd d.png\n");
  folder.write("other/e.mtl", "newmtl e\n");
  for (const char* const name : {"in/tex/deep/a.png", "in/b.png", "in/old/d.png", "out.png"})
    folder.write(name, name);
  const std::string path = folder.write(
      "in/m.obj", "mtllib a.mtl old/c.mtl\nmtllib ../other/e.mtl\nmtllib gone.mtl\nv 0 0 0\np 1\n");
  OBJDocument document;
  ASSERT_TRUE(document.read(path));
  Companions plan;
  const auto relative = [&](std::string text) {
    const std::string root = folder.path("");
    while (text.find(root) != std::string::npos) text.erase(text.find(root), root.size());
    return text;
  };
  ASSERT_TRUE(planCompanions(document, folder.path("in"), false, plan));
  EXPECT_TRUE(plan.libraries.empty() && plan.copies.empty() && plan.warnings.empty());
  ASSERT_TRUE(planCompanions(document, folder.path("out/sub"), false, plan));
  EXPECT_EQ(plan.libraries,
            (Strings{"../../in/a.mtl", "../../in/old/c.mtl", "../../other/e.mtl", "gone.mtl"}));
  ASSERT_EQ(plan.warnings.size(), 1U);
  ASSERT_TRUE(planCompanions(document, folder.path("out/"), true, plan));
  EXPECT_EQ(plan.libraries, (Strings{"a.mtl", "old/c.mtl", "e.mtl", "gone.mtl"}));
  std::string copies;
  for (const CompanionCopy& copy : plan.copies) copies += relative(copy.from) + ">" + relative(copy.to) + " ";
  EXPECT_EQ(copies,
            "in/a.mtl>out/a.mtl in/tex/deep/a.png>out/tex/deep/a.png in/b.png>out/b.png "
            "in/old/c.mtl>out/old/c.mtl in/old/d.png>out/old/d.png in/../other/e.mtl>out/e.mtl ");
  std::string warnings;
  for (const std::string& warning : plan.warnings) warnings += relative(warning) + "\n";
  EXPECT_EQ(warnings,
            "in/a.mtl:4: texture ../out.png lies outside the library's folder and is not copied\n"
            "in/a.mtl:5: texture gone.png is not there\n"
            "in/gone.mtl: the material library is not there; its name stays as it is\n");
  // What is there stays, unless it is the same.
  folder.write("out/b.png", "in/b.png");
  ASSERT_TRUE(planCompanions(document, folder.path("out"), true, plan));
  EXPECT_EQ(plan.copies.size(), 5U);
  // So do copies planned for other documents.
  std::vector<CompanionCopy> others{{path, folder.path("out/old/../a.mtl")}};
  EXPECT_EQ(relative(planCompanions(document, folder.path("out"), true, plan, others).text),
            "out/a.mtl: would be a copy of in/m.obj and of in/a.mtl, which differ");
  others = {{folder.path("out.png"), folder.path("out/e.mtl")},
            {folder.path("in/a.mtl"), folder.path("out//a.mtl")}};
  EXPECT_EQ(relative(planCompanions(document, folder.path("out"), true, plan, others).text),
            "out/e.mtl: would be a copy of out.png and of in/../other/e.mtl, which differ");
  folder.write("out/b.png", "in/B.png");
  EXPECT_EQ(relative(planCompanions(document, folder.path("out"), true, plan).text),
            "out/b.png: is there and is not in/b.png; it is not written over");
  StringSink copied;
  ASSERT_TRUE(copyFile(folder.path("in/b.png"), copied));
  EXPECT_EQ(copied.text, "in/b.png");
}

}  // namespace
