#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace WavefrontOBJ {

/// Hands out numbered pieces of work to threads, which do a part of each in the order of the numbers, one at
/// a time. A thread that has begun a piece ends its turn, or stops all, before it begins another. Piece 0 is
/// begun by the one that makes it.
class Turns {
 public:
  explicit Turns(std::uint64_t count) : count_(count) {}

  /// The number of a piece that nobody has begun; false when there is none, or all is to stop.
  bool begin(std::uint64_t& number) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (stops_ || begun_ >= count_) return false;
    number = begun_++;
    return true;
  }
  /// Waits until the turns of all pieces before `number` have ended; false when all is to stop.
  bool await(std::uint64_t number) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return stops_ || ended_ == number; });
    return !stops_;
  }
  void end() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++ended_;
    changed_.notify_all();
  }
  void stop() {
    const std::lock_guard<std::mutex> lock(mutex_);
    stops_ = true;
    changed_.notify_all();
  }

 private:
  std::uint64_t count_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t begun_ = 1;
  std::uint64_t ended_ = 0;
  bool stops_ = false;
};

}  // namespace WavefrontOBJ
