#include "system/PlatformFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace platform {

namespace {

/// Repeats `call` for as long as a signal handler gets in its way.
template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

/// Bytes that fit between the current position and the last one. What has no position (a terminal) has room.
std::int32_t room(int descriptor) {
  const std::int64_t at = position(descriptor);
  return at < 0 ? INT32_MAX : static_cast<std::int32_t>(INT32_MAX - std::min<std::int64_t>(at, INT32_MAX));
}

/// Moves `count` bytes at `bytes` with `call`, which may do so in pieces.
template <class Byte, class Call>
std::int32_t transfer(int descriptor, Byte* bytes, std::int32_t count, Call call) {
  const std::int32_t wanted = count < 1 || bytes == nullptr ? 0 : std::min(count, room(descriptor));
  std::int32_t done = 0;
  while (done < wanted) {
    const auto moved = uninterrupted(
        [&] { return call(descriptor, bytes + done, static_cast<std::size_t>(wanted - done)); });
    if (moved <= 0) break;
    done += static_cast<std::int32_t>(moved);
  }
  return done;
}

}  // namespace

int openFile(const char* path, bool write) {
  // Without waiting: a named pipe would otherwise hold the process until somebody opens its other end.
  const int flags = (write ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  const int descriptor = uninterrupted([&] { return ::open(path, flags); });
  if (descriptor < 0) return -1;
  struct stat status = {};
  bool usable = ::fstat(descriptor, &status) == 0;
  if (usable && !S_ISREG(status.st_mode)) {
    // Reads and writes of devices do wait.
    const int set = ::fcntl(descriptor, F_GETFL);
    usable = (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) && set != -1 &&
             ::fcntl(descriptor, F_SETFL, set & ~O_NONBLOCK) != -1;
  }
  if (usable) return descriptor;
  ::close(descriptor);
  return -1;
}

bool createFile(const char* path) {
  const int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  const int descriptor = uninterrupted([&] { return ::open(path, flags, 0666); });
  if (descriptor < 0) return false;
  ::close(descriptor);
  return true;
}

Closed closeFile(int descriptor) {
  // Called once: the platform releases the descriptor whatever error it reports, and another try could hit a
  // file that has got the same number since.
  if (::close(descriptor) == 0 || errno == EINTR) return Closed::kYes;
  return errno == EBADF ? Closed::kNotOpen : Closed::kWithLoss;
}

std::int64_t size(int descriptor) {
  struct stat status = {};
  return ::fstat(descriptor, &status) == 0 ? static_cast<std::int64_t>(status.st_size) : -1;
}

bool setSize(int descriptor, std::int64_t size) {
  return uninterrupted([&] { return ::ftruncate(descriptor, static_cast<off_t>(size)); }) == 0;
}

std::int64_t position(int descriptor) {
  return ::lseek(descriptor, 0, SEEK_CUR);
}

bool setPosition(int descriptor, std::int64_t position) {
  return ::lseek(descriptor, static_cast<off_t>(position), SEEK_SET) != -1;
}

std::int32_t readBytes(int descriptor, void* buffer, std::int32_t count) {
  return transfer(descriptor, static_cast<std::byte*>(buffer), count, ::read);
}

std::int32_t writeBytes(int descriptor, const void* buffer, std::int32_t count) {
  return transfer(descriptor, static_cast<const std::byte*>(buffer), count, ::write);
}

}  // namespace platform
