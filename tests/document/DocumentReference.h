#pragma once

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "document/OBJDocument.h"
#include "document/Selection.h"

/// What a file says, read the plain way: the whole text, line by line, word by word.
struct ReferenceDocument {
  struct Corner {
    std::int64_t index[3] = {-1, -1, -1};  ///< v, vt, vn from 0
  };
  struct Element {
    std::vector<Corner> corners;
    std::string state;
  };
  std::vector<std::string> vectors[4];  ///< their numbers, parted by one blank
  std::vector<std::string> statements;
  std::vector<std::string> libraries;
  std::vector<Element> elements[3];
  int headComments = 0;

  explicit ReferenceDocument(std::string text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    std::string unified;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
      unified += text[i] == '\r' ? '\n' : text[i];
    }
    std::istringstream lines(unified);
    std::string line;
    while (std::getline(lines, line)) {
      const bool comment = line.find_first_not_of(" \t\v\f") != std::string::npos &&
                           line[line.find_first_not_of(" \t\v\f")] == '#';
      while (!comment && line.ends_with('\\') && !lines.eof()) {
        std::string more;
        std::getline(lines, more);
        line.back() = ' ';
        line += more;
      }
      readLine(line.substr(0, line.find('\0')));
    }
    for (auto& list : elements) dropUnresolved(list);
  }

 private:
  std::vector<std::string> groups_;
  std::string smoothing_;
  std::string material_;
  std::string object_;
  bool any_ = false;

  static std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> list;
    for (std::string word; stream >> word;) list.push_back(word);
    return list;
  }
  static std::string join(const std::vector<std::string>& list, std::size_t from) {
    std::string text;
    for (std::size_t i = from; i < list.size(); ++i) text += (i > from ? " " : "") + list[i];
    return text;
  }

  void readLine(const std::string& line) {
    const std::vector<std::string> w = words(line);
    if (w.empty()) return;
    if (w[0][0] == '#') {
      headComments += any_ ? 0 : 1;
      return;
    }
    any_ = true;
    const std::string& key = w[0];
    const std::string kinds[] = {"v", "vt", "vn", "vp"};
    for (int k = 0; k < 4; ++k) {
      if (key == kinds[k]) return vectors[k].push_back(join(w, 1));
    }
    if (key == "f" || key == "fo") return readElement(w, 0, 3);
    if (key == "l") return readElement(w, 1, 2);
    if (key == "p") return readElement(w, 2, 1);
    if (key == "g") {
      groups_.clear();
      for (std::size_t i = 1; i < w.size(); ++i) {
        bool known = false;
        for (const std::string& name : groups_) known |= name == w[i];
        if (!known) groups_.push_back(w[i]);
      }
    } else if (key == "usemtl") {
      material_ = join(w, 1);
    } else if (key == "o") {
      object_ = join(w, 1);
    } else if (key == "mtllib") {
      libraries.insert(libraries.end(), w.begin() + 1, w.end());
    } else if (key == "s") {
      const std::string value = w.size() > 1 ? w[1] : "";
      if (value == "off" || value == "OFF") smoothing_ = "off";
      if (!value.empty() && value.find_first_not_of("0123456789") == std::string::npos) {
        smoothing_ = value.size() > 19 ? "18446744073709551615" : std::to_string(std::stoull(value));
      }
    } else {
      statements.push_back(join(w, 0));
    }
  }

  /// False for what is not an index, or counts back too far.
  static bool index(const std::string& text, std::size_t count, std::int64_t& result) {
    const std::size_t digits = text.find_first_of("+-") == 0 ? 1 : 0;
    if (text.size() == digits || text.find_first_not_of("0123456789", digits) != std::string::npos)
      return false;
    const double size = std::strtod(text.c_str(), nullptr);
    if (size == 0 || size > 2147483647.0 || size < -static_cast<double>(count)) return false;
    const long long value = std::atoll(text.c_str());
    result = value < 0 ? static_cast<std::int64_t>(count) + value : value - 1;
    return true;
  }

  void readElement(const std::vector<std::string>& w, int kind, std::size_t least) {
    Element element;
    bool lost[3] = {false, false, false};
    for (std::size_t i = 1; i < w.size(); ++i) {
      Corner corner;
      std::size_t part = 0;
      for (std::size_t at = 0; at != std::string::npos; ++part) {
        const std::size_t slash = w[i].find('/', at);
        const std::string text = w[i].substr(at, slash == std::string::npos ? slash : slash - at);
        if (part > 2) return;
        const bool good = index(text, vectors[part].size(), corner.index[part]);
        if (!good && part == 0) return;
        lost[part] |= !good && !text.empty();
        at = slash == std::string::npos ? slash : slash + 1;
      }
      element.corners.push_back(corner);
    }
    if (element.corners.size() < least) return;
    for (Corner& corner : element.corners) {
      for (int part = 1; part < 3; ++part) {
        if (lost[part]) corner.index[part] = -1;
      }
    }
    element.state = "g " + (groups_.empty() ? "default" : join(groups_, 0)) + " s " + smoothing_ + " m " +
                    material_ + " o " + object_;
    elements[kind].push_back(element);
  }

  void dropUnresolved(std::vector<Element>& list) {
    std::vector<Element> kept;
    for (Element& element : list) {
      bool beyond[3] = {false, false, false};
      for (const Corner& corner : element.corners) {
        for (int part = 0; part < 3; ++part) {
          beyond[part] |= corner.index[part] >= static_cast<std::int64_t>(vectors[part].size());
        }
      }
      for (Corner& corner : element.corners) {
        for (int part = 1; part < 3; ++part) {
          if (beyond[part]) corner.index[part] = -1;
        }
      }
      if (!beyond[0]) kept.push_back(element);
    }
    list = kept;
  }
};

