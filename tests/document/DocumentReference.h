#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "document/OBJDocument.h"

using Words = std::vector<std::string>;

inline Words wordsOf(const std::string& text) {
  std::istringstream stream(text.substr(0, text.find('\0')));
  Words list;
  for (std::string word; stream >> word;) list.push_back(word);
  return list;
}

inline std::string joined(const Words& list, std::size_t from) {
  std::string text;
  for (std::size_t i = from; i < list.size(); ++i) text += (i > from ? " " : "") + list[i];
  return text;
}

inline void addOnce(Words& list, const std::string& word) {
  if (std::find(list.begin(), list.end(), word) == list.end()) list.push_back(word);
}

/// `text` up to `end` with line feeds as line ends.
inline std::string unified(const std::string& text, std::size_t end) {
  std::string result;
  for (std::size_t i = 0; i < end; ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    result += text[i] == '\r' ? '\n' : text[i];
  }
  return result;
}

/// What a file says. Lines are their words, parted by one blank.
struct PlainFile {
  using Corner = std::array<std::int64_t, 3>;  ///< v, vt, vn from 0; -1 for none
  struct Element {
    std::vector<Corner> corners;
    std::string state;
    bool operator==(const Element&) const = default;
  };
  Words vectors[4];  ///< without the keyword
  std::vector<Element> elements[3];
  Words statements;
  Words libraries;
  Words names[3];  ///< of groups, materials and objects that elements have
  Words emptyGroups;
  std::size_t headComments = 0;
  bool operator==(const PlainFile&) const = default;
};

/// Reads a file the plain way: the whole text, line by line, word by word.
class PlainReader {
 public:
  explicit PlainReader(std::string text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    std::istringstream stream(unified(text, text.size()));
    std::vector<Words> lines;
    for (std::string line; std::getline(stream, line);) {
      const std::size_t first = line.find_first_not_of(" \t\v\f");
      const bool comment = first != std::string::npos && line[first] == '#';
      while (!comment && line.ends_with('\\')) {
        std::string more;
        std::getline(stream, more);
        line.back() = ' ';
        line += more;
      }
      lines.push_back(wordsOf(line));
    }
    for (const Words& w : lines) {
      for (std::size_t k = 0; k < 4; ++k) totals_[k] += !w.empty() && w[0] == kVectors[k] ? 1 : 0;
    }
    for (const Words& w : lines) readLine(w);
    endGroup();
  }

  PlainFile file;

 private:
  static constexpr const char* kVectors[] = {"v", "vt", "vn", "vp"};
  std::size_t totals_[4] = {};
  std::string groups_ = "default";
  std::string groupLine_;
  bool groupIsEmpty_ = false;
  std::string smoothing_;
  std::string material_;
  std::string object_;
  bool anyMaterial_ = false;
  bool anyObject_ = false;
  bool any_ = false;

  void readLine(const Words& w) {
    if (w.empty()) return;
    const std::string& key = w[0];
    if (key[0] == '#') {
      file.headComments += any_ ? 0 : 1;
      return;
    }
    any_ = true;
    for (int k = 0; k < 4; ++k) {
      if (key == kVectors[k]) return file.vectors[k].push_back(joined(w, 1));
    }
    if (key == "f" || key == "fo") return readElement(w, 0, 3);
    if (key == "l") return readElement(w, 1, 2);
    if (key == "p") return readElement(w, 2, 1);
    if (key == "g") {
      Words names;
      for (std::size_t i = 1; i < w.size(); ++i) addOnce(names, w[i]);
      endGroup();
      groupIsEmpty_ = true;
      groupLine_ = joined(w, 1);
      groups_ = names.empty() ? "default" : joined(names, 0);
    } else if (key == "usemtl") {
      material_ = joined(w, 1);
      anyMaterial_ = true;
    } else if (key == "o") {
      object_ = joined(w, 1);
      anyObject_ = true;
    } else if (key == "mtllib") {
      file.libraries.insert(file.libraries.end(), w.begin() + 1, w.end());
    } else if (key == "s") {
      const std::string value = w.size() > 1 ? w[1] : "";
      if (value == "off" || value == "OFF") smoothing_ = "off";
      if (!value.empty() && value.find_first_not_of("0123456789") == std::string::npos) {
        smoothing_ = value.size() > 19 ? "18446744073709551615" : std::to_string(std::stoull(value));
      }
    } else {
      file.statements.push_back(joined(w, 0));
    }
  }

  void endGroup() {
    if (groupIsEmpty_) file.emptyGroups.push_back(groupLine_);
  }

  /// False for what is not an index, or of nothing in the file.
  bool index(const std::string& text, std::size_t part, std::int64_t& result) const {
    const std::size_t digits = text.find_first_of("+-") == 0 ? 1 : 0;
    if (text.size() == digits || text.find_first_not_of("0123456789", digits) != std::string::npos)
      return false;
    const double value = std::strtod(text.c_str(), nullptr);
    const auto count = static_cast<double>(file.vectors[part].size());
    if (value == 0 || value > static_cast<double>(totals_[part]) || value < -count) return false;
    result = static_cast<std::int64_t>(value < 0 ? count + value : value - 1);
    return true;
  }

