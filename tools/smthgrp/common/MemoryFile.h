#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "smthgrp/common/FileDescriptor.h"

namespace smthgrp {

/// A file in memory, for what the library writes only to a path. Failures name `file`, for which it stands.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& file);
  std::string path() const;
  int descriptor() const { return file_; }
  /// Goes back to its begin.
  void rewind() const;

 private:
  std::string name_;
  FileDescriptor file_;
};

/// Calls `visit` with one piece of the file after the other, from where it stands.
void readThrough(int file, const std::string& path, const std::function<void(std::string_view)>& visit);

}  // namespace smthgrp
