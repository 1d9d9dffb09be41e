#include "smthgrp/common/OutputFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/FileDescriptor.h"

namespace smthgrp {
namespace {

constexpr std::size_t kChunkBytes = std::size_t{64} * 1024;

void writeAll(int target, std::string_view text, const std::string& path) {
  while (!text.empty()) {
    const ssize_t put = write(target, text.data(), text.size());
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) throw systemFailure(path);
    text.remove_prefix(static_cast<std::size_t>(put));
  }
}

bool isStandardOutput(const struct stat& status) {
  struct stat output {};
  return fstat(STDOUT_FILENO, &output) == 0 && output.st_dev == status.st_dev &&
         output.st_ino == status.st_ino;
}

int openTarget(const std::string& path, int flags) {
  if (path == kStandardOutput) return fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
  return open(path.c_str(), flags | O_WRONLY | O_CLOEXEC, 0666);
}

}  // namespace

void readThrough(int file, const std::string& path, const std::function<void(std::string_view)>& visit) {
  const auto chunk = std::make_unique_for_overwrite<char[]>(kChunkBytes);
  for (;;) {
    const ssize_t got = read(file, chunk.get(), kChunkBytes);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw systemFailure(path);
    if (got == 0) return;
    visit(std::string_view(chunk.get(), static_cast<std::size_t>(got)));
  }
}

MemoryFile::MemoryFile(const std::string& file) : file_(memfd_create("smthgrp", MFD_CLOEXEC)) {
  if (file_ < 0) throw systemFailure(file);
}

std::string MemoryFile::path() const {
  return "/proc/self/fd/" + std::to_string(file_);
}

std::string MemoryFile::content(const std::string& file) const {
  std::string text;
  struct stat status {};
  if (fstat(file_, &status) == 0) text.reserve(static_cast<std::size_t>(status.st_size));
  if (lseek(file_, 0, SEEK_SET) != 0) throw systemFailure(file);
  readThrough(file_, file, [&text](std::string_view piece) { text += piece; });
  return text;
}

void MemoryFile::copyTo(const std::string& path) const {
  if (lseek(file_, 0, SEEK_SET) != 0) throw systemFailure(outputName(path));
  const FileDescriptor target(openTarget(path, 0));
  if (target < 0) throw systemFailure(outputName(path));
  readThrough(file_, outputName(path),
              [&](std::string_view text) { writeAll(target, text, outputName(path)); });
}

std::string outputName(const std::string& path) {
  return path == kStandardOutput ? "standard output" : path;
}

void requireOtherFile(const std::string& output, const std::string& input) {
  const std::string target = output == kStandardOutput ? "/dev/stdout" : output;
  std::error_code error;
  if (!std::filesystem::is_regular_file(target, error)) return;
  if (!std::filesystem::equivalent(target, input, error)) return;
  throw Failure(outputName(output) + ": is the file that is read, and writing would destroy it");
}

void requireWritable(const std::string& path) {
  if (path == kStandardOutput) {
    if (fcntl(STDOUT_FILENO, F_GETFD) < 0) throw systemFailure(outputName(path));
    return;
  }
  struct stat status {};
  const bool exists = stat(path.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) throw systemFailure(path, EISDIR);
  // Opening a pipe and closing it again would end its reader.
  if (exists && !S_ISREG(status.st_mode)) return;
  const FileDescriptor file(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
  if (file < 0) throw systemFailure(path);
  if (exists) return;
  // Of a link to nowhere the new file goes, not the link.
  std::error_code ignored;
  std::filesystem::remove(std::filesystem::canonical(path, ignored), ignored);
}

bool isStandardOutput(const std::string& path) {
  struct stat status {};
  if (path == kStandardOutput) return true;
  return stat(path.c_str(), &status) == 0 && isStandardOutput(status);
}

void writeFile(const std::string& path, std::string_view content) {
  requireWritable(path);
  struct stat status {};
  const bool exists = path == kStandardOutput || stat(path.c_str(), &status) == 0;
  const FileDescriptor file(openTarget(path, O_CREAT | O_TRUNC));
  if (file < 0) throw systemFailure(outputName(path));
  try {
    writeAll(file, content, outputName(path));
  } catch (const Failure&) {
    std::error_code ignored;
    if (!exists) std::filesystem::remove(std::filesystem::canonical(path, ignored), ignored);
    throw;
  }
}

}  // namespace smthgrp
