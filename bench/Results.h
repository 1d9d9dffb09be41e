#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>

namespace bench {

/// What one benchmark came to: the best of its iterations, which on a shared machine is the figure that the
/// other programs disturb least.
struct Result {
  double seconds = 0.0;
  double nsPerFace = 0.0;
};

/// What the work of one iteration amounts to.
struct Amount {
  std::uint64_t faces = 0;
  std::uint64_t bytes = 0;  ///< 0: no rate is reported
};

/// The results of a run by the names of the benchmarks.
class Results {
 public:
  void store(const std::string& name, const Result& result) { results_[name] = result; }
  bool empty() const { return results_.empty(); }
  /// None for a benchmark that was filtered out or failed.
  std::optional<Result> find(const std::string& name) const;

 private:
  std::map<std::string, Result> results_;
};

/// Runs `work`, which answers whether it succeeded, `state.iterations()` times by the wall clock, with
/// `after` outside the timing. Reports the mean time as the benchmark's, and ns per face and bytes per second
/// of the best iteration as counters.
template <class Work, class After>
void measure(benchmark::State& state, const std::string& name, Results& results, const Amount& amount,
             Work work, After after) {
  using Clock = std::chrono::steady_clock;
  double best = std::numeric_limits<double>::infinity();
  for ([[maybe_unused]] auto iteration : state) {
    const Clock::time_point start = Clock::now();
    const bool succeeded = work();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    state.SetIterationTime(seconds);
    best = std::min(best, seconds);
    after();
    if (!succeeded) {
      state.SkipWithError("the work failed");
      return;
    }
  }
  if (state.error_occurred()) return;
  const Result result{best, best * 1e9 / static_cast<double>(amount.faces)};
  results.store(name, result);
  state.counters["ns_per_face"] = result.nsPerFace;
  if (amount.bytes != 0) {
    state.counters["bytes_per_second"] =
        benchmark::Counter(static_cast<double>(amount.bytes) / best, benchmark::Counter::kDefaults,
                           benchmark::Counter::OneK::kIs1024);
  }
}

}  // namespace bench
