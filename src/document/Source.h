#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

#include "KSmthExport.h"
#include "document/Result.h"

namespace WavefrontOBJ {

/// The bytes of a document: a file that stays on disk and is read piece by piece, or bytes held in memory.
///
/// A file is never mapped, so that one that shrinks is an error and not a signal; before each read its size
/// and its time of change, to the nanosecond, are compared with those it had when it was opened. A file that
/// is replaced by another of the same name (as `Output` does) stays readable as it was.
class KSMTH_API Source {
 public:
  Source() = default;
  Source(Source&& other) noexcept;
  Source& operator=(Source&& other) noexcept;
  ~Source();

  /// Opens a regular file, which stays on disk. Anything else that can be read (a pipe, a device) is read to
  /// its end and held. A folder cannot be opened.
  Result open(const std::string& path);
  /// Reads what is left of `descriptor` and holds it. `name` stands for it in messages; the descriptor stays
  /// open and the caller's.
  Result readDescriptor(int descriptor, const std::string& name);
  /// Holds these bytes.
  void hold(std::string bytes, const std::string& name);

  /// Bytes in all.
  std::uint64_t size() const { return size_; }
  /// The path, or the name that was given.
  const std::string& name() const { return name_; }
  /// The bytes are in memory.
  bool isHeld() const { return descriptor_ < 0; }
  /// Copies `bytes` bytes from `offset` on to `buffer`; both must lie within `size`.
  Result read(std::uint64_t offset, char* buffer, std::size_t bytes) const;

 private:
  Result holdAll(int descriptor);
  void close();

  int descriptor_ = -1;
  std::uint64_t size_ = 0;
  timespec changed_{};
  std::string name_;
  std::string held_;
};

}  // namespace WavefrontOBJ
