// Loading the same file with the plug-in and with other loaders. What a load leaves behind is freed outside
// the timing for all of them; the plug-in's call, too, starts without a model.
#include <tiny_obj_loader.h>

#include <assimp/scene.h>
#include <assimp/Importer.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Benches.h"
#include "PluginCalls.h"

namespace bench {
namespace {

struct TinyModel {
  tinyobj::attrib_t attributes;
  std::vector<tinyobj::shape_t> shapes;
  std::vector<tinyobj::material_t> materials;

  bool load(const std::string& path) {
    std::string warning;
    std::string error;
    // Polygons stay polygons, as in the plug-in.
    return tinyobj::LoadObj(&attributes, &shapes, &materials, &warning, &error, path.c_str(), nullptr, false);
  }
  std::uint64_t faceCount() const {
    std::uint64_t faces = 0;
    for (const tinyobj::shape_t& shape : shapes) faces += shape.mesh.num_face_vertices.size();
    return faces;
  }
};

std::uint64_t faceCountOf(const aiScene& scene) {
  std::uint64_t faces = 0;
  for (unsigned i = 0; i < scene.mNumMeshes; ++i) faces += scene.mMeshes[i]->mNumFaces;
  return faces;
}

void loadWithPlugin(benchmark::State& state, SheetFiles& files, Results& results) {
  const SheetFile& file = files.get(kComparedSheet);
  const std::uint64_t faces = file.shape.faceCount();
  freeModel();
  measure(
      state, "load/plugin", results, {faces, file.bytes}, [&] { return loadModel(file.path) > 0.0F; },
      [&] {
        if (modelInfo("faceCount") != static_cast<float>(faces)) state.SkipWithError("faces are missing");
        freeModel();
      });
}

void loadWithTinyobjloader(benchmark::State& state, SheetFiles& files, Results& results) {
  const SheetFile& file = files.get(kComparedSheet);
  const std::uint64_t faces = file.shape.faceCount();
  auto model = std::make_unique<TinyModel>();
  measure(
      state, "load/tinyobjloader", results, {faces, file.bytes}, [&] { return model->load(file.path); },
      [&] {
        if (model->faceCount() != faces) state.SkipWithError("faces are missing");
        model = std::make_unique<TinyModel>();
      });
}

void loadWithAssimp(benchmark::State& state, SheetFiles& files, Results& results) {
  const SheetFile& file = files.get(kComparedSheet);
  const std::uint64_t faces = file.shape.faceCount();
  auto importer = std::make_unique<Assimp::Importer>();
  const aiScene* scene = nullptr;
  measure(
      state, "load/assimp", results, {faces, file.bytes},
      [&] {
        scene = importer->ReadFile(file.path, 0);
        return scene != nullptr;
      },
      [&] {
        if (scene != nullptr && faceCountOf(*scene) != faces) state.SkipWithError("faces are missing");
        importer = std::make_unique<Assimp::Importer>();
      });
}

}  // namespace

void addLoadBenches(SheetFiles& files, Results& results) {
  const auto add = [&](const char* name, int iterations, auto function) {
    benchmark::RegisterBenchmark(
        name, [&files, &results, function](benchmark::State& state) { function(state, files, results); })
        ->Iterations(iterations)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  };
  add("load/plugin", 5, loadWithPlugin);
  add("load/tinyobjloader", 3, loadWithTinyobjloader);
  add("load/assimp", 3, loadWithAssimp);
}

}  // namespace bench
