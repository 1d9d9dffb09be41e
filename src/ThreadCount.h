#pragma once

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>

/// Threads that a call works on at most, the calling one included, whatever the program asks for.
inline constexpr unsigned kMostThreads = 64;

/// What the program asked for with `KSmthGrpImpt_SetThreads`; 0 for nothing.
inline std::atomic<unsigned> gThreadsAsked{0};

/// Sets it, at most to `kMostThreads`; answers what was set before.
inline unsigned setThreads(unsigned threads) {
  return gThreadsAsked.exchange(std::min(threads, kMostThreads));
}

/// The same or, for nothing, the number in the environment's KSMTH_THREADS; 0 for none there either.
inline unsigned threadsAsked() {
  if (const unsigned asked = gThreadsAsked; asked != 0) return asked;
  const char* text = std::getenv("KSMTH_THREADS");
  if (text == nullptr) return 0;
  unsigned threads = 0;
  for (; *text >= '0' && *text <= '9'; ++text)
    threads = std::min(threads * 10 + static_cast<unsigned>(*text - '0'), kMostThreads);
  return *text == '\0' ? threads : 0;
}

/// Threads that large work may use, the calling one included: what was asked for, else one for each
/// processor, up to eight.
inline unsigned threadCount() {
  constexpr unsigned kMostByItself = 8;
  const unsigned asked = threadsAsked();
  return asked != 0 ? asked : std::clamp(std::thread::hardware_concurrency(), 1U, kMostByItself);
}
