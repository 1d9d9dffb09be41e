#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "KSmthExport.h"
#include "document/OutputRegistry.h"
#include "document/Result.h"
#include "document/Sink.h"

namespace WavefrontOBJ {

class NewFolder;

/// The one way to write a file. What is written goes to a temporary file beside the target, which takes the
/// target's place at `commit`, with the target's mode, through symbolic links; without `commit` the target is
/// what it was and nothing else is left. Standard output ("-", or the path of what it goes to), pipes and
/// devices are written directly, as there is no other way.
///
///     Output out(path);
///     if (Result r = out.open(); !r) ...
///     out.write(text); ...
///     if (Result r = out.commit(); !r) ...
///
/// After a first failure all further calls answer that failure and do nothing.
class KSMTH_API Output : public Sink {
 public:
  static constexpr std::string_view kStandardOutput = "-";

  explicit Output(std::string path);
  /// Removes the temporary file unless it was committed.
  ~Output() override;

  /// Checks the path and makes the temporary file. Fails when the target is a folder or may not be written,
  /// its folder is not there, or no file can be made in it.
  Result open();
  /// Opened, or opens now.
  Result write(std::string_view text) override;
  /// Writes what is buffered and closes the temporary file, so that many outputs need few descriptors. Only
  /// `commit` may follow.
  Result finish();
  /// Writes what is left, flushes it to disk and puts the file in the target's place.
  Result commit();
  /// Drops what was written; also done by the destructor.
  void abandon();

  /// Commits many: flushes all of them to disk, then renames one after the other and calls `done` with the
  /// index of each that is in its place. Stops at the first failure, before any rename if it can; the others
  /// are left as they are.
  static Result commitAll(std::span<const std::unique_ptr<Output>> outputs,
                          const std::function<void(std::size_t index)>& done = {});

  /// The path as messages call it.
  std::string name() const;
  const std::string& path() const { return path_; }
  /// Written directly: there is nothing to commit or to take back. Known after `open`.
  bool isDirect() const { return direct_; }
  /// Keeps `folder`, which the file is to lie in, until the file is there or given up.
  void holdFolder(std::shared_ptr<const NewFolder> folder) { folder_ = std::move(folder); }
  /// Goes to where standard output goes. Known after `open`.
  bool isStandardOutput() const { return standardOutput_; }
  std::uint64_t bytesWritten() const { return bytes_; }
  /// The temporary file, for what can only write to a path: it may write there instead of calling `write`.
  /// Empty before `open`, for what is written directly, and when all is over.
  const std::string& temporaryPath() const { return temporary_; }

  /// Removes the temporary files of all outputs that are not committed. Safe to call in a signal handler; the
  /// process should end afterwards.
  static void removeTemporaries() noexcept;
  /// Has every signal that ends the process, but for SIGKILL, call `removeTemporaries` before it does so as
  /// always. For programs, not for libraries; signals that are ignored or handled stay so.
  static void removeTemporariesOnSignals();

 private:
  Result openTemporary();
  Result flushBuffer();
  Result sync();
  Result rename();
  Result fail(Result result);
  Result systemFailure(int error);
  void closeFile();
  void discard() noexcept;

  std::shared_ptr<const NewFolder> folder_;
  std::string path_;
  std::string target_;     ///< where links lead
  std::string temporary_;  ///< empty when there is none
  std::string buffer_;
  OutputRegistry::Entry* registered_ = nullptr;
  Result failure_;
  int descriptor_ = -1;
  std::uint64_t bytes_ = 0;
  bool opened_ = false;
  bool direct_ = false;
  bool standardOutput_ = false;
  bool finished_ = false;
};

}  // namespace WavefrontOBJ
