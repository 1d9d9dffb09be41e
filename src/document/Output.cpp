#include "document/Output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <ctime>
#include <set>
#include <system_error>
#include <utility>

#include "document/OutputRegistry.h"

namespace WavefrontOBJ {
namespace {

constexpr std::size_t kBufferBytes = 128U * 1024;
constexpr int kMaxLinks = 40;
constexpr int kMaxNames = 100;

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::string nameOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

/// Where a path leads through symbolic links, the last of which may lead to nowhere. Empty, with errno, on
/// failure.
std::string resolved(std::string path) {
  for (int links = 0; links < kMaxLinks; ++links) {
    // The name may not be there yet, its folder has to.
    std::array<char, PATH_MAX> folder{};
    if (::realpath(folderOf(path).c_str(), folder.data()) == nullptr) return {};
    std::string target = folder.data();
    if (target.back() != '/') target += '/';
    const std::string name = nameOf(path);
    const std::string folderText = target;
    target += name;
    std::array<char, PATH_MAX> link{};
    const ssize_t length = ::readlink(target.c_str(), link.data(), link.size());
    if (length < 0) return target;
    const std::string to(link.data(), static_cast<std::size_t>(length));
    path = to.starts_with('/') ? to : folderText + to;
  }
  errno = ELOOP;
  return {};
}

bool sameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

int writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t put = ::write(descriptor, text.data(), text.size());
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return errno;
    text.remove_prefix(static_cast<std::size_t>(put));
  }
  return 0;
}

/// So that new names in a folder survive a crash, where the system can.
void syncFolder(const std::string& path) {
  const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  static_cast<void>(::fsync(folder));
  ::close(folder);
}

/// Names that other processes and threads do not choose at the same time.
std::string temporaryName(const std::string& name) {
  static std::atomic<unsigned> counter{0};
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  std::array<char, 64> suffix{};
  static_cast<void>(std::snprintf(suffix.data(), suffix.size(), ".%lx-%lx-%x.tmp",
                                  static_cast<unsigned long>(::getpid()),
                                  static_cast<unsigned long>(now.tv_nsec), counter.fetch_add(1)));
  // Names have at most 255 bytes nearly everywhere.
  return "." + name.substr(0, 200) + suffix.data();
}

}  // namespace

Output::Output(std::string path) : path_(std::move(path)) {}

Output::~Output() {
  discard();
}

std::string Output::name() const {
  return path_ == kStandardOutput ? "standard output" : path_;
}

Result Output::fail(Result result) {
  failure_ = std::move(result);
  discard();
  return failure_;
}

Result Output::systemFailure(int error) {
  return fail({Status::writeFailed, name() + ": " + std::generic_category().message(error)});
}

Result Output::open() {
  if (opened_ || !failure_) return failure_;
  opened_ = true;
  struct stat output {};
  const bool hasOutput = ::fstat(STDOUT_FILENO, &output) == 0;
  if (path_ == kStandardOutput) {
    direct_ = standardOutput_ = true;
    descriptor_ = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    return descriptor_ < 0 ? systemFailure(errno) : Result();
  }
  struct stat status {};
  const bool exists = ::stat(path_.c_str(), &status) == 0;
  if (!exists && errno != ENOENT) return systemFailure(errno);
  if (path_.empty() || path_.back() == '/') return systemFailure(path_.empty() ? ENOENT : EISDIR);
  if (exists && S_ISDIR(status.st_mode)) return systemFailure(EISDIR);
  if (exists && ::faccessat(AT_FDCWD, path_.c_str(), W_OK, AT_EACCESS) != 0) return systemFailure(errno);
  // A file that something else is being written to as well must stay the one it is.
  standardOutput_ = exists && hasOutput && sameFile(status, output);
  if (standardOutput_) {
    direct_ = true;
    descriptor_ = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    return descriptor_ < 0 ? systemFailure(errno) : Result();
  }
  if (exists && !S_ISREG(status.st_mode)) {
    direct_ = true;
    descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    return descriptor_ < 0 ? systemFailure(errno) : Result();
  }
  target_ = resolved(path_);
  if (target_.empty()) return systemFailure(errno);
  Result result = openTemporary();
  if (!result || !exists) return result;
  // Whoever may not give a file away keeps it; the bits that lend the owner's rights go then, too.
  const bool ownerStays = ::fchown(descriptor_, status.st_uid, status.st_gid) == 0;
  if (::fchmod(descriptor_, status.st_mode & (ownerStays ? 07777 : 0777)) != 0) return systemFailure(errno);
  return result;
}

