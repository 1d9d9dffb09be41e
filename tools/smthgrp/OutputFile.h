#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "smthgrp/FileDescriptor.h"
#include "smthgrp/PluginLibrary.h"

namespace smthgrp {

/// The path that stands for standard output, whatever that goes to.
inline constexpr std::string_view kStandardOutput = "-";

struct WrittenFile {
  std::uint64_t vertices = 0;
  std::uint64_t faces = 0;
  bool announce = true;  ///< false for a device, a pipe and what standard output goes to
};

/// A file in memory, for what the library writes only to a path. Failures name `file`, for which it stands.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& file);
  std::string path() const;
  int descriptor() const { return file_; }
  std::string content(const std::string& file) const;

 private:
  FileDescriptor file_;
};

/// `path` as messages call it.
std::string outputName(const std::string& path);

/// Throws a Failure when `output` is the file that `input` is read from, by whatever name or link: writing
/// would destroy it. Devices and pipes may be both.
void requireOtherFile(const std::string& output, const std::string& input);

/// Throws a Failure when no file can be written at `path`. Leaves no trace there.
void requireWritable(const std::string& path);

/// Has the export call `name` write `number` to the file at `path` and makes sure that all of it arrived,
/// which the library does not look after. None when the call finds nothing to write. Throws a Failure when
/// the file cannot be written.
std::optional<WrittenFile> exportTo(PluginLibrary& library, const char* name, double number,
                                    const std::string& path);

/// True if standard output goes to the file at `path`.
bool isStandardOutput(const std::string& path);

/// Writes `content` to the file at `path`, which may be a device or a pipe. Throws a Failure when not all of
/// it arrives; a file that was not there before is then removed again.
void writeFile(const std::string& path, std::string_view content);

}  // namespace smthgrp
