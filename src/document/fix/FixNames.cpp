// Names of groups, materials, objects and libraries, as every reader and the host read them.
#include <algorithm>
#include <string>
#include <unordered_set>

#include "document/LogicalLine.h"
#include "document/Materials.h"
#include "document/fix/Fixer.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

constexpr std::string_view kGroupWord = "g ";
constexpr std::string_view kObjectWord = "o ";
constexpr std::string_view kMaterialWord = "usemtl ";
constexpr std::string_view kLibraryWord = "mtllib ";
/// Of the group of faces that are in none, and of the object of elements that are of none.
constexpr std::string_view kDefaultName = "default";
/// Materials that the host has room for.
constexpr std::size_t kMostMaterials = std::size_t{1} << 20;

std::uint64_t groupKey(std::int32_t groupSet, std::int32_t object) {
  return std::uint64_t{static_cast<std::uint32_t>(groupSet)} << 32 | static_cast<std::uint32_t>(object);
}

bool hasBlank(std::string_view name) {
  return std::any_of(name.begin(), name.end(), isSpace);
}

/// "left_ear" of "left ear".
std::string inOneWord(std::string_view name) {
  std::string word(name);
  std::replace_if(word.begin(), word.end(), isSpace, '_');
  return word;
}

/// At most `bytes` bytes of a text, whole characters.
std::string_view headOf(std::string_view text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  constexpr std::size_t kMostBack = 3;
  std::size_t end = bytes;
  while (bytes - end < kMostBack && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end);
}

}  // namespace

/// Makes `name`, the index-th of its kind, at most `most` bytes long without a backslash at its end.
void Fixer::repairName(std::string& name, std::size_t most, std::int32_t index, std::uint64_t offset) {
  if (!name.empty() && name.back() == '\\') {
    report(FixKind::nameBackslash, offset, name);
    for (std::size_t i = name.size(); i > 0 && name[i - 1] == '\\'; --i) name[i - 1] = '_';
  }
  if (name.size() > most) {
    report(FixKind::nameLong, offset, name);
    // Two names may begin alike.
    const std::string number = "_" + std::to_string(index);
    name = std::string(headOf(name, most - number.size())) + number;
  }
}

void Fixer::fixNames() {
  const auto fixEach = [this](const std::vector<OBJName>& names, std::string_view keyword, Texts& texts) {
    for (std::size_t i = 0; i < names.size(); ++i) {
      const auto index = static_cast<std::int32_t>(i);
      std::string name = names[i].text;
      repairName(name, kLongestFixedLine - keyword.size(), index, names[i].offset);
      if (name != names[i].text) texts.emplace(index, name);
    }
  };
  fixEach(document_.materials(), kMaterialWord, materials_);
  fixEach(document_.objects(), kObjectWord, objects_);
  for (const OBJName& material : document_.materials()) {
    if (hasBlank(material.text)) report(FixKind::materialNameBlank, material.offset, material.text);
  }
  for (const ElementState& state : document_.states()) {
    const std::uint64_t key = groupKey(state.groupSet, state.object);
    if (groups_.count(key) == 0) groups_.emplace(key, fixedGroups(state));
  }
}

/// The names of a "g" line for elements of this state.
std::string Fixer::fixedGroups(const ElementState& state) {
  std::vector<std::string> names;
  std::uint64_t offset = 0;
  for (const std::int32_t group : document_.groupSet(state.groupSet)) {
    const OBJName& row = document_.groups()[static_cast<std::size_t>(group)];
    if (names.empty()) offset = row.offset;
    names.push_back(row.text);
    repairName(names.back(), kLongestFixedLine - kGroupWord.size(), group, row.offset);
  }
  if (names.empty()) names.emplace_back(kDefaultName);
  std::string objectGroup;
  const OBJName none;
  const OBJName& row =
      state.object == kNoIndex ? none : document_.objects()[static_cast<std::size_t>(state.object)];
  if (options_.objects && !row.text.empty() && row.text != kDefaultName) {
    objectGroup = inOneWord(row.text);
    repairName(objectGroup, kLongestFixedLine - kGroupWord.size(), state.object, row.offset);
    // Where an earlier fix has put it there, it is not one of the names to be joined.
    if (std::erase(names, objectGroup) == 0) report(FixKind::objectGroup, row.offset, row.text);
    if (names.size() == 1 && names[0] == kDefaultName) names.clear();
  }
  if (options_.oneName && !names.empty()) {
    std::string apart = names[0];
    for (std::size_t i = 1; i < names.size(); ++i) apart += " " + names[i];
    if (names.size() > 1) {
      std::string joined = inOneWord(apart);
      report(FixKind::oneName, offset, joined);
      repairName(joined, kLongestFixedLine - kGroupWord.size(), state.groupSet, offset);
      names.assign(1, joined);
    }
    std::unordered_set<std::string>& made = namesOf_[names[0]];
    if (made.insert(apart).second && made.size() > 1) report(FixKind::oneNameMet, offset, names[0]);
  }
  if (!objectGroup.empty()) names.insert(names.begin(), objectGroup);
  std::string text;
  std::size_t taken = 0;
  for (; taken < names.size(); ++taken) {
    if (!text.empty() && kGroupWord.size() + text.size() + 1 + names[taken].size() > kLongestFixedLine) break;
    if (!text.empty()) text += ' ';
    text += names[taken];
  }
  if (taken < names.size()) {
    report(FixKind::groupsPastLine, offset, names[taken]);
    report_.addPlaceless(FixKind::groupsPastLine, names.size() - taken - 1);
  }
  return text;
}

