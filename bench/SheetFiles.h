#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "Sheet.h"
#include "TempFolder.h"

namespace bench {

/// A sheet on disk.
struct SheetFile {
  SheetShape shape;
  std::string path;
  std::uint64_t bytes = 0;
};

/// The sheets of a run. Each is written when it is first asked for and read once, so that it is in the page
/// cache; all files go with the folder.
class SheetFiles {
 public:
  const SheetFile& get(const SheetShape& shape);
  /// Path for a file that a benchmark writes.
  std::string exportPath(const std::string& name) const { return folder_.file(name); }

 private:
  TempFolder folder_;
  std::map<std::string, SheetFile> files_;
};

}  // namespace bench
