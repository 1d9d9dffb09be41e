#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "document/Output.h"
#include "document/Split.h"
#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/SafeFileNames.h"
#include "smthgrp/common/SafeOutput.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/model/AsHost.h"
#include "smthgrp/model/PartOptions.h"
#include "smthgrp/model/ReadDocument.h"

namespace smthgrp {
namespace {

using WavefrontOBJ::Division;

struct Request {
  std::string model;  ///< "-" for standard input
  std::string folder;
  Division by = Division::group;
  PartOptions options;
};

const std::string kFooter = std::string(R"(Examples:
  smthgrp split robot.obj -o parts
  smthgrp split robot.obj -o parts --by material --copy-materials
  smthgrp split robot.obj -o arms -g 'arm_*'
  smthgrp merge parts/*.obj -o robot.obj            puts them together again

Files are called after their groups. Characters that file names cannot have
become _, and groups whose files would have the same name get _2, _3 and so on.
Files that are there are overwritten. What no part has, such as vertices that
nothing uses, goes to _rest.obj, unless only some of the groups are asked for.
Each file says in comments what it has of the model, for merge.

)") + kPatternHelp;

const std::map<std::string, Division> kDivisions = {{"group", Division::group},
                                                    {"smoothing", Division::smoothing},
                                                    {"material", Division::material},
                                                    {"object", Division::object}};

/// What a part's file is called, without the ending.
std::string partName(Division by, const std::optional<std::string>& name) {
  if (by == Division::smoothing) return "smoothing_" + name.value_or("off");
  if (name && !name->empty()) return *name;
  return by == Division::material ? "_no_material" : "_no_object";
}

/// The new file of this name, which must not be the one that is read: nobody asked for that by its name.
std::unique_ptr<WavefrontOBJ::Output> partOutput(const Request& request, const std::string& name) {
  const std::string path = std::filesystem::path(request.folder) / name;
  std::error_code ignored;
  if (std::filesystem::equivalent(path, request.model, ignored)) {
    throw Failure(path + ": is the file that is read; a part of it would take its place");
  }
  auto output = std::make_unique<WavefrontOBJ::Output>(path);
  openOutput(*output, request.model);
  return output;
}

void run(const Request& request) {
  WavefrontOBJ::OBJDocument document;
  readDocument(request.model, document);
  const bool all = request.options.patterns.empty();
  WavefrontOBJ::DocumentSplit split(document, request.by, selectionOf(document, request.options));
  if (split.partCount() == 0 && !(all && split.hasRest())) {
    throw Failure(document.source().name() + (all ? ": there is nothing in the model to write"
                                                  : ": no element is in all that was asked for"));
  }
  const auto folder = makeFolder(request.folder);
  std::vector<std::unique_ptr<WavefrontOBJ::Output>> outputs;
  WavefrontOBJ::WriteOptions options = writeOptions(request.options);
  const std::vector<std::string> libraries =
      takeLibraries(document, request.options, request.folder, outputs);
  if (!libraries.empty()) options.libraries = &libraries;
  const std::size_t copies = outputs.size();
  {
    SafeFileNames names;
    const std::string rest = names.take("\x01rest").replace(0, 1, "_");
    ProgressBar bar("writing " + request.folder);
    for (std::size_t i = 0; i < split.partCount(); ++i) {
      auto output = partOutput(request, names.take(partName(request.by, split.name(i))));
      options.progress = bar.progress(i, split.partCount());
      require(split.writePart(i, options, *output));
      require(output->finish());
      outputs.push_back(std::move(output));
    }
    if (all && split.hasRest()) {
      auto output = partOutput(request, rest);
      require(split.writeRest(options, *output));
      require(output->finish());
      outputs.push_back(std::move(output));
    }
  }
  commitOutputs(outputs);
  std::printf("%s: %s written\n", printable(request.folder).c_str(),
              counted(outputs.size() - copies, "file").c_str());
}

}  // namespace

void addSplit(CommandLine& line, const PluginOptions& plugin) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("split", "Write every group into a file of its own", kFooter);
  addInput(command, "MODEL", request->model, "OBJ file to read; - for standard input");
  addOutput(command, request->folder, "Folder to write to, made if missing", "DIR");
  command
      .add_option_function<std::string>(
          "--by", [request](const std::string& name) { request->by = kDivisions.at(name); },
          "What becomes a file")
      ->check(CLI::IsMember(kDivisions).description(""))
      ->type_name(CLI::detail::join(
          kDivisions, [](const auto& division) { return std::string(division.first); }, "|"));
  addSelection(command, request->options);
  addMaterials(command, request->options);
  addAsHost(command, request->options);
  line.setWork(command, [&plugin, &command, request] {
    if (!request->options.asHost) return run(*request);
    requireAsHostAlone(command, {"output"});
    PluginLibrary library(plugin.file);
    splitAsHost(library, request->model, request->folder);
  });
}

}  // namespace smthgrp