/// Takes away what has other programs read on in the next line, and parts what the host would.
bool Fixer::commentText(std::string& text) {
  constexpr std::string_view kPrefix = "# ";
  std::string fixed;
  std::string_view left = text;
  while (!left.empty()) {
    std::string_view part = headOf(left, kLongestFixedLine - (fixed.empty() ? 0 : kPrefix.size()));
    left.remove_prefix(part.size());
    while (!part.empty() && (part.back() == '\\' || isSpace(part.back()))) part.remove_suffix(1);
    while (!left.empty() && isSpace(left.front())) left.remove_prefix(1);
    if (part.empty()) continue;
    if (!fixed.empty()) fixed.append("\n").append(kPrefix);
    fixed += part;
  }
  if (fixed == text) return false;
  report_.add(FixKind::longComment, 0, text);
  text = fixed;
  return true;
}

bool Fixer::groupText(std::int32_t groupSet, std::int32_t object, std::string& text) {
  const auto found = groups_.find(groupKey(groupSet, object));
  if (found == groups_.end() || found->second == text) return false;
  text = found->second;
  return true;
}

bool Fixer::nameText(Division division, std::int32_t index, std::string& text) {
  const bool material = division == Division::material;
  if (text.empty()) {
    report_.add(material ? FixKind::noMaterial : FixKind::noObject, 0, {});
    text = material ? kNoMaterial : kDefaultName;
    return true;
  }
  const Texts& texts = material ? materials_ : objects_;
  const auto found = texts.find(index);
  if (found == texts.end()) return false;
  text = found->second;
  return true;
}

void Fixer::fixLibraries() {
  const std::vector<OBJLibrary>& libraries = document_.libraries();
  const std::vector<std::string> paths = libraryPaths(document_);
  const std::vector<std::optional<std::size_t>> materials = reportMaterials(paths);
  std::size_t total = 0;
  const std::string folder = folderPrefix(document_.source().name());
  for (std::size_t i = 0; i < libraries.size(); ++i) {
    const OBJLibrary& library = libraries[i];
    // The path has what the name becomes when it is joined, or its backslashes are slashes.
    std::string& name = libraries_.emplace_back(paths[i]);
    const bool absolute =
        library.text.starts_with('/') || (library.text.starts_with('\\') && name != folder + library.text);
    if (!name.empty() && !absolute) name.erase(0, folder.size());
    if (!materials[i] && name == library.text) std::replace(name.begin(), name.end(), '\\', '/');
    if (options_.libraries != nullptr) name = (*options_.libraries)[i];
    if (!name.empty() && name.back() == '\\') name.back() = '/';
    if (!name.empty() && library.sameLine) report(FixKind::severalLibraries, library.offset, name);
    if (hasBlank(name)) {
      report(FixKind::libraryNameBlank, library.offset, name);
    } else if (!name.empty() && name != library.text) {
      report(FixKind::libraryName, library.offset, library.text);
    }
    if (name.size() + kLibraryWord.size() > kLongestFixedLine) {
      report(FixKind::libraryPastLine, library.offset, name);
      name.clear();
    }
    if (!materials[i] || name.empty() || hasBlank(name)) continue;
    if (total <= kMostMaterials && total + *materials[i] > kMostMaterials) {
      report(FixKind::materialsPastTable, library.offset, name);
    }
    total += *materials[i];
  }
}

/// Lists the libraries that are not there, or that the host refuses, and the materials that are in none.
/// Answers how many materials the host reads of each that is there.
std::vector<std::optional<std::size_t>> Fixer::reportMaterials(const std::vector<std::string>& paths) {
  std::vector<std::optional<std::size_t>> counts(paths.size());
  std::unordered_set<std::string> known;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    if (paths[i].empty()) continue;
    MaterialLibrary library;
    const OBJLibrary& named = document_.libraries()[i];
    if (!readMaterialLibrary(paths[i], library)) {
      report(FixKind::libraryMissing, named.offset, named.text);
    } else if (library.refusedLine > 0) {
      report(FixKind::libraryRefused, named.offset, named.text + ":" + std::to_string(library.refusedLine));
      counts[i] = 0;
    } else {
      counts[i] = library.materials.size();
    }
    for (const MaterialLibrary::Name& material : library.materials) known.insert(material.text);
  }
  for (const OBJName& material : document_.materials()) {
    if (!material.text.empty() && known.count(material.text) == 0 && material.text != kNoMaterial) {
      report(FixKind::materialMissing, material.offset, material.text);
    }
  }
  return counts;
}

}  // namespace WavefrontOBJ
