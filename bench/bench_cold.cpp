// Loading as a user does, once and in a fresh process: each load of each loader has a process of its own, and
// the loaders take turns, in another order each time, best of nine. Takes the options of Google Benchmark. A
// row "cold/LOADER" is the first load of a process, "warm/LOADER" the best of three more, of all rounds;
// `MiB` is the peak of memory after the first load over that of a process that loads nothing, the least of
// all rounds; `cpu_ms` is the processor's time for that load, which other programs disturb less.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Benches.h"
#include "Loaders.h"
#include "ProcessMemory.h"

namespace {

using namespace bench;

constexpr int kRounds = 9;
constexpr int kWarmLoads = 3;
constexpr const char* kLoadOption = "--load";
constexpr const char* kNothing = "nothing";

constexpr double kUnknown = std::numeric_limits<double>::infinity();

struct Measured {
  double cold = kUnknown;  ///< seconds
  double warm = kUnknown;
  double coldProcessor = kUnknown;  ///< seconds of user and system together
  double peakKiB = kUnknown;

  void keepLeast(const Measured& other) {
    cold = std::min(cold, other.cold);
    warm = std::min(warm, other.warm);
    coldProcessor = std::min(coldProcessor, other.coldProcessor);
    peakKiB = std::min(peakKiB, other.peakKiB);
  }
};

/// Seconds that the processor has worked for this process.
double processorTime() {
  struct rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Loads, takes the peak of memory, and frees the model, outside the time. Infinite on failure.
Measured loadOnce(Loader& loader, const std::string& path) {
  using Clock = std::chrono::steady_clock;
  Measured measured;
  const double processor = processorTime();
  const Clock::time_point start = Clock::now();
  const bool loaded = loader.load(path);
  measured.cold = std::chrono::duration<double>(Clock::now() - start).count();
  measured.coldProcessor = processorTime() - processor;
  measured.peakKiB = static_cast<double>(statusKiB("VmHWM"));
  const bool complete = loaded && loader.faceCount() == kComparedSheet.faceCount();
  loader.clear();
  return complete ? measured : Measured();
}

/// What the fresh process does: prints a `Measured`.
int loadHere(const std::string& name, const std::string& path) {
  Measured measured;
  if (const std::unique_ptr<Loader> loader = makeLoader(name)) {
    measured = loadOnce(*loader, path);
    for (int i = 0; i < kWarmLoads; ++i)
      measured.warm = std::min(measured.warm, loadOnce(*loader, path).cold);
  } else {
    measured.peakKiB = static_cast<double>(statusKiB("VmHWM"));
  }
  std::printf("%.6f %.6f %.6f %.0f\n", measured.cold, measured.warm, measured.coldProcessor,
              measured.peakKiB);
  return 0;
}

/// Loads in a fresh process of this program.
Measured loadInProcess(const std::string& name, const std::string& path) {
  static const std::string kProgram = std::filesystem::read_symlink("/proc/self/exe").string();
  Measured measured;
  const std::string command = "'" + kProgram + "' " + kLoadOption + " " + name + " '" + path + "'";
  std::FILE* const output = popen(command.c_str(), "r");
  if (output == nullptr) return {};
  const bool read = std::fscanf(output, "%lf %lf %lf %lf", &measured.cold, &measured.warm,
                                &measured.coldProcessor, &measured.peakKiB) == 4;
  return pclose(output) == 0 && read ? measured : Measured();
}

std::map<std::string, Measured> measureAll(const std::string& path) {
  std::map<std::string, Measured> best;
  // What the load before has freed is quicker to get: none comes behind the same one each time.
  std::vector<std::string> order(std::begin(kLoaders), std::end(kLoaders));
  order.push_back(kNothing);
  std::minstd_rand random;
  for (int round = 0; round < kRounds; ++round) {
    std::shuffle(order.begin(), order.end(), random);
    for (const std::string& name : order) best[name].keepLeast(loadInProcess(name, path));
  }
  return best;
}

void report(benchmark::State& state, double seconds, const SheetFile& file) {
  for ([[maybe_unused]] auto iteration : state) state.SetIterationTime(seconds);
  if (seconds == kUnknown) return state.SkipWithError("the sheet cannot be loaded");
  state.counters["bytes_per_second"] =
      benchmark::Counter(static_cast<double>(file.bytes) / seconds, benchmark::Counter::kDefaults,
                         benchmark::Counter::OneK::kIs1024);
}

int runAll() {
  SheetFiles files;
  const SheetFile& file = files.get(kComparedSheet);
  std::map<std::string, Measured> best;
  // The first benchmark that runs measures for all: they may only be listed.
  const auto measured = [&](const std::string& name) {
    if (best.empty()) best = measureAll(file.path);
    return best[name];
  };
  const auto add = [](const std::string& name, auto function) {
    benchmark::RegisterBenchmark(name.c_str(), function)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  };
  for (const std::string name : kLoaders) {
    add("cold/" + name, [&, name](benchmark::State& state) {
      const Measured result = measured(name);
      report(state, result.cold, file);
      state.counters["MiB"] = (result.peakKiB - best[kNothing].peakKiB) / 1024;
      state.counters["cpu_ms"] = result.coldProcessor * 1e3;
      state.counters["x_plugin"] = result.cold / best["plugin"].cold;
    });
    add("warm/" + name, [&, name](benchmark::State& state) {
      const Measured result = measured(name);
      report(state, result.warm, file);
      state.counters["x_plugin"] = result.warm / best["plugin"].warm;
    });
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc == 4 && argv[1] == std::string(kLoadOption)) return loadHere(argv[2], argv[3]);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  return runAll();
} catch (const std::exception& error) {
  std::fprintf(stderr, "bench_cold: %s\n", error.what());
  return 1;
}
