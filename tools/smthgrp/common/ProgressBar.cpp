#include "smthgrp/common/ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace smthgrp {

ProgressBar::ProgressBar(std::size_t total)
    : total_(std::max<std::size_t>(total, 1)),
      terminal_(isatty(STDERR_FILENO) == 1),
      nextUpdate_(Clock::now() + std::chrono::seconds(1)) {}

ProgressBar::~ProgressBar() {
  if (shown_) std::fputs("\r\x1b[K", stderr);
}

void ProgressBar::advanceTo(std::size_t done) {
  if (!terminal_ || Clock::now() < nextUpdate_) return;
  constexpr std::size_t kColumns = 40;
  std::string bar(std::min(done, total_) * kColumns / total_, '#');
  bar.resize(kColumns, '.');
  std::fprintf(stderr, "\r[%s] %zu of %zu groups", bar.c_str(), done, total_);
  std::fflush(stderr);
  shown_ = true;
  nextUpdate_ = Clock::now() + std::chrono::milliseconds(100);
}

}  // namespace smthgrp
