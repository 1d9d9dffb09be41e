#include <memory>
#include <string>
#include <utility>

#include "document/DocumentWriter.h"
#include "document/Output.h"
#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/SafeOutput.h"
#include "smthgrp/model/AsHost.h"
#include "smthgrp/model/PartOptions.h"
#include "smthgrp/model/ReadDocument.h"

namespace smthgrp {
namespace {

struct Request {
  std::string model;   ///< "-" for standard input
  std::string output;  ///< "-" for standard output
  PartOptions options;
};

const std::string kFooter = std::string(R"(Examples:
  smthgrp export robot.obj -o copy.obj              the whole model
  smthgrp export robot.obj -o head.obj -g head      the group "head"
  smthgrp export robot.obj -o arms.obj -g 'arm_*'   the groups that begin so
  smthgrp export robot.obj -o some.obj -g 2-4       groups by their index
  smthgrp export robot.obj -o smooth.obj -s 1-3     smoothing groups by number
  smthgrp export robot.obj -o rest.obj -s 0         what is in none of them

All that need not change is written as the file has it: digits, texture
coordinates, normals, groups, smoothing groups, objects, materials and the
comments at its head. Vertices and elements keep their order.

)") + kPatternHelp;

void run(const Request& request) {
  auto output = std::make_unique<WavefrontOBJ::Output>(request.output);
  openOutput(*output, request.model);
  WavefrontOBJ::OBJDocument document;
  readDocument(request.model, document);
  requireModel(document);
  const WavefrontOBJ::ElementLists lists = select(document, selectionOf(document, request.options));
  if (lists.empty()) throw Failure(document.source().name() + ": no element is in all that was asked for");
  writeAndCommit(document, request.options, std::move(output),
                 [&](const auto& options, auto& sink, auto* counts) {
                   return WavefrontOBJ::DocumentWriter(document).write(lists, options, sink, counts);
                 });
}

}  // namespace

void addExport(CommandLine& line, const PluginOptions& plugin) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("export", "Write the model or parts of it", kFooter);
  addInput(command, "MODEL", request->model, "OBJ file to read; - for standard input");
  addOutput(command, request->output, "OBJ file to write; - for standard output");
  addSelection(command, request->options);
  addMaterials(command, request->options);
  addAsHost(command, request->options);
  line.setWork(command, [&plugin, &command, request] {
    if (!request->options.asHost) return run(*request);
    requireAsHostAlone(command, {"output", "group", "smoothing-group"});
    PluginLibrary library(plugin.file);
    exportAsHost(library, request->model, request->options.patterns.groups,
                 request->options.patterns.smoothing, request->output);
  });
}

}  // namespace smthgrp
