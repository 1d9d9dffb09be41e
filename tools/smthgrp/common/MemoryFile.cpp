#include "smthgrp/common/MemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <memory>

#include "smthgrp/common/Failure.h"

namespace smthgrp {

MemoryFile::MemoryFile(const std::string& file) : name_(file), file_(memfd_create("smthgrp", MFD_CLOEXEC)) {
  if (file_ < 0) throw systemFailure(file);
}

std::string MemoryFile::path() const {
  return "/proc/self/fd/" + std::to_string(file_);
}

void MemoryFile::rewind() const {
  if (lseek(file_, 0, SEEK_SET) != 0) throw systemFailure(name_);
}

void readThrough(int file, const std::string& path, const std::function<void(std::string_view)>& visit) {
  constexpr std::size_t kChunkBytes = std::size_t{64} * 1024;
  const auto chunk = std::make_unique_for_overwrite<char[]>(kChunkBytes);
  for (;;) {
    const ssize_t got = read(file, chunk.get(), kChunkBytes);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw systemFailure(path);
    if (got == 0) return;
    visit(std::string_view(chunk.get(), static_cast<std::size_t>(got)));
  }
}

}  // namespace smthgrp
