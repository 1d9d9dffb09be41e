#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "smthgrp/Commands.h"
#include "smthgrp/Failure.h"
#include "smthgrp/GroupChoice.h"
#include "smthgrp/ModelFile.h"
#include "smthgrp/OutputFile.h"
#include "smthgrp/TerminalText.h"

namespace smthgrp {
namespace {

/// Stands for the faces outside every smoothing group.
constexpr double kOutsideSmoothingGroups = 0.5;

void announce(const std::string& path, const WrittenFile& written) {
  if (!written.announce) return;
  std::printf("%s: %s, %s\n", printable(path).c_str(),
              counted(written.vertices, "vertex", "vertices").c_str(),
              counted(written.faces, "face").c_str());
}

/// A whole-model write puts texture coordinates on its "vn" lines, one for each normal. Where the array has
/// none, not even an unused slot, the library stops in the middle of the file.
void requireWholeModelWritable(const WavefrontOBJ::OBJModel& model, const std::string& path) {
  const std::uint64_t normals = model._normals->count;
  const std::uint64_t slots =
      std::uint64_t{model._textureCoords->blocks.size()} * model._textureCoords->blockSize;
  if (normals <= slots) return;
  throw Failure(path + ": the library cannot write this model as a whole, it has " +
                counted(normals, "normal") + " and only " +
                counted(model._textureCoords->count, "texture coordinate") +
                "; its groups can be written one by one, with split or export --group");
}

void exportWholeModel(PluginLibrary& library, const std::string& modelPath, const std::string& output) {
  const WavefrontOBJ::OBJModel& model = *library.model();
  requireWholeModelWritable(model, modelPath);
  const bool normals = model._normals->count > 0;
  const std::optional<WrittenFile> written = exportTo(library, "ExportOBJGroup", 0.0, output);
  if (!written) throw Failure(outputName(output) + ": the library did not write the model");
  announce(output, *written);
  if (normals) {
    std::fprintf(stderr,
                 "smthgrp: note: %s: normals are not preserved, recompute them where they are needed\n",
                 printable(outputName(output)).c_str());
  }
}

void exportGroup(PluginLibrary& library, const ExportRequest& request) {
  const std::vector<std::string> names = groupNames(library);
  const std::size_t index = chooseGroup(names, *request.group, request.model);
  const auto written = exportTo(library, "ExportOBJGroup", static_cast<double>(index), request.output);
  if (!written) {
    throw Failure(request.model + ": group " + std::to_string(index) + " " + quoted(names[index - 1], 60) +
                  " has no vertex range, there is nothing to write");
  }
  announce(request.output, *written);
}

void exportSmoothingGroup(PluginLibrary& library, const ExportRequest& request) {
  const std::uint32_t number = *request.smoothingGroup;
  const std::vector<std::uint32_t> numbers = smoothingGroups(library);
  const bool outside = number == 0 && std::find(numbers.begin(), numbers.end(), 0U) == numbers.end();
  const double index = outside ? kOutsideSmoothingGroups
                               : static_cast<double>(chooseSmoothingGroup(numbers, number, request.model));
  const auto written = exportTo(library, "ExportOBJSmoothGroup", index, request.output);
  if (!written) {
    const std::string what = number == 0 ? "there are no faces outside the smoothing groups"
                                         : "smoothing group " + std::to_string(number) + " has no faces";
    throw Failure(request.model + ": " + what + ", there is nothing to write");
  }
  announce(request.output, *written);
}

}  // namespace

void runExport(PluginLibrary& library, const ExportRequest& request) {
  requireOtherFile(request.output, request.model);
  loadModel(library, request.model);
  if (request.group) {
    exportGroup(library, request);
  } else if (request.smoothingGroup) {
    exportSmoothingGroup(library, request);
  } else {
    exportWholeModel(library, request.model, request.output);
  }
}

void runReplace(PluginLibrary& library, const ReplaceRequest& request) {
  requireOtherFile(request.output, request.model);
  requireOtherFile(request.output, request.positions);
  requireReadable(request.positions);
  requireWholeModelWritable(loadModel(library, request.model), request.model);
  const std::uint32_t wanted = vertexCount(library);
  PluginLibrary::workOn(request.positions);
  const float answer = library.call("ReplaceOBJVertices", request.positions.c_str()).value;
  if (answer != 0.0F) {
    // The call gives no reason; reading the file as a model does.
    loadModel(library, request.positions);
    throw Failure(request.positions + ": has " + counted(vertexCount(library), "vertex", "vertices") +
                  ", but " + request.model + " has " + std::to_string(wanted));
  }
  exportWholeModel(library, request.model, request.output);
}

}  // namespace smthgrp
