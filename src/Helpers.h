#pragma once

#include <functional>
#include <thread>
#include <vector>

namespace WavefrontOBJ {

/// Threads beside the calling one, for the time of a call. The program's signals are not theirs.
class Helpers {
 public:
  Helpers() = default;
  Helpers(const Helpers&) = delete;
  Helpers& operator=(const Helpers&) = delete;
  /// Waits for their end.
  ~Helpers();

  /// Starts `count` threads that run `work`, which must not throw; fewer where the system gives no more, or
  /// the process may use few addresses.
  void start(unsigned count, const std::function<void()>& work);
  bool any() const { return !threads_.empty(); }

 private:
  std::vector<std::thread> threads_;
};

}  // namespace WavefrontOBJ
