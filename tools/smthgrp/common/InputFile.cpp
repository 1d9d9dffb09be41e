#include "smthgrp/common/InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/FileDescriptor.h"

namespace smthgrp {

std::string inputName(const std::string& path) {
  return path == kStandardInput ? "standard input" : path;
}

std::string inputPath(const std::string& path) {
  return path == kStandardInput ? "/dev/stdin" : path;
}

void requireReadable(const std::string& path) {
  struct stat status {};
  const std::string file = inputPath(path);
  if (stat(file.c_str(), &status) != 0) throw systemFailure(inputName(path));
  if (S_ISDIR(status.st_mode)) throw systemFailure(inputName(path), EISDIR);
  // Opening a pipe and closing it again would end its writer.
  if (!S_ISREG(status.st_mode)) return;
  const FileDescriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
  if (opened < 0) throw systemFailure(inputName(path));
}

}  // namespace smthgrp
