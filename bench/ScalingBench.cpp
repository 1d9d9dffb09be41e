// The plug-in's calls over sheets of growing size: time per face should not depend on the size.
#include <cstdint>
#include <cstdio>
#include <string>

#include "Benches.h"
#include "PluginCalls.h"

namespace bench {
namespace {

/// One call on one sheet, with what it needs to run.
struct Case {
  std::string name;
  const SheetFile& file;
  SheetFiles& files;
  Results& results;
};

void scaleLoad(benchmark::State& state, const Case& c) {
  freeModel();
  measure(
      state, c.name, c.results, {c.file.shape.faceCount(), c.file.bytes},
      [&] { return loadModel(c.file.path) > 0.0F; }, freeModel);
}

void scaleExport(benchmark::State& state, const Case& c) {
  const std::string path = c.files.exportPath("scale.obj");
  measure(
      state, c.name, c.results, {c.file.shape.faceCount()}, [&] { return exportGroup(path, 0) == 0.0F; },
      [&] { std::remove(path.c_str()); });
}

/// Per face of the group. The vertex range of an interleaved group is the whole sheet, and all of it is
/// written: `ns_per_line` tells what a line costs.
void scaleGroupExport(benchmark::State& state, const Case& c) {
  const std::string path = c.files.exportPath("scale.obj");
  const std::uint32_t group = c.file.shape.groups / 2;
  const std::uint64_t faces = c.file.shape.facesInGroup(group);
  measure(
      state, c.name, c.results, {faces}, [&] { return exportGroup(path, group + 1) == 0.0F; },
      [&] { std::remove(path.c_str()); });
  const auto result = c.results.find(c.name);
  const double lines = static_cast<double>(faces) + groupVertexCount(group + 1);
  if (result) state.counters["ns_per_line"] = result->seconds * 1e9 / lines;
}

void scaleGroupRanges(benchmark::State& state, const Case& c) {
  measure(
      state, c.name, c.results, {c.file.shape.faceCount()},
      [&] {
        bool allRanges = true;
        for (std::uint32_t group = 1; group <= c.file.shape.groups; ++group) {
          if (!(groupVertexCount(group) > 0.0F)) allRanges = false;
        }
        return allRanges;
      },
      [] {});
}

/// Per face of the model, all of which the call looks at.
void scaleSmoothingExport(benchmark::State& state, const Case& c) {
  const std::string path = c.files.exportPath("scale.obj");
  measure(
      state, c.name, c.results, {c.file.shape.faceCount()},
      [&] { return exportSmoothingGroup(path, c.file.shape.smoothingGroups / 2) == 0.0F; },
      [&] { std::remove(path.c_str()); });
}

using CaseFunction = void (*)(benchmark::State&, const Case&);
constexpr CaseFunction kFunctions[] = {scaleLoad, scaleExport, scaleGroupExport, scaleGroupRanges,
                                       scaleSmoothingExport};
static_assert(std::size(kFunctions) == std::size(kScalingCalls));

}  // namespace

void addScalingBenches(SheetFiles& files, Results& results) {
  for (const ScalingSheet& sheet : kScalingSheets) {
    for (std::size_t i = 0; i < std::size(kFunctions); ++i) {
      const std::string name = std::string(kScalingCalls[i]) + "/" + sheet.name;
      const auto run = [&files, &results, &sheet, name, i](benchmark::State& state) {
        const SheetFile& file = files.get(sheet.shape);
        // The load itself starts without a model, the other calls use it until the last of them.
        if (i != 0 && loadModel(file.path) <= 0.0F) {
          state.SkipWithError("the sheet cannot be loaded");
          return;
        }
        kFunctions[i](state, {name, file, files, results});
        freeModel();
      };
      benchmark::RegisterBenchmark(name.c_str(), run)
          ->Iterations(sheet.shape.side < 1000    ? 20
                       : sheet.shape.side == 1000 ? 5
                                                  : 3)
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond);
    }
  }
}

}  // namespace bench
