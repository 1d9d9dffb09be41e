#include "document/Materials.h"

#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "document/LogicalLine.h"
#include "document/NumberText.h"
#include "document/Source.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

/// Options of a texture statement and the words that belong to each.
struct TextureOption {
  std::string_view word;
  int least;
  int most;
};
constexpr TextureOption kTextureOptions[] = {
    {"-blendu", 1, 1}, {"-blendv", 1, 1},  {"-boost", 1, 1}, {"-bm", 1, 1}, {"-cc", 1, 1},
    {"-clamp", 1, 1},  {"-imfchan", 1, 1}, {"-mm", 2, 2},    {"-o", 1, 3},  {"-s", 1, 3},
    {"-t", 1, 3},      {"-texres", 1, 1},  {"-type", 1, 1}};
constexpr std::string_view kTextureWords[] = {"bump", "decal", "disp", "norm", "refl"};

bool isRegularFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool isNumber(std::string_view word) {
  return !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
    return isDigit(c) || c == '.' || c == '-' || c == '+' || lowerCase(c) == 'e';
  });
}

std::string lowerText(std::string_view word) {
  std::string lower(word);
  std::transform(lower.begin(), lower.end(), lower.begin(), lowerCase);
  return lower;
}

/// The file name of a texture statement: what stands behind its options.
std::string textureName(LineWords words) {
  for (;;) {
    const LineWords before = words;
    const std::string option = lowerText(words.next());
    const auto* const row = std::find_if(std::begin(kTextureOptions), std::end(kTextureOptions),
                                         [&](const TextureOption& r) { return r.word == option; });
    if (row == std::end(kTextureOptions)) return joinedText(before.rest());
    for (int i = 0; i < row->most; ++i) {
      LineWords ahead = words;
      // The second and third number may be left out.
      if (const std::string_view word = ahead.next(); i >= row->least && !isNumber(word)) break;
      words = ahead;
    }
  }
}

/// The file that `name` means, with a backslash for "/" where that finds one.
std::string existingPath(const std::string& folder, const std::string& name) {
  std::string path = name.starts_with('/') ? name : folder + name;
  if (isRegularFile(path) || name.find('\\') == std::string::npos) return path;
  std::string slashes = name;
  std::replace(slashes.begin(), slashes.end(), '\\', '/');
  const std::string other = slashes.starts_with('/') ? slashes : folder + slashes;
  return isRegularFile(other) ? other : path;
}

void takeLine(LineWords words, std::uint64_t number, MaterialLibrary& library) {
  const std::string keyword = lowerText(words.next());
  if (keyword == "newmtl") {
    library.materials.push_back({joinedText(words.rest()), number, {}});
    return;
  }
  const std::size_t material =
      library.materials.empty() ? MaterialLibrary::kNo : library.materials.size() - 1;
  if (material != MaterialLibrary::kNo && !keyword.empty() && keyword[0] != '#') {
    std::string& definition = library.materials[material].definition.append(keyword);
    LineWords ahead = words;
    for (std::string_view word = ahead.next(); !word.empty(); word = ahead.next())
      definition.append(" ").append(word);
    definition += '\n';
  }
  if (keyword.starts_with("map_") ||
      std::find(std::begin(kTextureWords), std::end(kTextureWords), keyword) != std::end(kTextureWords)) {
    std::string name = textureName(words);
    // "map_aat on" switches smoothing of textures.
    if (!name.empty() && keyword != "map_aat")
      library.textures.push_back({std::move(name), number, keyword, material});
    return;
  }
  MaterialLibrary::Value value{keyword, {}, material};
  for (std::string_view word = words.next(); !word.empty(); word = words.next()) {
    // The "-halo" of a "d" line.
    if (value.numbers.empty() && word.starts_with('-') && !isNumber(word)) continue;
    if (numberForm(word) != NumberForm::decimal) break;
    value.numbers.push_back(numberValue<double>(word));
  }
  if (!value.numbers.empty()) library.values.push_back(std::move(value));
}

