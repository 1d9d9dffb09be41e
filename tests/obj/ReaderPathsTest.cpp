// Every way to read a file: the exact path against a plain reader, the fast path in blocks of all sizes
// against the exact one.
#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "RandomModel.h"
#include "TestSupport.h"
#include "obj/internal/OBJReader.h"

using namespace WavefrontOBJ;

namespace {

void lower(std::string& text, const char* end) {
  const auto stop = std::find(text.begin(), text.end(), *end);
  std::transform(text.begin(), stop, text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
}

/// Streams of today store something where there is no number.
template <class Number>
void extract(std::istream& stream, Number& target) {
  if (Number value{}; stream >> value) target = value;
}

/// The host's rules with nothing but `sscanf` and string streams; no material libraries and no messages.
struct Witness {
  OBJModel& model;
  bool strict;
  std::string token = "";
  std::vector<std::string> groups{"default"};
  std::int32_t material = -1;
  std::uint32_t smoothing = 0;
  OBJVector scratch{0, 0, 0};

  bool read(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t length = std::min(text.find('\n', at), text.size()) - at;
      std::string line = text.substr(at, std::min<std::size_t>(length, 1024)).c_str();
      at += length < 1024 ? length + 1 : 1024;
      lower(line, " ");
      if (!line.empty() && std::strchr("#o ", line[0]) == nullptr && !readLine(line)) return false;
    }
    return true;
  }

  bool readLine(const std::string& line) {
    std::istringstream rest(line.substr(1));
    if (line[0] == 'f') return readFace(rest);
    if (line[0] == 'v') {
      const bool vn = line[1] == 'n', vt = line[1] == 't';
      const char* const numbers = line.c_str() + (vn || vt ? 2 : 1);
      const int count = std::sscanf(numbers, "%f %f %f", &scratch.x, &scratch.y, &scratch.z);
      if (vt && count == 2) scratch.z = 0;
      (vn ? model._normals : vt ? model._textureCoords : model._vertices)->push_back(scratch);
    } else if (line[0] == 'g') {
      rest >> token;
      groups.assign(1, token.empty() ? "default" : token);
      for (; !rest.eof(); groups.push_back(token)) rest >> token;
    } else if (line[0] == 's') {
      rest >> token;
      lower(token, "");
      std::istringstream number(token);
      if (token == "off") return smoothing = 0, true;
      extract(number, smoothing);
      std::uint32_t& count = model._smoothingGroupCount;
      std::uint32_t* const known = model._smoothingGroups;
      if (std::find(known, known + count, smoothing) == known + count) known[count++] = smoothing;
    } else {
      if (!line.starts_with("usemtl")) return !strict;
      std::istringstream(line.substr(6)) >> token;
      material = model.getMaterialIndex(token);
      return material != -1 || !strict;
    }
    return true;
  }

  bool readFace(std::istringstream& rest) {
    const std::uint32_t counts[] = {model._vertices->count, model._textureCoords->count,
                                    model._normals->count};
    rest >> token;
    const auto slashes = std::count(token.begin(), token.end(), '/');
    const bool both = slashes > 1 && token.find("//") != token.find('/');
    const bool has[] = {true, slashes == 1 || both, slashes > 1};
    ZeroedFace face;
    int numbers[3] = {0, 0, 0};
    for (bool end = false; !end; rest >> token) {
      end = rest.eof();
      std::istringstream corner(token);
      char separator = 0;
      for (int i = 0; i < 3; ++i) {
        if (i > 0 && slashes >= i && !(corner >> separator).good()) return !strict;
        if (has[i]) extract(corner, numbers[i]);
      }
      if (!corner.eof()) return !strict;
      std::uint32_t indices[3] = {0, 0, 0};
      for (int i = 0; i < 3; ++i) {
        const std::int64_t number = numbers[i], fromOne = number < 0 ? counts[i] - number : number;
        if (has[i] && (number == 0 || std::abs(number) > counts[i])) return false;
        if (has[i]) indices[i] = static_cast<std::uint32_t>(fromOne - 1);
      }
      face.addVertex(indices[0], indices[1], indices[2], has[1], has[2]);
    }
    face.smoothingGroup = smoothing;
    face.materialIndex = material;
    model.addFace(face);
    for (const std::string& group : groups) model.addFaceToGroup(group, model._faces->count - 1);
    return true;
  }
};

/// Lines as exporters write them, odd ones and damaged ones. "#" stands for an index, "%" for a number.
std::string randomFile(Random& random) {
  std::string text;
  const std::uint32_t vertices = 5 + below(random, 10);
  for (std::uint32_t i = 0; i < vertices; ++i) text += "v 1 0.5 -1\nvt 0.25 1\nvn 0 1 0\n";
  for (std::uint32_t n = below(random, 40); n > 0; --n) {
    static const std::string forms =
        "v % % %|v % % %|v % % %|v % % % |V % % % %|v\t% %|v|vp % x|vn % % %|vn %|vt % %|vt  % % %|vt %|"
        "v 0x1p3 inf nan|v 1e40 1e-5 +2|f # # #|f # # #|f # # # #|f #|f # # |F #/# #/# #/#|f|f #//# #//# "
        "#//#|f #/#/# #/#/# #/#/#|f # #/# #|f #/# # #|f -1 -# #|f 01 +# #|f # 2147483648 #|f -2147483649|f # "
        "99999999999 #|s 4294967296|s -4294967296|f 0 1 #|f 1/0 "
        "#/#|f # #x|g|g a|g b\nf # # #\ng b\ng\nf # # #|g a b|G arm |g a\t|group c|g # #|s #|s off|S OFF|s 2 "
        "3|s x|s -1|s 4294967296|"
        "s\t7x|s||o x| v 1 2 3|\t|usemtl red|usemtl\tRed|usemtl|l 1 2|xyz|f #//# #/# #|f # # # # # # # # #|";
    const std::size_t form = forms.rfind('|', below(random, static_cast<std::uint32_t>(forms.size()))) + 1;
    std::string line;
    for (const char c : forms.substr(form, forms.find('|', form) - form)) {
      char number[40];
      std::snprintf(number, sizeof number, below(random, 2) == 0 ? "%.6f" : "%.9g",
                    (static_cast<double>(random()) - 2e9) / 7e7);
      const std::uint32_t index = 1 + below(random, vertices + (below(random, 60) == 0 ? 3 : 0));
      line += c == '%' ? number : c == '#' ? std::to_string(index) : std::string(1, c);
    }
    if (below(random, 12) == 0 && line.size() < 1010)
      line.append(1018 + below(random, 12) - line.size(), ' ');
    while (below(random, 40) == 0) line += line;
    text += line + (below(random, 8) == 0 ? "\r\n" : below(random, 8) == 0 ? " \n" : "\n");
    if (below(random, 40) == 0) text[text.size() - 1 - below(random, 5)] = static_cast<char>(random());
  }
  if (below(random, 3) == 0) text.resize(text.size() - below(random, 20));
  return text;
}

template <class Read>
std::string outcome(const Read& read, bool messages) {
  OBJModel model(true);
  OBJMaterial material;
  for (const char* name : {"red", "Red"}) model.addMaterial((material.name = name, material));
  bool success = false;
  std::string text = failedAssertion([&] { success = read(model); });
  if (!messages) model._errorMessage.clear();
  if (!messages) model._readNotes.kept.clear();
  for (const auto& note : model._readNotes.kept) text += std::to_string(note.lineNumber) + " " + note.text;
  return text + (success ? "\nread\n" : "\nfailed\n") + describe(model);
}

}  // namespace

