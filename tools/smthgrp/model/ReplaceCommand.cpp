#include <memory>

#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/InputFile.h"
#include "smthgrp/common/OutputFile.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/model/WholeModel.h"
#include "smthgrp/plugin/CurrentModel.h"

namespace smthgrp {
namespace {

struct Request {
  std::string model;
  std::string positions;
  std::string output;  ///< "-" for standard output
};

constexpr const char* kFooter = R"(Example:
  smthgrp replace robot.obj robot_pose.obj -o posed.obj

Both models must have the same number of vertices.)";

void run(PluginLibrary& library, const Request& request) {
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

}  // namespace

void addReplace(CommandLine& line, const PluginOptions& plugin) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("replace", "Write the model with the vertex positions of another", kFooter);
  addInput(command, "MODEL", request->model, "OBJ file to read");
  addInput(command, "POSITIONS", request->positions, "OBJ file to take the positions from");
  addOutput(command, request->output, "OBJ file to write; - for standard output");
  line.setWork(command, [&plugin, request] {
    PluginLibrary library(plugin.file);
    run(library, *request);
  });
}

}  // namespace smthgrp
