#include <sys/resource.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "document/Materials.h"
#include "document/Merge.h"
#include "document/Output.h"
#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/SafeOutput.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/model/Announce.h"
#include "smthgrp/model/PartOptions.h"
#include "smthgrp/model/ReadDocument.h"

namespace smthgrp {
namespace {

struct Request {
  std::vector<std::string> models;
  std::string output;  ///< "-" for standard output
  bool weld = false;
  bool concatenate = false;
  PartOptions options;
};

constexpr const char* kFooter = R"(Examples:
  smthgrp split robot.obj -o parts
  smthgrp merge parts/*.obj -o robot.obj            the same model again
  smthgrp merge left.obj right.obj -o both.obj --weld

Files that split made become the model that they come from: vertices are shared
again, faces of several groups are there once, all in their old order. Other
files follow one another, and groups, materials and objects of the same name
become one. --weld makes one vertex of those of different files whose numbers
have the same digits.)";

void note(const std::string& text) {
  std::fprintf(stderr, "smthgrp: note: %s\n", printable(text).c_str());
}

void report(const WavefrontOBJ::MergeReport& report, const WavefrontOBJ::Output& output) {
  const std::string name = output.name() + ": ";
  if (report.missing > 0) {
    note(name + "parts are missing: " + counted(report.missing, "line") + " of the model " +
         (report.missing == 1 ? "is" : "are") + " in none of the files");
  }
  if (report.differing > 0) {
    note(name + counted(report.differing, "vertex line") + " not alike in all parts, the first file's " +
         (report.differing == 1 ? "is" : "are") + " taken; see " + report.firstDiffering);
  }
  if (report.documents > 1) {
    note(name + "the files are parts of " + std::to_string(report.documents) +
         " models, which follow one another");
  }
  if (report.welded > 0) note(name + counted(report.welded, "vertex line") + " welded");
}

void report(const std::vector<WavefrontOBJ::MaterialClash>& clashes) {
  constexpr std::size_t kMost = 20;
  for (std::size_t i = 0; i < clashes.size() && i < kMost; ++i) {
    const WavefrontOBJ::MaterialClash& clash = clashes[i];
    tellWarning("material " + quoted(clash.name, 60) + ": is not the same in " + clash.libraries[0] +
                " and in " + clash.libraries[1] + "; all of its faces get one of them");
  }
  if (clashes.size() > kMost) {
    tellWarning(counted(clashes.size() - kMost, "more material") + " not the same in all libraries");
  }
}

void run(const Request& request) {
  // Each file stays open.
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
    limit.rlim_cur = limit.rlim_max;
    static_cast<void>(setrlimit(RLIMIT_NOFILE, &limit));
  }
  auto output = std::make_unique<WavefrontOBJ::Output>(request.output);
  for (const std::string& model : request.models) openOutput(*output, model);
  std::vector<WavefrontOBJ::OBJDocument> documents(request.models.size());
  std::vector<const WavefrontOBJ::OBJDocument*> list;
  WavefrontOBJ::Companions companions;
  WavefrontOBJ::MergeOptions options;
  bool stayed = true;
  for (std::size_t i = 0; i < documents.size(); ++i) {
    readDocument(request.models[i], documents[i]);
    list.push_back(&documents[i]);
    if (output->isDirect()) continue;
    std::vector<std::string> names =
        planLibraries(documents[i], request.options, WavefrontOBJ::folderPrefix(request.output), companions);
    stayed = stayed && names.empty();
    if (names.empty()) {
      for (const WavefrontOBJ::OBJLibrary& library : documents[i].libraries()) names.push_back(library.text);
    }
    options.libraries.push_back(std::move(names));
  }
  if (stayed) options.libraries.clear();
  std::vector<std::unique_ptr<WavefrontOBJ::Output>> outputs;
  require(makeCopies(companions, outputs));
  const std::vector<WavefrontOBJ::MaterialClash> clashes = WavefrontOBJ::materialClashes(list);
  options.concatenate = request.concatenate;
  options.weld = request.weld;
  WavefrontOBJ::MergeReport merged;
  {
    ProgressBar bar("writing " + output->name());
    options.progress = bar.progress();
    require(merge(list, options, *output, &merged));
  }
  outputs.push_back(std::move(output));
  commitOutputs(outputs);
  announce(*outputs.back(), merged.counts);
  report(merged, *outputs.back());
  report(clashes);
}

}  // namespace

void addMerge(CommandLine& line) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("merge", "Put parts together, or models behind one another", kFooter);
  command.add_option("MODEL", request->models, "OBJ files to read")->required()->type_name("");
  addOutput(command, request->output, "OBJ file to write; - for standard output");
  command.add_flag("--weld", request->weld, "Share vertices of the same digits between the files");
  command.add_flag("--concatenate", request->concatenate, "Pass over what files say of being parts");
  command.add_flag("--copy-materials", request->options.copyMaterials,
                   "Copy the libraries and their textures to the output's folder");
  line.setWork(command, [request] { run(*request); });
}

}  // namespace smthgrp