/// See `MaterialLibrary::refusedLine`.
std::uint64_t refusedLine(const std::string& text) {
  std::uint64_t number = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    ++number;
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    OBJTokenStream line(std::string_view(text).substr(begin, end - begin));
    begin = end + 1;
    std::string keyword;
    if (line.extract(keyword) && keyword[0] != '#') return lowerText(keyword) == "newmtl" ? 0 : number;
  }
  return 0;
}

}  // namespace

bool MaterialLibrary::has(std::string_view material) const {
  return std::any_of(materials.begin(), materials.end(),
                     [&](const Name& name) { return name.text == material; });
}

std::string folderPrefix(std::string_view path) {
  return std::string(path.substr(0, path.rfind('/') + 1));
}

std::string texturePath(const MaterialLibrary& library, const MaterialLibrary::Texture& texture) {
  return existingPath(folderPrefix(library.path), texture.text);
}

Result readMaterialLibrary(const std::string& path, MaterialLibrary& library) {
  library = {};
  // A file names its libraries itself: one that points at a device or a pipe must not hang the reader.
  if (!isRegularFile(path)) return {Status::cannotOpen, path + ": is not there, or is no file"};
  Source source;
  Result result = source.open(path);
  if (!result) return result;
  try {
    std::string text(static_cast<std::size_t>(source.size()), '\0');
    result = source.read(0, text.data(), text.size());
    if (!result) return result;
    library.path = path;
    library.refusedLine = refusedLine(text);
    const char* line = text.data();
    const char* const end = line + text.size();
    if (text.starts_with("\xEF\xBB\xBF")) line += 3;
    for (std::uint64_t number = 1; line < end;) {
      const char* const lineEnd = logicalLineEnd(line, end);
      takeLine(LineWords(line, lineEnd), number, library);
      const char* const next = behindLineEnd(lineEnd, end);
      number += countLineEnds(line, next);
      line = next;
    }
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, path + ": out of memory"};
  }
  return {};
}

std::vector<std::string> libraryPaths(const OBJDocument& document) {
  const std::string folder = folderPrefix(document.source().name());
  const std::vector<OBJLibrary>& libraries = document.libraries();
  std::vector<std::string> paths;
  for (std::size_t i = 0; i < libraries.size();) {
    std::size_t end = i + 1;
    std::string joined = libraries[i].text;
    std::vector<std::string> each{existingPath(folder, libraries[i].text)};
    for (; end < libraries.size() && libraries[end].sameLine; ++end) {
      joined += ' ' + libraries[end].text;
      each.push_back(existingPath(folder, libraries[end].text));
    }
    if (end > i + 1 && std::none_of(each.begin(), each.end(), isRegularFile)) {
      const std::string path = existingPath(folder, joined);
      if (isRegularFile(path)) {
        each.assign(each.size(), {});
        each[0] = path;
      }
    }
    paths.insert(paths.end(), each.begin(), each.end());
    i = end;
  }
  return paths;
}

std::vector<MaterialClash> materialClashes(std::span<const OBJDocument* const> documents) {
  std::unordered_set<std::string_view> used;
  for (const OBJDocument* const document : documents) {
    for (const OBJName& material : document->materials()) used.insert(material.text);
  }
  struct Definition {
    const MaterialLibrary* library;
    const std::string* text;
  };
  std::unordered_map<std::string, MaterialLibrary> libraries;
  std::unordered_map<std::string_view, Definition> first;
  std::set<std::pair<std::string_view, const MaterialLibrary*>> told;
  std::vector<MaterialClash> clashes;
  for (const OBJDocument* const document : documents) {
    std::unordered_set<std::string_view> own;
    for (const std::string& path : libraryPaths(*document)) {
      const auto [row, isNew] = libraries.try_emplace(path);
      const MaterialLibrary& library = row->second;
      // One that is not there has no materials.
      if (isNew && !path.empty()) static_cast<void>(readMaterialLibrary(path, row->second));
      for (const MaterialLibrary::Name& material : library.materials) {
        if (used.count(material.text) == 0 || !own.insert(material.text).second) continue;
        const Definition& known =
            first.try_emplace(material.text, Definition{&library, &material.definition}).first->second;
        if (*known.text == material.definition || !told.emplace(material.text, &library).second) continue;
        clashes.push_back({material.text, {known.library->path, path}});
      }
    }
  }
  return clashes;
}

}  // namespace WavefrontOBJ
