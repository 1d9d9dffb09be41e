#include "smthgrp/model/AsHost.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/InputFile.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/SafeFileNames.h"
#include "smthgrp/common/SafeOutput.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/model/Announce.h"
#include "smthgrp/model/GroupChoice.h"
#include "smthgrp/plugin/CurrentModel.h"
#include "smthgrp/plugin/ExportCall.h"

namespace smthgrp {
namespace {

/// Stands for the faces outside every smoothing group.
constexpr double kOutsideSmoothingGroups = 0.5;

void commit(WavefrontOBJ::Output& output, const WrittenFile& written) {
  require(output.commit());
  announce(output, written.vertices, written.faces);
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

void exportWholeModel(PluginLibrary& library, const std::string& modelPath, WavefrontOBJ::Output& output) {
  const WavefrontOBJ::OBJModel& model = *library.model();
  requireWholeModelWritable(model, modelPath);
  const bool normals = model._normals->count > 0;
  const std::optional<WrittenFile> written = exportTo(library, "ExportOBJGroup", 0.0, output);
  if (!written) throw Failure(output.name() + ": the library did not write the model");
  commit(output, *written);
  if (normals) {
    std::fprintf(stderr,
                 "smthgrp: note: %s: normals are not preserved, recompute them where they are needed\n",
                 printable(output.name()).c_str());
  }
}

void exportGroup(PluginLibrary& library, const std::string& model, const std::string& group,
                 WavefrontOBJ::Output& output) {
  const std::vector<std::string> names = groupNames(library);
  const std::size_t index = chooseGroup(names, group, model);
  const auto written = exportTo(library, "ExportOBJGroup", static_cast<double>(index), output);
  if (!written) {
    throw Failure(model + ": group " + std::to_string(index) + " " + quoted(names[index - 1], 60) +
                  " has no vertex range, there is nothing to write");
  }
  commit(output, *written);
}

void exportSmoothingGroup(PluginLibrary& library, const std::string& model, const std::string& text,
                          WavefrontOBJ::Output& output) {
  std::uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number);
  if (parsed.ec != std::errc() || parsed.ptr != end) {
    throw Failure("--as-host takes the number of a smoothing group, not " + quoted(text, 60), kUsageError);
  }
  const std::vector<std::uint32_t> numbers = smoothingGroups(library);
  const bool outside = number == 0 && std::find(numbers.begin(), numbers.end(), 0U) == numbers.end();
  const double index =
      outside ? kOutsideSmoothingGroups : static_cast<double>(chooseSmoothingGroup(numbers, number, model));
  const auto written = exportTo(library, "ExportOBJSmoothGroup", index, output);
  if (!written) {
    const std::string what = number == 0 ? "there are no faces outside the smoothing groups"
                                         : "smoothing group " + std::to_string(number) + " has no faces";
    throw Failure(model + ": " + what + ", there is nothing to write");
  }
  commit(output, *written);
}

void reportSkipped(const std::vector<std::string>& names, const std::vector<std::size_t>& skipped) {
  constexpr std::size_t kMost = 20;
  for (std::size_t i = 0; i < skipped.size() && i < kMost; ++i) {
    std::fprintf(stderr, "smthgrp: note: skipped group %zu %s, it has no vertex range\n", skipped[i],
                 quoted(names[skipped[i] - 1], 60).c_str());
  }
  if (skipped.size() > kMost) {
    std::fprintf(stderr, "smthgrp: note: skipped %zu more groups without a vertex range\n",
                 skipped.size() - kMost);
  }
}

}  // namespace

void exportAsHost(PluginLibrary& library, const std::string& model, const std::vector<std::string>& groups,
                  const std::vector<std::string>& smoothingGroups, const std::string& output) {
  if (groups.size() + smoothingGroups.size() > 1) {
    throw Failure("--as-host takes one --group or one --smoothing-group", kUsageError);
  }
  WavefrontOBJ::Output out(output);
  openOutput(out, model);
  loadModelAndTell(library, model);
  const std::string name = inputName(model);
  if (!groups.empty()) {
    exportGroup(library, name, groups[0], out);
  } else if (!smoothingGroups.empty()) {
    exportSmoothingGroup(library, name, smoothingGroups[0], out);
  } else {
    exportWholeModel(library, name, out);
  }
}

void splitAsHost(PluginLibrary& library, const std::string& model, const std::string& folder) {
  loadModelAndTell(library, model);
  const std::vector<std::string> names = groupNames(library);
  if (names.empty()) throw Failure(inputName(model) + ": the model has no groups, there is nothing to write");
  const auto newFolder = makeFolder(folder);
  std::vector<std::size_t> skipped;
  std::vector<std::unique_ptr<WavefrontOBJ::Output>> outputs;
  SafeFileNames fileNames;
  ProgressBar progress("writing " + folder);
  for (std::size_t index = 1; index <= names.size(); ++index) {
    progress.advanceTo(static_cast<double>(index - 1) / static_cast<double>(names.size()));
    // A skipped group must not use up a name that a later one could have.
    const auto key = static_cast<double>(index);
    if (library.call("GetOBJGroupInfo", "vertexCount", key).value <= 0) {
      skipped.push_back(index);
      continue;
    }
    const std::string path = std::filesystem::path(folder) / fileNames.take(names[index - 1]);
    auto output = std::make_unique<WavefrontOBJ::Output>(path);
    openOutput(*output, model);
    if (!exportTo(library, "ExportOBJGroup", key, *output)) {
      throw Failure(output->name() + ": the library did not write the group");
    }
    outputs.push_back(std::move(output));
  }
  commitOutputs(outputs);
  reportSkipped(names, skipped);
  if (outputs.empty()) throw Failure(inputName(model) + ": no group has a vertex range, nothing was written");
  std::printf("%s: %s written\n", printable(folder).c_str(), counted(outputs.size(), "file").c_str());
}

void replaceAsHost(PluginLibrary& library, const std::string& model, const std::string& positions,
                   const std::string& output) {
  // They are read once more for the reason of a failure.
  if (positions == kStandardInput) {
    throw Failure("with --as-host the positions cannot be read from standard input", kUsageError);
  }
  WavefrontOBJ::Output out(output);
  openOutput(out, model);
  openOutput(out, positions);
  requireReadable(positions);
  const std::string name = inputName(model);
  requireWholeModelWritable(loadModelAndTell(library, model), name);
  const std::uint32_t wanted = vertexCount(library);
  PluginLibrary::workOn(positions);
  const float answer = library.call("ReplaceOBJVertices", positions.c_str()).value;
  if (answer != 0.0F) {
    // The call gives no reason; reading the file as a model does.
    loadModelAndTell(library, positions);
    throw Failure(positions + ": has " + counted(vertexCount(library), "vertex", "vertices") + ", but " +
                  name + " has " + std::to_string(wanted));
  }
  exportWholeModel(library, name, out);
}

}  // namespace smthgrp
