// Loading the same file with the plug-in and with other loaders. What a load leaves behind is freed outside
// the timing for all of them; the plug-in's call, too, starts without a model.
#include <cstdint>
#include <memory>
#include <string>

#include "Benches.h"
#include "Loaders.h"

namespace bench {
namespace {

void loadWith(benchmark::State& state, const std::string& name, SheetFiles& files, Results& results) {
  const SheetFile& file = files.get(kComparedSheet);
  const std::uint64_t faces = file.shape.faceCount();
  const std::unique_ptr<Loader> loader = makeLoader(name);
  bool loaded = false;
  loader->clear();
  measure(
      state, "load/" + name, results, {faces, file.bytes}, [&] { return loaded = loader->load(file.path); },
      [&] {
        if (loaded && loader->faceCount() != faces) state.SkipWithError("faces are missing");
        loader->clear();
      });
}

}  // namespace

void addLoadBenches(SheetFiles& files, Results& results) {
  for (const std::string name : kLoaders) {
    benchmark::RegisterBenchmark(
        ("load/" + name).c_str(),
        [&files, &results, name](benchmark::State& state) { loadWith(state, name, files, results); })
        ->Iterations(name == "plugin" || name == "document" ? 5 : 3)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  }
}

}  // namespace bench
