// Every way to read a file, fast and exact, in blocks of all sizes, against the plain reference reader.
#include "ReferenceReader.h"
#include "TestSupport.h"
#include "obj/internal/OBJReader.h"

using namespace WavefrontOBJ;

namespace {

std::string pick(Random& random, std::initializer_list<const char*> choices) {
  return choices.begin()[below(random, static_cast<std::uint32_t>(choices.size()))];
}

/// A line as exporters write it, with the odd one among them.
std::string randomLine(Random& random, std::uint32_t vertices) {
  const auto number = [&random] {
    char text[40];
    std::snprintf(text, sizeof text, below(random, 2) == 0 ? "%.6f" : "%.9g",
                  (static_cast<double>(random()) - 2e9) / 7e7);
    return below(random, 15) == 0
               ? pick(random, {"1e-5", "0x1p3", "inf", "nan", "+2", "1.", "16777217", "1e40", "x"})
               : std::string(text);
  };
  const auto index = [&random, vertices] {
    const std::uint32_t limit = vertices + (below(random, 60) == 0 ? 3 : 0);
    const std::string text = std::to_string(1 + below(random, std::max(limit, 1U)));
    return below(random, 100) == 0 ? pick(random, {"-1", "-2", "+1", "01", "99999999999", "-"}) : text;
  };
  std::string line;
  switch (below(random, 12)) {
    case 0:
    case 1:
    case 2:
    case 3:
      line = pick(random, {"v ", "v ", "v ", "vn ", "vt ", "V ", "v\t", "v", "vp ", "vt  "});
      for (std::uint32_t n = below(random, 8) == 0 ? below(random, 5) : 3; n > 0; --n) line += number() + " ";
      if (below(random, 3) != 0) line.pop_back();
      break;
    case 4:
    case 5:
    case 6:
    case 7: {
      std::uint32_t format = below(random, 4);
      const bool mixed = below(random, 10) == 0;
      line = below(random, 30) == 0 ? "F" : "f";
      for (std::uint32_t n = below(random, 40) == 0 ? below(random, 95) : 3 + below(random, 3); n > 0; --n) {
        line += " " + index();
        if (mixed) format = below(random, 4);
        if (format == 1 || format == 3) line += "/" + index();
        if (format == 2) line += "//" + index();
        if (format == 3) line += "/" + index();
      }
      break;
    }
    case 8:
      line = "g" + pick(random, {"", " a", " a b", " arm ", " a\t", " a a", " \tb", "roup c", " default"});
      break;
    case 9:
      line = "s" + pick(random, {" 1", " off", " OFF", " 2 3", "", " x", " -1", " 4294967296", " 7x", "\t5"});
      break;
    case 10:
      line = pick(random, {"# remark", "o thing", " v 1 2 3", "usemtl red", "usemtl\tRed", "l 1 2", "xyz", "",
                           "#", "\t"});
      break;
    default:
      line = pick(random, {"v 1 2 3", "f 1 2 3", "# ", "xyz "});
      line.append(below(random, 4) == 0 ? 1015 + below(random, 15) - line.size() : below(random, 2500), ' ');
      line += pick(random, {"", "v 7 8 9", "1", "f 1 1 1"});
      break;
  }
  if (below(random, 40) == 0 && !line.empty()) {
    line[below(random, static_cast<std::uint32_t>(line.size()))] = static_cast<char>(below(random, 256));
  }
  return line + pick(random, {"\n", "\n", "\n", "\n", "\n", "\n", "\r\n", " \n", "\n\n",
                              std::string("\0\n", 2).c_str()});
}

std::string randomFile(Random& random) {
  std::string text;
  std::uint32_t vertices = 0;
  const std::uint32_t well = 5 + below(random, 10);
  for (std::uint32_t i = 0; i < well; ++i) {
    text += "v " + std::to_string(i) + " 0.5 -1\nvt 0." + std::to_string(i) + " 1\nvn 0 1 0." +
            std::to_string(i) + "\n";
    ++vertices;
  }
  for (std::uint32_t n = below(random, 60); n > 0; --n) text += randomLine(random, vertices);
  if (below(random, 3) == 0) text.resize(text.size() - std::min<std::size_t>(text.size(), below(random, 20)));
  return text;
}

struct Outcome {
  bool success = false;
  std::string assertion;
  std::string model;
  std::string notes;
};

template <class Reader, class... Options>
Outcome outcome(const std::string& path, bool strict, Options... options) {
  OBJModel model(true);
  for (const char* name : {"red", "Red"}) {
    OBJMaterial material;
    material.name = name;
    model.addMaterial(material);
  }
  Outcome result;
  result.assertion =
      failedAssertion([&] { result.success = Reader(model, path, strict, options...).read(); });
  result.model = describe(model);
  for (const OBJReadNote& note : model._readNotes.kept) {
    result.notes += std::to_string(note.lineNumber) + " " + note.text + "\n";
  }
  return result;
}

void compareAllWays(const std::string& path, bool strict, Random& random) {
  const Outcome expected = outcome<ReferenceReader>(path, strict);
  const Outcome exact = outcome<OBJReader>(path, strict, OBJReadOptions{.fastPath = false});
  for (const bool fast : {false, true}) {
    for (const std::size_t block :
         {std::size_t{1}, std::size_t{1} + below(random, 40), std::size_t{1024}, std::size_t{262144}}) {
      SCOPED_TRACE((fast ? "fast, block " : "exact, block ") + std::to_string(block));
      const Outcome actual =
          outcome<OBJReader>(path, strict, OBJReadOptions{.fastPath = fast, .blockBytes = block});
      ASSERT_EQ(actual.success, expected.success);
      ASSERT_EQ(actual.assertion, expected.assertion);
      ASSERT_EQ(actual.model, expected.model);
      ASSERT_EQ(actual.notes, exact.notes);
    }
  }
}

}  // namespace

TEST(ReaderPaths, AgreeOnGeneratedAndMutatedFiles) {
#if defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__)
  constexpr int kFiles = 1000;
#else
  constexpr int kFiles = 250;
#endif
  const TempFolder folder;
  Random random(6);
  int read = 0;
  for (int i = 0; i < kFiles; ++i) {
    const std::string text = randomFile(random);
    const std::string path = folder.write("m.obj", text);
    compareAllWays(path, i % 4 == 0, random);
    if (HasFatalFailure()) {
      std::ofstream("failed.obj", std::ios::binary) << text;
      return;
    }
    read += outcome<ReferenceReader>(path, false).success ? 1 : 0;
  }
  EXPECT_GT(read, kFiles / 4) << "files that read to their end are among them";
}

TEST(ReaderPaths, AgreeAtTheLineLimit) {
  const TempFolder folder;
  Random random(7);
  for (const char* start : {"v 1 2 3", "vt 1 2", "f 1 2 3", "# v 9 9 9", "xyz", "g a", "f 1/1 2/1 3/1"}) {
    for (std::size_t length = 1020; length < 1029; ++length) {
      for (const char* tail : {"", "\n", "v 4 5 6", "\r\n", "7"}) {
        SCOPED_TRACE(std::string(start) + " to " + std::to_string(length) + " then " + tail);
        std::string line = start;
        line.append(length - line.size(), ' ');
        const std::string head = "v 0 0 0\nv 1 1 1\nv 2 2 2\nvt 0 0\n";
        compareAllWays(folder.write("m.obj", head + line + tail), false, random);
        if (HasFatalFailure()) return;
      }
    }
  }
}