  void readElement(const Words& w, int kind, std::size_t least) {
    PlainFile::Element element;
    bool lost[3] = {};
    for (std::size_t i = 1; i < w.size() && w[i][0] != '#'; ++i) {
      PlainFile::Corner corner{-1, -1, -1};
      std::istringstream parts(w[i] + "/");
      std::size_t part = 0;
      for (std::string text; std::getline(parts, text, '/'); ++part) {
        if (part > 2) return;
        const bool good = index(text, part, corner[part]);
        if (!good && part == 0) return;
        lost[part] |= !good && !text.empty();
      }
      element.corners.push_back(corner);
    }
    if (element.corners.size() < least) return;
    for (PlainFile::Corner& corner : element.corners) {
      for (std::size_t part = 1; part < 3; ++part) corner[part] = lost[part] ? -1 : corner[part];
    }
    element.state = "g " + groups_ + " s " + smoothing_ + " m " + material_ + " o " + object_;
    file.elements[kind].push_back(element);
    groupIsEmpty_ = false;
    for (const std::string& group : wordsOf(groups_)) addOnce(file.names[0], group);
    if (anyMaterial_) addOnce(file.names[1], material_);
    if (anyObject_) addOnce(file.names[2], object_);
  }
};

/// The same of a document.
inline PlainFile plain(const WavefrontOBJ::OBJDocument& d) {
  using namespace WavefrontOBJ;
  const auto lineAt = [&d](std::uint64_t offset, std::size_t from) {
    std::string text;
    return d.lineText(offset, text) ? joined(wordsOf(text), from) : "unreadable";
  };
  const auto name = [](const std::vector<OBJName>& names, std::int32_t i) {
    return i < 0 ? "" : joined(wordsOf(names[static_cast<std::size_t>(i)].text), 0);
  };
  PlainFile file;
  file.headComments = d.headCommentCount();
  for (std::size_t k = 0; k < kVectorKinds; ++k) {
    for (const std::uint64_t offset : d.vectorOffsets(static_cast<VectorKind>(k)))
      file.vectors[k].push_back(lineAt(offset, 1));
  }
  for (std::size_t k = 0; k < kElementKinds; ++k) {
    const ElementTable& table = d.elements(static_cast<ElementKind>(k));
    for (std::uint32_t i = 0; i < table.size(); ++i) {
      PlainFile::Element element;
      for (std::size_t c = 0; c < table.cornerCount(i); ++c) {
        const auto at = [c](std::span<const std::int32_t> row) { return row.empty() ? -1 : row[c]; };
        element.corners.push_back({at(table.vertices(i)), at(table.textures(i)), at(table.normals(i))});
      }
      const ElementState& state = d.states()[table.stateOf(i)];
      element.state = "g";
      for (const std::int32_t group : d.groupSet(state.groupSet))
        element.state += " " + name(d.groups(), group);
      element.state += " s ";
      if (state.smoothing >= 0) {
        const OBJSmoothing& smoothing = d.smoothings()[static_cast<std::size_t>(state.smoothing)];
        element.state += smoothing.off ? "off" : std::to_string(smoothing.number);
      }
      element.state += " m " + name(d.materials(), state.material) + " o " + name(d.objects(), state.object);
      file.elements[k].push_back(element);
    }
  }
  const std::vector<OBJName>* const rows[] = {&d.groups(), &d.materials(), &d.objects()};
  for (std::size_t k = 0; k < 3; ++k) {
    for (std::size_t i = 0; i < rows[k]->size(); ++i)
      addOnce(file.names[k], name(*rows[k], static_cast<std::int32_t>(i)));
  }
  for (const std::uint64_t offset : d.emptyGroups()) file.emptyGroups.push_back(lineAt(offset, 1));
  for (const OBJLibrary& library : d.libraries()) file.libraries.push_back(library.text);
  for (const OBJStatement& statement : d.statements()) file.statements.push_back(lineAt(statement.offset, 0));
  return file;
}

inline std::string describeFindings(const WavefrontOBJ::Findings& findings) {
  using namespace WavefrontOBJ;
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

/// All that a read makes, with the places.
inline std::string describe(const WavefrontOBJ::OBJDocument& d) {
  using namespace WavefrontOBJ;
  std::ostringstream text;
  const auto list = [&text](const auto& values) {
    for (const auto value : values) text << value << ' ';
    text << '\n';
  };
  const auto names = [&text](const auto& rows) {
    for (const auto& row : rows) text << row.text << '@' << row.offset << ' ';
    text << '\n';
  };
  for (std::size_t k = 0; k < kVectorKinds; ++k) list(d.vectorOffsets(static_cast<VectorKind>(k)));
  for (std::size_t k = 0; k < kElementKinds; ++k) {
    const ElementTable& table = d.elements(static_cast<ElementKind>(k));
    list(table.offsets());
    list(table.rowStarts());
    for (const auto column : {table.vertexColumn(), table.textureColumn(), table.normalColumn()})
      list(column);
    for (const StateRun& run : table.runs()) text << run.first << ':' << run.state << ' ';
    for (const std::uint64_t offset : table.offsets()) {
      std::uint64_t line = 0;
      text << static_cast<bool>(d.lineNumber(offset, line)) << line << ' ';
    }
  }
  for (const ElementState& state : d.states()) {
    list(std::vector{state.groupSet, state.smoothing, state.material, state.object});
    list(d.groupSet(state.groupSet));
  }
  names(d.groups());
  names(d.materials());
  names(d.objects());
  names(d.libraries());
  for (const OBJSmoothing& row : d.smoothings())
    list(std::vector{row.number, std::uint64_t{row.off}, row.offset});
  for (const OBJStatement& row : d.statements()) text << row.offset << static_cast<int>(row.kind) << ' ';
  list(d.comments());
  list(d.emptyGroups());
  text << d.headCommentCount() << '\n';
  return text.str() + describeFindings(d.findings());
}

/// OBJ files of other programs, and the examples.
inline std::vector<std::string> realFiles() {
  std::vector<std::string> paths;
  for (const char* const folder : {KSMTH_REAL_FILES, KSMTH_EXAMPLES}) {
    if (!std::filesystem::exists(folder)) continue;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().extension() == ".obj") paths.push_back(entry.path());
    }
  }
  return paths;
}
