#include "smthgrp/common/ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "smthgrp/common/TerminalText.h"

namespace smthgrp {

ProgressBar::ProgressBar(const std::string& work)
    : work_(printable(work, 30)),
      terminal_(isatty(STDERR_FILENO) == 1),
      nextUpdate_(std::max(firstUpdate(), Clock::now() + std::chrono::milliseconds(100))) {}

/// A second after the command's first work began, whatever that was. What is over at once shows no bar then,
/// either.
ProgressBar::Clock::time_point ProgressBar::firstUpdate() {
  static const Clock::time_point update = Clock::now() + std::chrono::seconds(1);
  return update;
}

ProgressBar::~ProgressBar() {
  if (shown_) std::fputs("\r\x1b[K", stderr);
}

void ProgressBar::advanceTo(double done) {
  if (!terminal_ || Clock::now() < nextUpdate_) return;
  constexpr std::size_t kColumns = 40;
  done = std::clamp(done, 0.0, 1.0);
  std::string bar(static_cast<std::size_t>(done * kColumns), '#');
  bar.resize(kColumns, '.');
  std::fprintf(stderr, "\r[%s] %3d %% %s\x1b[K", bar.c_str(), static_cast<int>(done * 100), work_.c_str());
  std::fflush(stderr);
  shown_ = true;
  nextUpdate_ = Clock::now() + std::chrono::milliseconds(100);
}

WavefrontOBJ::Progress ProgressBar::progress() {
  return progress(0, 1);
}

WavefrontOBJ::Progress ProgressBar::progress(std::size_t part, std::size_t parts) {
  if (!terminal_) return {};
  return [this, part, parts](double done) {
    advanceTo((static_cast<double>(part) + done) / static_cast<double>(parts));
    return true;
  };
}

}  // namespace smthgrp
