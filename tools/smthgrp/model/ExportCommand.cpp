#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/OutputFile.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/model/GroupChoice.h"
#include "smthgrp/model/WholeModel.h"
#include "smthgrp/plugin/CurrentModel.h"
#include "smthgrp/plugin/ExportCall.h"

namespace smthgrp {
namespace {

struct Request {
  std::string model;
  std::string output;                           ///< "-" for standard output
  std::optional<std::string> group;             ///< name or index
  std::optional<std::uint32_t> smoothingGroup;  ///< number, not index
};

constexpr const char* kFooter = R"(Examples:
  smthgrp export robot.obj -o copy.obj              the whole model
  smthgrp export robot.obj -o head.obj -g head      the group "head"
  smthgrp export robot.obj -o second.obj -g 2       the second group
  smthgrp export robot.obj -o smooth.obj -s 3       the faces behind "s 3"
  smthgrp export robot.obj -o rest.obj -s 0         the faces outside them all)";

/// Stands for the faces outside every smoothing group.
constexpr double kOutsideSmoothingGroups = 0.5;

void exportGroup(PluginLibrary& library, const Request& request) {
  const std::vector<std::string> names = groupNames(library);
  const std::size_t index = chooseGroup(names, *request.group, request.model);
  const auto written = exportTo(library, "ExportOBJGroup", static_cast<double>(index), request.output);
  if (!written) {
    throw Failure(request.model + ": group " + std::to_string(index) + " " + quoted(names[index - 1], 60) +
                  " has no vertex range, there is nothing to write");
  }
  announce(request.output, *written);
}

void exportSmoothingGroup(PluginLibrary& library, const Request& request) {
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

void run(PluginLibrary& library, const Request& request) {
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

}  // namespace

void addExport(CommandLine& line, const PluginOptions& plugin) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("export", "Write the model, a group or a smoothing group", kFooter);
  addInput(command, "MODEL", request->model, "OBJ file to read");
  addOutput(command, request->output, "OBJ file to write; - for standard output");
  CLI::Option* const group =
      command.add_option("-g,--group", request->group, "Group to write, by name or index");
  group->type_name("NAME|INDEX");
  command
      .add_option("-s,--smoothing-group", request->smoothingGroup, "Smoothing group to write, by its number")
      ->type_name("NUMBER")
      ->excludes(group);
  line.setWork(command, [&plugin, request] {
    PluginLibrary library(plugin.file);
    run(library, *request);
  });
}

}  // namespace smthgrp
