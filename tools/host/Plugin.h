#pragma once

#include <string>

namespace host {

/// The plug-in's library, loaded by file name; what it exports is looked up by name. It stays loaded until
/// the process ends.
class Plugin {
 public:
  /// A file name without a slash is one in the current folder. Throws std::runtime_error.
  explicit Plugin(const std::string& file);

  /// The address behind `name`. Throws std::runtime_error for a library that has no such name.
  void* symbol(const char* name) const;

 private:
  std::string file_;
  void* handle_;
};

}  // namespace host
