// Marking a host's mesh by a group of the model: masks, the first crease, which builds the model's links from
// vertices to faces, and later ones.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "Benches.h"
#include "Fan.h"
#include "PluginCalls.h"
#include "host/HostMesh.h"

namespace bench {
namespace {

/// A model whose group `group`, from 1, is marked, and what the calls answer then.
struct Subject {
  std::string path;
  std::uint64_t faces = 0;
  std::uint64_t groupFaces = 0;
  std::uint32_t group = 0;
  float writes = 0.0F;
  float neighbours = 0.0F;
};

Subject sheetSubject(SheetFiles& files) {
  const SheetFile& file = files.get(kComparedSheet);
  // A band in the middle, with a border on either side.
  const std::uint32_t group = file.shape.groups / 2;
  const std::uint64_t faces = file.shape.facesInGroup(group);
  return {file.path, file.shape.faceCount(),        faces,
          group + 1, static_cast<float>(4 * faces), static_cast<float>(2 * file.shape.side)};
}

Subject fanSubject(SheetFiles& files, const FanShape& shape) {
  const std::string path = files.exportPath(shape.interleaved ? "fan_interleaved.obj" : "fan.obj");
  if (!std::filesystem::exists(path)) writeFan(shape, path);
  const std::uint32_t spokes = shape.interleaved ? 2 * shape.facesInGroup() : 2;
  return {path,
          shape.faces,
          shape.facesInGroup(),
          shape.groups / 2 + 1,
          static_cast<float>(3 * shape.facesInGroup()),
          static_cast<float>(spokes)};
}

Subject subjectOf(MeshModel model, SheetFiles& files) {
  switch (model) {
    case MeshModel::sheet:
      break;
    case MeshModel::fan:
      return fanSubject(files, FanShape{});
    case MeshModel::interleavedFan:
      // Every spoke is at a border.
      return fanSubject(files, {FanShape{}.faces, 2, true});
  }
  return sheetSubject(files);
}

host::HostMesh importedMesh() {
  return host::HostMesh(static_cast<std::uint32_t>(modelInfo("vertexCount")),
                        static_cast<std::uint32_t>(modelInfo("faceCount")));
}

void mask(benchmark::State& state, const std::string& name, const Subject& subject, Results& results) {
  if (loadModel(subject.path) <= 0.0F) return state.SkipWithError("the model cannot be loaded");
  host::HostMesh mesh = importedMesh();
  measure(
      state, name, results, {subject.groupFaces},
      [&] { return markGroup("mask", subject.group, mesh.hostData()) == subject.writes; }, [] {});
}

void firstCrease(benchmark::State& state, const std::string& name, const Subject& subject, Results& results) {
  if (loadModel(subject.path) <= 0.0F) return state.SkipWithError("the model cannot be loaded");
  host::HostMesh mesh = importedMesh();
  // A model loaded anew has no links yet.
  measure(
      state, name, results, {subject.faces},
      [&] { return markGroup("crease", subject.group, mesh.hostData()) == subject.neighbours; },
      [&] { loadModel(subject.path); });
}

void laterCrease(benchmark::State& state, const std::string& name, const Subject& subject, Results& results) {
  if (loadModel(subject.path) <= 0.0F) return state.SkipWithError("the model cannot be loaded");
  host::HostMesh mesh = importedMesh();
  markGroup("crease", 1, mesh.hostData());
  measure(
      state, name, results, {subject.groupFaces},
      [&] { return markGroup("crease", subject.group, mesh.hostData()) == subject.neighbours; }, [] {});
}

struct Row {
  const char* call;
  void (*function)(benchmark::State&, const std::string&, const Subject&, Results&);
  int iterations;
};
constexpr Row kRows[] = {
    {"mesh_mask", mask, 50}, {"mesh_first_crease", firstCrease, 4}, {"mesh_later_crease", laterCrease, 50}};

}  // namespace

void addMeshBenches(SheetFiles& files, Results& results) {
  for (const Row& row : kRows) {
    for (const NamedMeshModel& model : kMeshModels) {
      const std::string name = std::string(row.call) + "/" + model.name;
      const auto run = [&files, &results, &row, name, kind = model.model](benchmark::State& state) {
        row.function(state, name, subjectOf(kind, files), results);
        freeModel();
      };
      benchmark::RegisterBenchmark(name.c_str(), run)
          ->Iterations(row.iterations)
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond);
    }
  }
}

}  // namespace bench
