#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

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

}  // namespace smthgrp
