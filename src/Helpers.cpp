#include "Helpers.h"

#include <sys/resource.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <exception>

namespace WavefrontOBJ {

namespace {

/// How many threads the addresses that the process may use have room for: each has a stack, and a region of
/// the allocator's, which takes them from what is read.
unsigned mostThreads() {
  constexpr rlim_t kAddresses = rlim_t{256} << 20;
  rlimit limit{};
  if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return UINT_MAX;
  return static_cast<unsigned>(std::min<rlim_t>(limit.rlim_cur / kAddresses, UINT_MAX));
}

}  // namespace

void Helpers::start(unsigned count, const std::function<void()>& work) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  // A thread begins with the mask of the one that starts it.
  pthread_sigmask(SIG_SETMASK, &all, &before);
  count = std::min(count, mostThreads());
  try {
    threads_.reserve(count);
    while (threads_.size() < count) threads_.emplace_back(work);
  } catch (const std::exception&) {
    // Neither a thread nor its memory has to be there: the caller does what nobody else does.
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

Helpers::~Helpers() {
  for (std::thread& thread : threads_) thread.join();
}

}  // namespace WavefrontOBJ
