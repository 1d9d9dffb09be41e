#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "document/Result.h"

namespace smthgrp {

/// A bar on standard error for work that lasts: shown only on a terminal, and only once the command has
/// lasted a second.
class ProgressBar {
 public:
  /// `work` stands behind the bar: "reading robot.obj".
  explicit ProgressBar(const std::string& work);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  /// Clears the bar.
  ~ProgressBar();

  /// `done`, from 0 to 1, is done.
  void advanceTo(double done);
  /// For the library's work, which then moves this bar and never stops early. The bar must outlive it.
  WavefrontOBJ::Progress progress();
  /// The same for one part of several of equal weight.
  WavefrontOBJ::Progress progress(std::size_t part, std::size_t parts);

 private:
  using Clock = std::chrono::steady_clock;

  static Clock::time_point firstUpdate();

  std::string work_;
  bool terminal_;
  bool shown_ = false;
  Clock::time_point nextUpdate_;
};

}  // namespace smthgrp
