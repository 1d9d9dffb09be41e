#include "document/Source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <system_error>
#include <utility>

#include "document/TextKind.h"

namespace WavefrontOBJ {
namespace {

Result systemResult(Status status, const std::string& name, int error) {
  return {status, name + ": " + std::generic_category().message(error)};
}

}  // namespace

Source::Source(Source&& other) noexcept {
  *this = std::move(other);
}

Source& Source::operator=(Source&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  std::swap(size_, other.size_);
  std::swap(changed_, other.changed_);
  std::swap(name_, other.name_);
  std::swap(held_, other.held_);
  return *this;
}

Source::~Source() {
  close();
}

void Source::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  size_ = 0;
  held_ = {};
}

Result Source::open(const std::string& path) {
  close();
  name_ = path;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return systemResult(Status::cannotOpen, path, errno);
  struct stat status {};
  int error = ::fstat(descriptor, &status) != 0 ? errno : 0;
  if (error == 0 && S_ISDIR(status.st_mode)) error = EISDIR;
  if (error != 0) {
    ::close(descriptor);
    return systemResult(Status::cannotOpen, path, error);
  }
  if (!S_ISREG(status.st_mode)) {
    Result result = holdAll(descriptor);
    ::close(descriptor);
    return result;
  }
  descriptor_ = descriptor;
  size_ = static_cast<std::uint64_t>(status.st_size);
  changed_ = status.st_mtim;
  return {};
}

Result Source::readDescriptor(int descriptor, const std::string& name) {
  close();
  name_ = name;
  return holdAll(descriptor);
}

void Source::hold(std::string bytes, const std::string& name) {
  close();
  name_ = name;
  held_ = std::move(bytes);
  size_ = held_.size();
}

Result Source::holdAll(int descriptor) {
  constexpr std::size_t kPiece = 256U * 1024;
  try {
    std::size_t got = 0;
    bool looked = false;
    for (;;) {
      if (held_.size() - got < kPiece) held_.resize(std::max(got + kPiece, held_.size() + held_.size() / 2));
      const ssize_t bytes = ::read(descriptor, held_.data() + got, held_.size() - got);
      if (bytes < 0 && errno == EINTR) continue;
      if (bytes < 0) {
        const int error = errno;
        held_ = {};
        return systemResult(Status::readFailed, name_, error);
      }
      if (bytes == 0) break;
      got += static_cast<std::size_t>(bytes);
      // A device may give noise without end.
      if (looked || got < kTextKindBytes) continue;
      looked = true;
      if (textKindOf(std::string_view(held_).substr(0, got)) != TextKind::text) break;
    }
    held_.resize(got);
    held_.shrink_to_fit();
  } catch (const std::bad_alloc&) {
    held_ = {};
    return {Status::outOfMemory, name_ + ": out of memory"};
  }
  size_ = held_.size();
  return {};
}

Result Source::read(std::uint64_t offset, char* buffer, std::size_t bytes) const {
  if (isHeld()) {
    if (bytes > 0) std::memcpy(buffer, held_.data() + offset, bytes);
    return {};
  }
  const auto changed = [this] {
    return Result(Status::changed, name_ + ": has changed since it was opened");
  };
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0) return systemResult(Status::readFailed, name_, errno);
  if (static_cast<std::uint64_t>(status.st_size) != size_ || status.st_mtim.tv_sec != changed_.tv_sec ||
      status.st_mtim.tv_nsec != changed_.tv_nsec) {
    return changed();
  }
  while (bytes > 0) {
    const ssize_t got = ::pread(descriptor_, buffer, bytes, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return systemResult(Status::readFailed, name_, errno);
    if (got == 0) return changed();
    buffer += got;
    offset += static_cast<std::uint64_t>(got);
    bytes -= static_cast<std::size_t>(got);
  }
  return {};
}

}  // namespace WavefrontOBJ
