#include "HostMarks.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "obj/OBJAssert.h"

namespace ksmthgrp {

using namespace WavefrontOBJ;

namespace {

/// While one lives, assertions that fail on its thread are exceptions instead of the end of the process.
class AnsweredAssertions {
 public:
  AnsweredAssertions() {
    // Once, for all threads; it passes on what others do not want answered.
    static const bool isSet = [] {
      previous_ = OBJSetAssertionHandler(&answer);
      return true;
    }();
    static_cast<void>(isSet);
    answered_ = true;
  }
  AnsweredAssertions(const AnsweredAssertions&) = delete;
  AnsweredAssertions& operator=(const AnsweredAssertions&) = delete;
  ~AnsweredAssertions() { answered_ = false; }

 private:
  static void answer(const char* function, const char* file, int line, const char* expression) {
    if (answered_) throw std::runtime_error(std::string(function) + " in " + file);
    OBJSetAssertionHandler(previous_);
    OBJAssertionFailed(function, file, line, expression);
  }

  static thread_local bool answered_;
  static OBJAssertionHandler previous_;
};

thread_local bool AnsweredAssertions::answered_ = false;
OBJAssertionHandler AnsweredAssertions::previous_ = nullptr;

/// A path from which the document's bytes can be read, as long as this lives.
class SourcePath {
 public:
  Result open(const Source& source) {
    path_ = source.name();
    if (!source.isHeld()) return {};
    file_ = ::memfd_create("ksmthgrp", MFD_CLOEXEC);
    if (file_ < 0) return failure(source);
    std::vector<char> window(std::size_t{256} * 1024);
    for (std::uint64_t at = 0; at < source.size();) {
      const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(window.size(), source.size() - at));
      Result result = source.read(at, window.data(), bytes);
      if (!result) return result;
      const ssize_t written = ::write(file_, window.data(), bytes);
      if (written < 0 && errno != EINTR) return failure(source);
      at += written < 0 ? 0 : static_cast<std::uint64_t>(written);
    }
    path_ = "/proc/self/fd/" + std::to_string(file_);
    return {};
  }
  SourcePath() = default;
  SourcePath(const SourcePath&) = delete;
  SourcePath& operator=(const SourcePath&) = delete;
  ~SourcePath() {
    if (file_ >= 0) ::close(file_);
  }

  const std::string& path() const { return path_; }

 private:
  static Result failure(const Source& source) {
    return {Status::readFailed, source.name() + ": " + std::generic_category().message(errno)};
  }

  std::string path_;
  int file_ = -1;
};

}  // namespace

Result HostMarks::read(const OBJDocument& document, std::unique_ptr<HostMarks>& marks) {
  const std::string begin = document.source().name() + ": ";
  if (document.findings().count(FindingKind::smoothingTableFull) > 0) {
    // The host's reader would make a log file in the current folder.
    return {Status::notText, begin + std::string(rowOf(FindingKind::smoothingTableFull).text)};
  }
  SourcePath source;
  Result result = source.open(document.source());
  if (!result) return result;
  auto made = std::make_unique<HostMarks>();
  try {
    const AnsweredAssertions answered;
    if (!made->model_.read(source.path(), false)) {
      std::string text = made->model_._errorMessage;
      text.resize(std::min(text.size(), text.find('\n')));
      return {Status::notText, begin + "the host cannot read it: " + text};
    }
  } catch (const std::runtime_error& error) {
    return {Status::notText, begin + "reading it ends the host: " + error.what()};
  }
  marks = std::move(made);
  return {};
}

std::optional<MarkedGroup> HostMarks::find(const Group& group) const {
  if (group.smoothing) {
    const std::uint32_t* const end = model_._smoothingGroups + model_._smoothingGroupCount;
    const std::uint32_t* const found = std::find(model_._smoothingGroups, end, *group.smoothing);
    if (found == end) return std::nullopt;
    return MarkedGroup{static_cast<std::uint32_t>(found - model_._smoothingGroups), true};
  }
  const auto found = std::find(model_._groupNames.begin(), model_._groupNames.end(), group.name);
  if (found == model_._groupNames.end()) return std::nullopt;
  return MarkedGroup{static_cast<std::uint32_t>(found - model_._groupNames.begin()), false};
}

std::optional<std::vector<std::uint8_t>> HostMarks::mask(const Group& group, std::uint8_t value) {
  const auto found = find(group);
  if (!found) return std::nullopt;
  std::vector<std::uint8_t> mask(model_._vertices->count);
  maskGroup({mask.data(), 1, model_._vertices->count}, model_, *found, value);
  return mask;
}

std::optional<std::vector<std::uint8_t>> HostMarks::creases(const Group& group) {
  const std::lock_guard lock(mutex_);
  const auto found = find(group);
  if (!found) return std::nullopt;
  std::vector<std::uint8_t> creases(model_._faces->count);
  if (!creaseGroup({creases.data(), 1, model_._faces->count}, model_, *found)) throw std::bad_alloc();
  return creases;
}

}  // namespace ksmthgrp
