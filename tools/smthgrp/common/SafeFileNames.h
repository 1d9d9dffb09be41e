#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace smthgrp {

/// Turns group names into names for files of one folder, each different from those before it, also where the
/// file system does not tell upper from lower case.
class SafeFileNames {
 public:
  /// A file name, with `ending`, for the group.
  std::string take(std::string_view groupName, std::string_view ending = ".obj");

 private:
  std::set<std::string> taken_;              ///< in lower case
  std::map<std::string, std::size_t> next_;  ///< number to try next after a name
};

}  // namespace smthgrp
