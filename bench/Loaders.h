#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace bench {

/// A loader of OBJ files, with what its last load made of the file.
class Loader {
 public:
  virtual ~Loader() = default;
  virtual bool load(const std::string& path) = 0;
  virtual std::uint64_t faceCount() const = 0;
  /// Frees what the load has made.
  virtual void clear() = 0;
};

/// What can be compared, ours first. Polygons stay polygons with all of them.
inline constexpr const char* kLoaders[] = {"plugin",           "plugin_threads", "document",
                                           "document_threads", "tinyobjloader",  "assimp"};

/// Null for any other name.
std::unique_ptr<Loader> makeLoader(const std::string& name);

}  // namespace bench
