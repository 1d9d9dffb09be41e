#include "smthgrp/plugin/ExportCall.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <charconv>
#include <string_view>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/FileDescriptor.h"
#include "smthgrp/common/OutputFile.h"

namespace smthgrp {
namespace {

/// The number behind `keyword`, 0 where it is missing.
std::uint64_t headerCount(std::string_view header, std::string_view keyword) {
  std::uint64_t count = 0;
  const std::size_t found = header.find(keyword);
  if (found == std::string_view::npos) return 0;
  const char* const number = header.data() + found + keyword.size();
  std::from_chars(number, header.data() + header.size(), count);
  return count;
}

/// Compares the faces that the file holds with those that its header promises. They are the last that is
/// written.
WrittenFile checkComplete(int file, const std::string& path) {
  std::string header;
  std::uint64_t faces = 0;
  std::uint64_t groups = 0;
  bool lineStart = true;
  readThrough(file, path, [&](std::string_view text) {
    constexpr std::size_t kHeaderBytes = 512;
    if (header.size() < kHeaderBytes) header += text.substr(0, kHeaderBytes);
    while (!text.empty()) {
      if (lineStart) {
        faces += text[0] == 'f' ? 1 : 0;
        groups += text[0] == 'g' ? 1 : 0;
      }
      const std::size_t lineFeed = text.find('\n');
      lineStart = lineFeed != std::string_view::npos;
      text.remove_prefix(lineStart ? lineFeed + 1 : text.size());
    }
  });
  const std::uint64_t promised = headerCount(header, "#Face Count ");
  // A file without faces still ends in a group line.
  if (!lineStart || faces != promised || groups == 0) {
    throw Failure(path + ": is incomplete, writing it failed (no space left, or a file size limit)");
  }
  WrittenFile written;
  written.vertices = headerCount(header, "#Vertex Count ");
  written.faces = faces;
  return written;
}

/// Devices and pipes cannot be read back. The model is written to memory first and copied, which reports
/// errors.
std::optional<WrittenFile> exportToDevice(PluginLibrary& library, const char* name, double number,
                                          const std::string& path) {
  const MemoryFile memory(outputName(path));
  if (library.call(name, memory.path().c_str(), number).value < 0) return std::nullopt;
  WrittenFile written = checkComplete(memory.descriptor(), outputName(path));
  written.announce = false;
  memory.copyTo(path);
  return written;
}

}  // namespace

std::optional<WrittenFile> exportTo(PluginLibrary& library, const char* name, double number,
                                    const std::string& path) {
  PluginLibrary::workOn(outputName(path));
  requireWritable(path);
  if (path == kStandardOutput) return exportToDevice(library, name, number, path);
  struct stat status {};
  const bool exists = stat(path.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) return exportToDevice(library, name, number, path);
  if (library.call(name, path.c_str(), number).value < 0) return std::nullopt;
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file < 0) throw systemFailure(path);
  WrittenFile written = checkComplete(file, path);
  written.announce = !exists || !isStandardOutput(path);
  return written;
}

}  // namespace smthgrp
