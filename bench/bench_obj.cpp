// Benchmarks of the plug-in calls beside other loaders and standard streams. Takes the options of Google
// Benchmark; prints a summary at the end.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>
#include <filesystem>

#include "Benches.h"
#include "Summary.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  try {
    bench::SheetFiles files;
    bench::Results results;
    bench::addLoadBenches(files, results);
    bench::addExportBenches(files, results);
    bench::addDocumentBenches(files, results);
    bench::addScalingBenches(files, results);
    bench::addMeshBenches(files, results);
    benchmark::RunSpecifiedBenchmarks();
    // They may only have been listed, or not asked for.
    if (results.empty()) return 0;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    bench::printSummary(results, files, (folder / "bench_memory").string());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_obj: %s\n", error.what());
    return 1;
  }
  return 0;
}