/// All of it as text, one line each.
inline std::string describe(const ReferenceDocument& d) {
  std::string text = "head " + std::to_string(d.headComments) + "\n";
  for (const auto& list : d.vectors) {
    for (const std::string& row : list) text += "v " + row + "\n";
    text += "-\n";
  }
  for (const auto& list : d.elements) {
    for (const auto& element : list) {
      for (const auto& c : element.corners) {
        for (const std::int64_t index : c.index) text += std::to_string(index) + "/";
        text += " ";
      }
      text += element.state + "\n";
    }
    text += "-\n";
  }
  for (const std::string& library : d.libraries) text += "library " + library + "\n";
  for (const std::string& statement : d.statements) text += "statement " + statement + "\n";
  return text;
}

inline std::string stateText(const WavefrontOBJ::OBJDocument& d, const WavefrontOBJ::ElementState& state) {
  const auto name = [](const auto& list, std::int32_t i) {
    return i < 0 ? "" : list[static_cast<std::size_t>(i)].text;
  };
  std::string text = "g";
  for (const std::int32_t group : d.groupSet(state.groupSet)) text += " " + name(d.groups(), group);
  text += " s ";
  if (state.smoothing >= 0) {
    const auto& smoothing = d.smoothings()[static_cast<std::size_t>(state.smoothing)];
    text += smoothing.off ? "off" : std::to_string(smoothing.number);
  }
  const auto squeezed = [](const std::string& words) {
    std::istringstream stream(words);
    std::string result;
    for (std::string word; stream >> word;) result += (result.empty() ? "" : " ") + word;
    return result;
  };
  return text + " m " + squeezed(name(d.materials(), state.material)) + " o " +
         squeezed(name(d.objects(), state.object));
}

inline std::string lineWords(const WavefrontOBJ::OBJDocument& d, std::uint64_t offset, bool withKeyword) {
  std::string text;
  if (!d.lineText(offset, text)) return "unreadable";
  std::istringstream stream(text.substr(0, text.find('\0')));
  std::string words;
  bool first = !withKeyword;
  for (std::string word; stream >> word; first = false) {
    if (!first) words += (words.empty() ? "" : " ") + word;
  }
  return words;
}

/// The same of a document.
inline std::string describe(const WavefrontOBJ::OBJDocument& d) {
  using namespace WavefrontOBJ;
  std::string text = "head " + std::to_string(d.headCommentCount()) + "\n";
  for (std::size_t k = 0; k < kVectorKinds; ++k) {
    for (const std::uint64_t offset : d.vectorOffsets(static_cast<VectorKind>(k))) {
      text += "v " + lineWords(d, offset, false) + "\n";
    }
    text += "-\n";
  }
  for (std::size_t k = 0; k < kElementKinds; ++k) {
    const ElementTable& table = d.elements(static_cast<ElementKind>(k));
    for (std::uint32_t i = 0; i < table.size(); ++i) {
      for (std::size_t c = 0; c < table.cornerCount(i); ++c) {
        for (const auto row : {table.vertices(i), table.textures(i), table.normals(i)}) {
          text += std::to_string(row.empty() ? -1 : row[c]) + "/";
        }
        text += " ";
      }
      text += stateText(d, d.states()[table.stateOf(i)]) + "\n";
    }
    text += "-\n";
  }
  for (const auto& library : d.libraries()) text += "library " + library.text + "\n";
  for (const auto& statement : d.statements())
    text += "statement " + lineWords(d, statement.offset, true) + "\n";
  return text;
}
