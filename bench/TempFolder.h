#pragma once

#include <filesystem>
#include <string>

namespace bench {

/// A new folder in the folder for temporary files (TMPDIR), removed with everything in it by the destructor.
class TempFolder {
 public:
  TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder();

  std::string file(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace bench
