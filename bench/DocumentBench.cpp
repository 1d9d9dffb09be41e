// The document: linting, and writing, beside Assimp's exporter.
#include <assimp/scene.h>
#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Benches.h"
#include "document/DocumentWriter.h"
#include "document/Lint.h"
#include "document/OBJDocument.h"
#include "document/Output.h"
#include "document/Selection.h"

namespace bench {
namespace {

using namespace WavefrontOBJ;

/// Counts bytes, so that the writer's own work is measured.
struct CountingSink : Sink {
  std::uint64_t bytes = 0;
  WavefrontOBJ::Result write(std::string_view text) override {
    bytes += text.size();
    return {};
  }
};

/// 0 threads: as many as there are.
void parsePositions(benchmark::State& state, const std::string& name, unsigned threads, SheetFiles& files,
                    Results& results) {
  const SheetFile& file = files.get(kComparedSheet);
  DocumentReadOptions options;
  options.threads = threads;
  OBJDocument document;
  if (!document.read(file.path, options)) state.SkipWithError("the sheet cannot be read");
  measure(
      state, name, results, {file.shape.faceCount(), 0},
      [&] {
        std::vector<double> positions;
        return static_cast<bool>(document.positions(positions));
      },
      [] {});
}

/// Measures `write(document)`, which answers the bytes written, 0 on failure.
template <class Write>
void writeDocument(benchmark::State& state, const std::string& name, const SheetFile& file, Results& results,
                   Write write) {
  OBJDocument document;
  std::uint64_t bytes = document.read(file.path) ? write(document) : 0;
  if (bytes == 0) {
    state.SkipWithError("the sheet cannot be read and written");
    return;
  }
  measure(
      state, name, results, {file.shape.faceCount(), bytes}, [&] { return write(document) == bytes; }, [] {});
}

std::uint64_t writeParts(const OBJDocument& document) {
  const OBJMembers groups = document.members(Division::group, ElementKind::face);
  DocumentWriter writer(document);
  CountingSink sink;
  ElementLists part;
  for (std::size_t i = 0; i + 1 < groups.rows(); ++i) {
    part.faces.assign(groups.row(i).begin(), groups.row(i).end());
    if (!writer.write(part, {}, sink)) return 0;
  }
  return sink.bytes;
}

void lintDocument(benchmark::State& state, SheetFiles& files, Results& results) {
  const SheetFile& file = files.get(kComparedSheet);
  OBJDocument document;
  if (!document.read(file.path)) state.SkipWithError("the sheet cannot be read");
  measure(
      state, "document/lint", results, {file.shape.faceCount(), file.bytes},
      [&] {
        Findings findings;
        return static_cast<bool>(lint(document, {}, findings));
      },
      [] {});
}

void exportWithAssimp(benchmark::State& state, SheetFiles& files, Results& results) {
  const SheetFile& file = files.get(kComparedSheet);
  Assimp::Importer importer;
  const aiScene* const scene = importer.ReadFile(file.path, 0);
  const std::string path = files.exportPath("export_assimp.obj");
  Assimp::Exporter exporter;
  if (scene == nullptr || exporter.Export(scene, "objnomtl", path) != AI_SUCCESS) {
    state.SkipWithError("the sheet cannot be read and written");
    return;
  }
  const std::uint64_t bytes = std::filesystem::file_size(path);
  measure(
      state, "export/assimp", results, {file.shape.faceCount(), bytes},
      [&] { return exporter.Export(scene, "objnomtl", path) == AI_SUCCESS; }, [] {});
  std::remove(path.c_str());
}

}  // namespace

void addDocumentBenches(SheetFiles& files, Results& results) {
  const auto add = [&](const char* name, int iterations, auto function) {
    benchmark::RegisterBenchmark(name, function)
        ->Iterations(iterations)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  };
  for (const unsigned threads : {1U, 0U}) {
    const std::string name = threads == 1 ? "document/positions" : "document/positions_threads";
    add(name.c_str(), 5, [=, &files, &results](benchmark::State& state) {
      parsePositions(state, name, threads, files, results);
    });
  }
  add("export/document", 5, [&](benchmark::State& state) {
    writeDocument(state, "export/document", files.get(kComparedSheet), results,
                  [](const OBJDocument& document) {
                    CountingSink sink;
                    return DocumentWriter(document).write(ElementLists::all(), {}, sink) ? sink.bytes : 0;
                  });
  });
  add("export/document_safe", 3, [&](benchmark::State& state) {
    const std::string path = files.exportPath("export_document.obj");
    writeDocument(state, "export/document_safe", files.get(kComparedSheet), results,
                  [&path](const OBJDocument& document) -> std::uint64_t {
                    Output out(path);
                    if (!DocumentWriter(document).write(ElementLists::all(), {}, out) || !out.commit())
                      return 0;
                    return out.bytesWritten();
                  });
    std::remove(path.c_str());
  });
  add("export/assimp", 2, [&](benchmark::State& state) { exportWithAssimp(state, files, results); });
  add("document/parts", 3, [&](benchmark::State& state) {
    writeDocument(state, "document/parts", files.get(kComparedSheet), results, writeParts);
  });
  // Each of 1,000 groups has faces all over the sheet.
  add("document/parts_interleaved", 3, [&](benchmark::State& state) {
    writeDocument(state, "document/parts_interleaved", files.get(kScalingSheets[3].shape), results,
                  writeParts);
  });
  add("document/lint", 1, [&](benchmark::State& state) { lintDocument(state, files, results); });
}

}  // namespace bench
