#include "Helpers.h"

#include <csignal>
#include <exception>

namespace WavefrontOBJ {

void Helpers::start(unsigned count, const std::function<void()>& work) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  // A thread begins with the mask of the one that starts it.
  pthread_sigmask(SIG_SETMASK, &all, &before);
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