Result Output::openTemporary() {
  const std::string folder = folderOf(target_);
  for (int i = 0; i < kMaxNames; ++i) {
    const std::string path = (folder == "/" ? "" : folder) + "/" + temporaryName(nameOf(target_));
    // First the entry, then the file: a signal between them finds nothing to remove.
    registered_ = OutputRegistry::add(path);
    temporary_ = path;
    descriptor_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ >= 0) return {};
    const int error = errno;
    temporary_.clear();
    OutputRegistry::remove(registered_);
    registered_ = nullptr;
    if (error != EEXIST) return systemFailure(error);
  }
  return systemFailure(EEXIST);
}

Result Output::write(std::string_view text) {
  if (!opened_) open();
  if (!failure_ || finished_) return failure_;
  bytes_ += text.size();
  if (buffer_.size() + text.size() < kBufferBytes) {
    buffer_ += text;
    return {};
  }
  Result result = flushBuffer();
  if (!result) return result;
  const int error = writeAll(descriptor_, text);
  return error != 0 ? systemFailure(error) : Result();
}

Result Output::flushBuffer() {
  const int error = writeAll(descriptor_, buffer_);
  buffer_.clear();
  return error != 0 ? systemFailure(error) : Result();
}

void Output::closeFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  buffer_ = {};
}

Result Output::finish() {
  if (!opened_) open();
  if (!failure_ || finished_) return failure_;
  Result result = flushBuffer();
  if (!result) return result;
  finished_ = true;
  // Some file systems tell only now that a write has failed.
  const int closed = ::close(std::exchange(descriptor_, -1));
  closeFile();
  return closed != 0 && errno != EINTR ? systemFailure(errno) : Result();
}

/// Has the system bring a finished file to disk.
Result Output::sync() {
  if (direct_) return {};
  int descriptor = ::open(temporary_.c_str(), O_RDONLY | O_CLOEXEC);
  // The old file's mode may be to write alone.
  if (descriptor < 0) descriptor = ::open(temporary_.c_str(), O_WRONLY | O_CLOEXEC);
  if (descriptor < 0) return systemFailure(errno);
  const int error = ::fsync(descriptor) != 0 ? errno : 0;
  ::close(descriptor);
  // Some file systems cannot.
  return error != 0 && error != EINVAL && error != ENOTSUP ? systemFailure(error) : Result();
}

/// Puts a finished file in the target's place.
Result Output::rename() {
  if (direct_) return {};
  if (::rename(temporary_.c_str(), target_.c_str()) != 0) return systemFailure(errno);
  OutputRegistry::remove(registered_);
  registered_ = nullptr;
  temporary_.clear();
  return {};
}

Result Output::commit() {
  Result result = finish();
  if (!result || (!direct_ && temporary_.empty())) return result;
  result = sync();
  if (result) result = rename();
  if (result) syncFolder(folderOf(target_));
  return result;
}

Result Output::commitAll(std::span<const std::unique_ptr<Output>> outputs,
                         const std::function<void(std::size_t index)>& done) {
  for (const auto& output : outputs) {
    Result result = output->finish();
    if (result) result = output->sync();
    if (!result) return result;
  }
  std::set<std::string> folders;
  Result result;
  for (std::size_t i = 0; result && i < outputs.size(); ++i) {
    result = outputs[i]->rename();
    if (!result) break;
    if (!outputs[i]->direct_) folders.insert(folderOf(outputs[i]->target_));
    if (done) done(i);
  }
  for (const std::string& folder : folders) syncFolder(folder);
  return result;
}

void Output::discard() noexcept {
  closeFile();
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
  temporary_.clear();
  if (registered_ != nullptr) OutputRegistry::remove(registered_);
  registered_ = nullptr;
}

void Output::abandon() {
  discard();
  if (failure_) failure_ = {Status::cancelled, name() + ": was abandoned"};
}

}  // namespace WavefrontOBJ
