#include "document/NewFolder.h"

#include <unistd.h>

#include <filesystem>

namespace WavefrontOBJ {

NewFolder::NewFolder(const std::string& path) {
  namespace fs = std::filesystem;
  fs::path folder;
  for (const fs::path& part : fs::absolute(path, error_)) {
    folder /= part;
    std::error_code ignored;
    if (fs::is_directory(folder, ignored)) continue;
    if (fs::exists(folder, ignored)) error_ = std::make_error_code(std::errc::not_a_directory);
    if (error_) return;
    // First the entries, then the folder: a signal between them finds nothing to remove.
    made_.reserve(made_.size() + 1);
    OutputRegistry::Entry* const entry = OutputRegistry::add(folder.string());
    if (fs::create_directory(folder, error_)) {
      made_.insert(made_.begin(), entry);
    } else {
      OutputRegistry::remove(entry);
    }
    if (error_) return;
  }
}

NewFolder::~NewFolder() {
  for (OutputRegistry::Entry* const entry : made_) {
    static_cast<void>(::rmdir(entry->path));
    OutputRegistry::remove(entry);
  }
}

}  // namespace WavefrontOBJ
