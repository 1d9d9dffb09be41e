#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "document/Fix.h"
#include "document/Materials.h"
#include "document/Output.h"
#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/SafeOutput.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/model/PartOptions.h"
#include "smthgrp/model/ReadDocument.h"

namespace smthgrp {
namespace {

using WavefrontOBJ::FixEffect;
using WavefrontOBJ::FixReport;
using WavefrontOBJ::FixRow;

struct Request {
  std::string model;   ///< "-" for standard input
  std::string output;  ///< "-" for standard output
  bool inPlace = false;
  bool json = false;
  WavefrontOBJ::FixOptions options;
};

constexpr const char* kFooter = R"(Examples:
  smthgrp fix scan.obj -o good.obj       a copy that every program reads alike
  smthgrp fix scan.obj --in-place        the file itself
  smthgrp fix scene.obj -o good.obj --objects --one-name

The same model: absolute indices, plain lines, finite numbers, faces of at most
88 corners, at most 255 smoothing groups with every border between them kept.
What was changed, what had to be left out and what stays that cannot be said to
the host is listed.)";

struct EffectText {
  FixEffect effect;
  const char* key;
  const char* title;
};
constexpr EffectText kEffects[] = {{FixEffect::rewritten, "changed", "Changed"},
                                   {FixEffect::leftOut, "left-out", "Left out"},
                                   {FixEffect::unsaid, "unsaid", "Stays, but cannot be said to the host"}};

void printText(std::FILE* file, const FixReport& report) {
  for (const EffectText& effect : kEffects) {
    if (report.count(effect.effect) == 0) continue;
    std::fprintf(file, "\n%s\n", effect.title);
    for (const FixRow& row : WavefrontOBJ::kFixKinds) {
      const std::uint64_t count = report.count(row.kind);
      if (row.effect != effect.effect || count == 0) continue;
      std::string where;
      for (const WavefrontOBJ::FixPlace& place : report.places()) {
        if (place.kind != row.kind) continue;
        if (place.line != 0)
          where = (count > 1 ? ", first in line " : ", line ") + std::to_string(place.line);
        if (!place.text.empty()) where += ": " + quoted(place.text, 40);
        break;
      }
      std::fprintf(file, "  %6llu  %s [%s]%s\n", static_cast<unsigned long long>(count),
                   std::string(row.text).c_str(), std::string(row.code).c_str(), where.c_str());
    }
  }
}

void printJson(const Request& request, const FixReport& report, const WavefrontOBJ::WriteCounts& counts) {
  using Json = nlohmann::ordered_json;
  Json document = {{"file", request.model}, {"output", request.output}};
  document["counts"] = {{"vertices", counts.vectors[0]}, {"faces", counts.elements[0]}};
  for (const EffectText& effect : kEffects) document["counts"][effect.key] = report.count(effect.effect);
  Json& fixes = document["fixes"] = Json::array();
  for (const FixRow& row : WavefrontOBJ::kFixKinds) {
    if (report.count(row.kind) == 0) continue;
    Json places = Json::array();
    for (const WavefrontOBJ::FixPlace& place : report.places()) {
      if (place.kind != row.kind) continue;
      places.push_back({{"line", place.line == 0 ? Json() : Json(place.line)}, {"text", place.text}});
    }
    fixes.push_back({{"kind", row.code},
                     {"effect", kEffects[static_cast<std::size_t>(row.effect)].key},
                     {"text", row.text},
                     {"count", report.count(row.kind)},
                     {"places", places}});
  }
  // Names are bytes of the file in whatever encoding.
  std::printf("%s\n", document.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

void run(Request request) {
  if (request.inPlace == !request.output.empty()) {
    throw Failure("fix needs either --output or --in-place", kUsageError);
  }
  if (request.inPlace && request.model == kStandardInput) {
    throw Failure("standard input cannot be fixed in place", kUsageError);
  }
  if (request.inPlace) request.output = request.model;
  WavefrontOBJ::Output output(request.output);
  openOutput(output, request.model);
  if (request.json && output.isStandardOutput()) {
    throw Failure("the model and --json cannot both go to standard output", kUsageError);
  }
  WavefrontOBJ::OBJDocument document;
  readDocument(request.model, document);
  if (request.inPlace && holdsNothing(document)) {
    throw Failure(output.name() + ": there is nothing of a model in it; it stays as it is");
  }
  requireModel(document);
  std::vector<std::string> libraries;
  std::vector<std::unique_ptr<WavefrontOBJ::Output>> copies;  // none are asked for
  if (!output.isDirect()) {
    libraries = takeLibraries(document, {}, WavefrontOBJ::folderPrefix(output.path()), copies);
  }
  if (!libraries.empty()) request.options.libraries = &libraries;
  FixReport report;
  WavefrontOBJ::WriteCounts counts;
  {
    ProgressBar bar("writing " + output.name());
    request.options.progress = bar.progress();
    require(fix(document, request.options, output, report, &counts));
  }
  require(output.commit());
  if (request.json) {
    printJson(request, report, counts);
    return;
  }
  std::FILE* const file = output.isStandardOutput() ? stderr : stdout;
  std::fprintf(file, "%s: %s, %s\n", printable(output.name()).c_str(),
               counted(counts.vectors[0], "vertex", "vertices").c_str(),
               counted(counts.elements[0], "face").c_str());
  printText(file, report);
}

}  // namespace

void addFix(CommandLine& line) {
  const auto request = std::make_shared<Request>();
  CLI::App& command =
      line.add("fix", "Write the model so that every program reads it alike, the host too", kFooter);
  addInput(command, "MODEL", request->model, "OBJ file to read; - for standard input");
  command.add_option("-o,--output", request->output, "OBJ file to write; - for standard output")
      ->type_name("FILE");
  command.add_flag("--in-place", request->inPlace, "Write over the file that is read");
  command.add_flag("--objects", request->options.objects, "Make a group of each object as well");
  command.add_flag("--one-name", request->options.oneName,
                   "Make one name of a \"g\" line: left_ear of left ear");
  command.add_flag("--json", request->json, "List what was done as JSON");
  line.setWork(command, [request] { run(*request); });
}

}  // namespace smthgrp
