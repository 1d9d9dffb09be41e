#pragma once

#include <chrono>
#include <cstddef>

namespace smthgrp {

/// A bar on standard error for work that lasts: shown only on a terminal, and only after a second.
class ProgressBar {
 public:
  explicit ProgressBar(std::size_t total);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  /// Clears the bar.
  ~ProgressBar();

  void advanceTo(std::size_t done);

 private:
  using Clock = std::chrono::steady_clock;

  std::size_t total_;
  bool terminal_;
  bool shown_ = false;
  Clock::time_point nextUpdate_;
};

}  // namespace smthgrp
