#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include "document/Result.h"

namespace smthgrp {

inline constexpr int kDataError = 1;   ///< a file cannot be read or written, or has no such group
inline constexpr int kUsageError = 2;  ///< the command line or a script is wrong

/// Ends the command with one line on standard error and an exit status.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& message, int status = kDataError)
      : std::runtime_error(message), status_(status) {}

  int status() const { return status_; }

 private:
  int status_;
};

/// A data error that says about `file` what the system says about `error`.
inline Failure systemFailure(const std::string& file, int error = errno) {
  return Failure((file.empty() ? "\"\"" : file) + ": " + std::strerror(error));
}

/// Thrown, it ends the command with this exit status, which is its answer, and no words.
struct ExitStatus {
  int status;
};

/// Throws a data error that says what `result` says, unless all went well.
inline void require(const WavefrontOBJ::Result& result) {
  if (!result) throw Failure(result.text);
}

}  // namespace smthgrp
