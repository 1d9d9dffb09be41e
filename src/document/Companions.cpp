#include "document/Companions.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <new>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "document/Materials.h"
#include "document/NewFolder.h"
#include "document/Source.h"

namespace WavefrontOBJ {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kWindow = std::size_t{128} * 1024;

bool isFile(const fs::path& path) {
  std::error_code ignored;
  return fs::is_regular_file(path, ignored);
}

bool isSameFile(const fs::path& a, const fs::path& b) {
  std::error_code ignored;
  return fs::equivalent(a, b, ignored);
}

fs::path folderPath(const std::string& folder) {
  return folder.empty() ? "." : folder;
}

/// Relative, and does not lead out of the folder that it is relative to.
bool staysInside(const fs::path& path) {
  return !path.is_absolute() && std::find(path.begin(), path.end(), fs::path("..")) == path.end();
}

Result sameContent(const std::string& a, const std::string& b, bool& same) {
  same = isSameFile(a, b);
  if (same) return {};
  Source sources[2];
  Result result = sources[0].open(a);
  if (result) result = sources[1].open(b);
  if (!result) return result;
  same = sources[0].size() == sources[1].size();
  const auto window = std::make_unique<char[]>(2 * kWindow);
  for (std::uint64_t at = 0; same && at < sources[0].size(); at += kWindow) {
    const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(kWindow, sources[0].size() - at));
    for (std::size_t i = 0; result && i < 2; ++i)
      result = sources[i].read(at, window.get() + i * kWindow, bytes);
    if (!result) return result;
    same = std::equal(window.get(), window.get() + bytes, window.get() + kWindow);
  }
  return {};
}

/// The same for all ways to write a path.
std::string placeOf(const std::string& path) {
  return fs::path(path).lexically_normal().string();
}

class Planner {
 public:
  Planner(const OBJDocument& document, const std::string& folder, Companions& companions,
          std::span<const CompanionCopy> others)
      : document_(document), folder_(folder), companions_(companions) {
    for (const CompanionCopy& copy : others) taken_.emplace(placeOf(copy.to), copy.from);
  }

  Result run(bool copy) {
    const std::string& name = document_.source().name();
    const std::string beside = folderPrefix(name);
    if (isSameFile(folderPath(beside), folderPath(folder_))) return {};
    const std::vector<OBJLibrary>& libraries = document_.libraries();
    const std::vector<std::string> paths = libraryPaths(document_);
    for (std::size_t i = 0; i < libraries.size(); ++i) {
      std::string& written = companions_.libraries.emplace_back(libraries[i].text);
      const std::string& path = paths[i];
      if (path.empty()) {
        // A part of the name before it.
        written.clear();
      } else if (!isFile(path)) {
        companions_.warnings.push_back(path + ": the material library is not there; its name stays as it is");
      } else if (copy) {
        fs::path target = fs::path(path).lexically_relative(folderPath(beside)).lexically_normal();
        if (beside.empty()) target = fs::path(path).lexically_normal();
        if (!staysInside(target)) target = target.filename();
        written = target.generic_string();
        if (Result result = takeAlong(path, written); !result) return result;
        if (Result result = takeTextures(path, folderPrefix(written)); !result) return result;
      } else if (!fs::path(libraries[i].text).is_absolute()) {
        std::error_code error;
        const fs::path from = fs::canonical(path, error);
        const fs::path to = error ? fs::path() : fs::canonical(folderPath(folder_), error);
        const fs::path relative = error ? fs::path() : from.lexically_relative(to);
        if (!relative.empty()) {
          written = relative.generic_string();
        } else {
          companions_.warnings.push_back(
              path + ": where the material library lies from the new file cannot be told" +
              (error ? " (" + error.message() + ")" : "") + "; its name stays as it is");
        }
        if (written.find(' ') != std::string::npos && libraries[i].text.find(' ') == std::string::npos)
          companions_.warnings.push_back("mtllib " + written +
                                         ": some programs stop at blanks in the names of libraries");
      }
    }
    return {};
  }

 private:
  /// `target` is relative to the new folder.
  Result takeAlong(const std::string& from, const std::string& target) {
    const std::string to = folder_ + target;
    bool same = false;
    if (const auto [taken, isNew] = taken_.emplace(placeOf(to), from); !isNew) {
      if (Result result = sameContent(from, taken->second, same); !result || same) return result;
      return {Status::writeFailed,
              to + ": would be a copy of " + taken->second + " and of " + from + ", which differ"};
    }
    std::error_code ignored;
    if (fs::exists(to, ignored)) {
      if (isFile(to)) {
        if (Result result = sameContent(from, to, same); !result || same) return result;
      }
      return {Status::writeFailed, to + ": is there and is not " + from + "; it is not written over"};
    }
    companions_.copies.push_back({from, to});
    return {};
  }

  Result takeTextures(const std::string& library, const std::string& targetFolder) {
    MaterialLibrary read;
    if (Result result = readMaterialLibrary(library, read); !result) return result;
    std::vector<std::string> seen;
    for (const MaterialLibrary::Texture& texture : read.textures) {
      if (std::find(seen.begin(), seen.end(), texture.text) != seen.end()) continue;
      seen.push_back(texture.text);
      std::string name = texture.text;
      const fs::path beside = folderPath(folderPrefix(library));
      if (!isFile(beside / name)) std::replace(name.begin(), name.end(), '\\', '/');
      const std::string where = library + ":" + std::to_string(texture.line) + ": texture " + texture.text;
      if (fs::path(name).is_absolute()) continue;
      if (!isFile(beside / name)) {
        companions_.warnings.push_back(where + " is not there");
      } else if (!staysInside(fs::path(name).lexically_normal())) {
        companions_.warnings.push_back(where + " lies outside the library's folder and is not copied");
      } else if (Result result = takeAlong((beside / name).string(), targetFolder + name); !result) {
        return result;
      }
    }
    return {};
  }

  const OBJDocument& document_;
  const std::string& folder_;
  Companions& companions_;
  std::unordered_map<std::string, std::string> taken_;  ///< what each place gets a copy of
};

}  // namespace

Result planCompanions(const OBJDocument& document, const std::string& folder, bool copy,
                      Companions& companions, std::span<const CompanionCopy> others) {
  try {
    companions = {};
    const std::string prefix = folder.empty() || folder.ends_with('/') ? folder : folder + '/';
    return Planner(document, prefix, companions, others).run(copy);
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, document.source().name() + ": out of memory"};
  }
}

Result makeCopies(const Companions& companions, std::vector<std::unique_ptr<Output>>& outputs) {
  for (const CompanionCopy& copy : companions.copies) {
    const fs::path folder = folderPath(folderPrefix(copy.to));
    auto made = std::make_shared<const NewFolder>(folder.string());
    if (made->error()) return {Status::writeFailed, folder.string() + ": " + made->error().message()};
    auto output = std::make_unique<Output>(copy.to);
    output->holdFolder(std::move(made));
    Result result = output->open();
    if (result) result = copyFile(copy.from, *output);
    if (result) result = output->finish();
    if (!result) return result;
    outputs.push_back(std::move(output));
  }
  return {};
}

Result copyFile(const std::string& from, Sink& to) {
  try {
    Source source;
    Result result = source.open(from);
    const auto window = std::make_unique<char[]>(kWindow);
    for (std::uint64_t at = 0; result && at < source.size(); at += kWindow) {
      const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(kWindow, source.size() - at));
      result = source.read(at, window.get(), bytes);
      if (result) result = to.write({window.get(), bytes});
    }
    return result;
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, from + ": out of memory"};
  }
}

}  // namespace WavefrontOBJ
