#pragma once

#include <string>
#include <string_view>

namespace fuzz {

/// This process's own folder for files, made at the first call; in memory where the system has such a place.
/// Removed when the process exits.
const std::string& scratchFolder();

/// The scratch folder is the current one for as long as this lives: the library may leave a log there.
class InScratchFolder {
 public:
  InScratchFolder();
  InScratchFolder(const InScratchFolder&) = delete;
  InScratchFolder& operator=(const InScratchFolder&) = delete;
  ~InScratchFolder();

 private:
  std::string before_;
};

/// Writes `text` as the whole file at `path`.
void writeFile(const std::string& path, std::string_view text);
/// The bytes of the file at `path`.
std::string readFile(const std::string& path);

}  // namespace fuzz
