#include "smthgrp/common/InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/FileDescriptor.h"

namespace smthgrp {

void requireReadable(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) throw systemFailure(path);
  if (S_ISDIR(status.st_mode)) throw systemFailure(path, EISDIR);
  // Opening a pipe and closing it again would end its writer.
  if (!S_ISREG(status.st_mode)) return;
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file < 0) throw systemFailure(path);
}

}  // namespace smthgrp
