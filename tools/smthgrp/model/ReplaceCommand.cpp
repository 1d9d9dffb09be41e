#include "document/Replace.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "document/Diff.h"
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
  std::string model;
  std::string positions;
  std::string output;  ///< "-" for standard output
  bool force = false;
  PartOptions options;
};

constexpr const char* kFooter = R"(Example:
  smthgrp replace robot.obj robot_pose.obj -o posed.obj

Both models must have the same topology: as many vertices, and faces that join
them alike. With --force they need not; vertices that the second does not have
then keep their places. All but the positions stays as the first file has it.)";

void run(const Request& request) {
  auto output = std::make_unique<WavefrontOBJ::Output>(request.output);
  openOutput(*output, request.model);
  openOutput(*output, request.positions);
  if (request.model == kStandardInput && request.positions == kStandardInput) {
    throw Failure("only one of the models can be read from standard input", kUsageError);
  }
  WavefrontOBJ::OBJDocument model;
  WavefrontOBJ::OBJDocument positions;
  readDocument(request.model, model);
  readDocument(request.positions, positions);
  std::optional<WavefrontOBJ::TopologyDifference> difference;
  require(compareTopology(model, positions, difference));
  if (difference && !request.force) {
    throw Failure("the models differ in their topology: " + difference->text(model, positions) +
                  "; --force replaces nevertheless");
  }
  writeAndCommit(model, request.options, std::move(output),
                 [&](const auto& options, auto& sink, auto* counts) {
                   return writeWithPositions(model, positions, options, sink, counts);
                 });
}

}  // namespace

void addReplace(CommandLine& line, const PluginOptions& plugin) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("replace", "Write the model with the vertex positions of another", kFooter);
  addInput(command, "MODEL", request->model, "OBJ file to read; - for standard input");
  addInput(command, "POSITIONS", request->positions, "OBJ file to take the positions from");
  addOutput(command, request->output, "OBJ file to write; - for standard output");
  command.add_flag("--force", request->force, "Replace in spite of another topology");
  addMaterials(command, request->options);
  addAsHost(command, request->options);
  line.setWork(command, [&plugin, &command, request] {
    if (!request->options.asHost) return run(*request);
    requireAsHostAlone(command, {"output"});
    PluginLibrary library(plugin.file);
    replaceAsHost(library, request->model, request->positions, request->output);
  });
}

}  // namespace smthgrp
