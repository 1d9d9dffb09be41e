#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "smthgrp/common/FileDescriptor.h"

namespace smthgrp {

/// The path that stands for standard output, whatever that goes to.
inline constexpr std::string_view kStandardOutput = "-";

/// A file in memory, for what the library writes only to a path. Failures name `file`, for which it stands.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& file);
  std::string path() const;
  int descriptor() const { return file_; }
  std::string content(const std::string& file) const;
  /// Writes all of it to the device or pipe at `path`.
  void copyTo(const std::string& path) const;

 private:
  FileDescriptor file_;
};

/// Calls `visit` with one piece of the file after the other, from where it stands.
void readThrough(int file, const std::string& path, const std::function<void(std::string_view)>& visit);

/// `path` as messages call it.
std::string outputName(const std::string& path);

/// Throws a Failure when `output` is the file that `input` is read from, by whatever name or link: writing
/// would destroy it. Devices and pipes may be both.
void requireOtherFile(const std::string& output, const std::string& input);

/// Throws a Failure when no file can be written at `path`. Leaves no trace there.
void requireWritable(const std::string& path);

/// True if standard output goes to the file at `path`.
bool isStandardOutput(const std::string& path);

/// Writes `content` to the file at `path`, which may be a device or a pipe. Throws a Failure when not all of
/// it arrives; a file that was not there before is then removed again.
void writeFile(const std::string& path, std::string_view content);

}  // namespace smthgrp
