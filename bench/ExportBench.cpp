// Writing the whole model with the plug-in, and the same bytes through a standard stream.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>

#include "Benches.h"
#include "PluginCalls.h"

namespace bench {
namespace {

/// The plug-in's file of a sheet, line by line as programs usually write one.
template <class EndLine>
void writeWithStream(const SheetShape& shape, const SheetData& data, const std::string& path,
                     EndLine endLine) {
  std::ofstream out(path);
  out << std::showpoint;
  out.precision(6);
  out << "# File Created by KFileUtils for Talvex" << endLine;
  out << "# https://talvex.example/ksmthgrpimpt" << endLine;
  out << "#Vertex Count " << shape.vertexCount() << endLine;
  out << "#Face Count " << shape.faceCount() << endLine;
  out << "#Material Count 0" << endLine;
  for (std::size_t i = 0; i < data.positions.size(); i += 3) {
    out << "v " << data.positions[i] << ' ' << data.positions[i + 1] << ' ' << data.positions[i + 2] << ' '
        << endLine;
  }
  // The plug-in writes texture coordinates in its "vn" lines as well.
  for (const char* keyword : {"vt ", "vn "}) {
    for (std::size_t i = 0; i < data.textures.size(); i += 2) {
      out << keyword << data.textures[i] << ' ' << data.textures[i + 1] << ' ' << 0.0F << ' ' << endLine;
    }
  }
  std::uint32_t group = UINT32_MAX;
  for (std::uint32_t row = 0; row < shape.side; ++row) {
    for (std::uint32_t column = 0; column < shape.side; ++column) {
      if (shape.groupOfFace(row, column) != group) {
        group = shape.groupOfFace(row, column);
        out << "g " << groupName(group) << endLine;
      }
      std::uint32_t corners[4];
      sheetFaceCorners(shape, row, column, corners);
      out << 'f';
      for (const std::uint32_t corner : corners) {
        out << ' ' << corner + 1 << '/' << corner + 1 << '/' << corner + 1;
      }
      out << endLine;
    }
  }
}

bool sameBytes(const std::string& path, const std::string& otherPath) {
  std::ifstream file(path, std::ios::binary);
  std::ifstream other(otherPath, std::ios::binary);
  using Bytes = std::istreambuf_iterator<char>;
  return file && other && std::equal(Bytes(file), Bytes(), Bytes(other), Bytes());
}

void exportWithPlugin(benchmark::State& state, SheetFiles& files, Results& results) {
  const SheetFile& file = files.get(kComparedSheet);
  const std::string path = files.exportPath("export_plugin.obj");
  if (loadModel(file.path) <= 0.0F || exportGroup(path, 0) != 0.0F) {
    state.SkipWithError("the sheet cannot be loaded and written");
    return;
  }
  const std::uint64_t bytes = std::filesystem::file_size(path);
  std::remove(path.c_str());
  measure(
      state, "export/plugin", results, {file.shape.faceCount(), bytes},
      [&] { return exportGroup(path, 0) == 0.0F; }, [&] { std::remove(path.c_str()); });
  freeModel();
}

/// `EndLine` makes the line end, `flush` says whether it is `std::endl`.
void exportWithStream(benchmark::State& state, SheetFiles& files, Results& results, bool flush) {
  const SheetFile& file = files.get(kComparedSheet);
  const SheetData data = makeSheetData(file.shape);
  const std::string path = files.exportPath("export_stream.obj");
  const auto write = [&] {
    if (flush) {
      writeWithStream(file.shape, data, path, static_cast<std::ostream& (*)(std::ostream&)>(std::endl));
    } else {
      writeWithStream(file.shape, data, path, '\n');
    }
    return true;
  };

  // What is compared must be the same work to the byte.
  const std::string pluginPath = files.exportPath("export_compared.obj");
  const bool exported = loadModel(file.path) > 0.0F && exportGroup(pluginPath, 0) == 0.0F;
  freeModel();
  write();
  const std::uint64_t bytes = std::filesystem::file_size(path);
  const bool same = exported && sameBytes(path, pluginPath);
  std::remove(pluginPath.c_str());
  std::remove(path.c_str());
  if (!same) {
    state.SkipWithError("the stream's file is not the plug-in's");
    return;
  }
  measure(state, flush ? "export/stream_endl" : "export/stream", results, {file.shape.faceCount(), bytes},
          write, [&] { std::remove(path.c_str()); });
}

}  // namespace

void addExportBenches(SheetFiles& files, Results& results) {
  const auto add = [](const char* name, int iterations, auto function) {
    benchmark::RegisterBenchmark(name, function)
        ->Iterations(iterations)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  };
  add("export/plugin", 5, [&](benchmark::State& state) { exportWithPlugin(state, files, results); });
  add("export/stream", 3, [&](benchmark::State& state) { exportWithStream(state, files, results, false); });
  add("export/stream_endl", 1,
      [&](benchmark::State& state) { exportWithStream(state, files, results, true); });
}

}  // namespace bench