TEST(ReaderPaths, AgreeOnGeneratedAndMutatedFiles) {
  const TempFolder folder;
  Random random(6);
  int read = 0;
  std::string all;
  for (int i = 0; i < 400; ++i) {
    const std::string text = randomFile(random);
    const std::string path = folder.write("m.obj", text);
    const bool strict = i % 4 == 0, messages = true;
    const auto with = [&](bool fast, std::size_t block) {
      return [&, fast, block](OBJModel& m) { return OBJReader(m, path, strict, {fast, block}).read(); };
    };
    const auto witness = [&](OBJModel& model) { return Witness{model, strict}.read(text); };
    const std::string expected = outcome(witness, !messages), exact = outcome(with(false, 1), messages);
    ASSERT_EQ(outcome(with(false, 262144), !messages), expected) << text;
    for (const std::uint32_t block : {1U, 1 + below(random, 40), 262144U}) {
      ASSERT_EQ(outcome(with(true, block), messages), exact) << "blocks of " << block << "\n" << text;
    }
    const auto fromMemory = [&](OBJModel& m) { return m.readBytes(text, path, strict); };
    ASSERT_EQ(outcome(fromMemory, messages), exact) << text;
    if (!expected.starts_with("\nread")) continue;
    ++read;
    all += text + "\n";
  }
  EXPECT_GT(read, 100) << "files that read to their end are among them";
  // Of a piece with so many lines that are not plain, threads read none.
  for (int i = 0; i < 6000; ++i) all += i % 500 != 0 ? "s 1\n" : "v 1 2 3\nf 1 2 3\n";
  // Together they are enough for several threads, in pieces that are cut anywhere.
  OBJModel complete(true);
  ASSERT_TRUE(complete.readBytes(all, "", false));
  const std::string nextVertex = std::to_string(complete._vertices->count + 1);
  const std::string nextNormal = std::to_string(complete._normals->count + 1);
  for (const std::string& ending :
       {std::string(), "v 1 2\ns 2\nf 1 2 3\nf 1 2 " + nextVertex + "0\nv 1 2 3\n",
        "f 1 2 " + nextVertex + "\nv 1 2 3\n", "f 1//1 2//1 3//" + nextNormal + "\nvn 1 2 3\n"}) {
    // Far behind a line that ends the read, the source fails, too.
    std::string text = all + ending;
    while (!ending.empty() && text.size() < all.size() + 4000) text += "# x\n";
    const std::string path = folder.write("m.obj", text);
    const auto with = [&path](bool fast, std::size_t block, unsigned threads) {
      return outcome(
          [&](OBJModel& m) {
            return OBJReader(m, path, false, {fast, block, threads}).read();
          },
          true);
    };
    const auto fromSource = [&](OBJModel& model) {
      std::string_view left = text;
      const auto caller = std::this_thread::get_id();
      const OBJByteSource source = [&](char* buffer, std::size_t room) {
        EXPECT_TRUE(std::this_thread::get_id() == caller);
        if (!ending.empty() && left.size() < 2000) throw std::runtime_error("no more");
        const std::size_t got = left.copy(buffer, room);
        left.remove_prefix(got);
        return got;
      };
      return OBJReader(model, path, false, {true, 700, 3}).read(&source);
    };
    const std::string exact = with(false, 4096, 1);
    for (const auto& [block, threads] : {std::pair{1U, 2U}, {50U, 5U}, {600U, 3U}, {9000U, 2U}})
      ASSERT_TRUE(with(true, block, threads) == exact) << "blocks of " << block;
    ASSERT_TRUE(outcome(fromSource, true) == exact);
  }
}
