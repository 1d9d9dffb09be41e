#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/OutputFile.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/SafeFileNames.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/plugin/CurrentModel.h"
#include "smthgrp/plugin/ExportCall.h"

namespace smthgrp {
namespace {

struct Request {
  std::string model;
  std::string folder;
};

constexpr const char* kFooter = R"(Example:
  smthgrp split robot.obj -o parts

Files are called after their groups. Characters that file names cannot have
become _, and groups whose files would have the same name get _2, _3 and so on.
Files that are there are overwritten.)";

void makeFolder(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (!error && !std::filesystem::is_directory(path)) {
    error = std::make_error_code(std::errc::not_a_directory);
  }
  if (error) throw systemFailure(path, error.value());
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

/// Writes the groups and answers the indices of those that have nothing to write.
std::vector<std::size_t> writeGroups(PluginLibrary& library, const std::vector<std::string>& names,
                                     const Request& request) {
  std::vector<std::size_t> skipped;
  SafeFileNames fileNames;
  ProgressBar progress("writing " + request.folder);
  for (std::size_t index = 1; index <= names.size(); ++index) {
    progress.advanceTo(static_cast<double>(index - 1) / static_cast<double>(names.size()));
    // A skipped group must not use up a name that a later one could have.
    const auto key = static_cast<double>(index);
    if (library.call("GetOBJGroupInfo", "vertexCount", key).value <= 0) {
      skipped.push_back(index);
      continue;
    }
    const std::string path = std::filesystem::path(request.folder) / fileNames.take(names[index - 1]);
    requireOtherFile(path, request.model);
    if (!exportTo(library, "ExportOBJGroup", key, path)) skipped.push_back(index);
  }
  return skipped;
}

void run(PluginLibrary& library, const Request& request) {
  loadModel(library, request.model);
  const std::vector<std::string> names = groupNames(library);
  if (names.empty()) throw Failure(request.model + ": the model has no groups, there is nothing to write");
  makeFolder(request.folder);
  const std::vector<std::size_t> skipped = writeGroups(library, names, request);
  reportSkipped(names, skipped);
  const std::size_t written = names.size() - skipped.size();
  if (written == 0) throw Failure(request.model + ": no group has a vertex range, nothing was written");
  std::printf("%s: %s written\n", printable(request.folder).c_str(), counted(written, "file").c_str());
}

}  // namespace

void addSplit(CommandLine& line, const PluginOptions& plugin) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("split", "Write every group into a file of its own", kFooter);
  addInput(command, "MODEL", request->model, "OBJ file to read");
  addOutput(command, request->folder, "Folder to write to, made if missing", "DIR");
  line.setWork(command, [&plugin, request] {
    PluginLibrary library(plugin.file);
    run(library, *request);
  });
}

}  // namespace smthgrp
