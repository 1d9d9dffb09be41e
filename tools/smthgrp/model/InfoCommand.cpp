#include <algorithm>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <unordered_map>
#include <vector>

#include "document/Lint.h"
#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/ReadingNote.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/common/TextTable.h"
#include "smthgrp/model/DocumentSummary.h"
#include "smthgrp/model/FindingsLine.h"
#include "smthgrp/model/HostGroups.h"
#include "smthgrp/model/HostInfo.h"
#include "smthgrp/model/ModelCounts.h"
#include "smthgrp/model/ReadDocument.h"

namespace smthgrp {
namespace {

using Json = nlohmann::ordered_json;
using WavefrontOBJ::Findings;
using WavefrontOBJ::OBJDocument;
using WavefrontOBJ::OBJStatement;
using WavefrontOBJ::Severity;
using WavefrontOBJ::VectorKind;

struct Request {
  std::vector<std::string> models;
  bool json = false;
  bool faces = false;
  bool asHost = false;
  bool all = false;  ///< list every line passed over that the library has kept
};

constexpr const char* kFooter = R"(Examples:
  smthgrp info robot.obj
  smthgrp info models/*.obj
  smthgrp info --json robot.obj | jq '.groups[].name'
  smthgrp info --json --faces robot.obj | jq '.groups[] | {name, faces}'

The vertices of a group are those that its elements use. Where the host reads
the file otherwise, the index that a group has there stands beside its own.)";

constexpr int kNoHostIndex = 0;

/// All that is told about one file.
struct Account {
  std::string file;
  ModelCounts counts;
  DocumentSummary summary;
  HostGroups host;
  std::vector<std::size_t> hostIndices;  ///< of each group, from 1; `kNoHostIndex` for none
  std::vector<std::size_t> onlyHost;     ///< host's indices, from 1, of groups that the document has not
  bool hostDiffers = false;
};

/// What the read has found, and of the numbers and libraries, which are looked at anyway.
Findings findingsOf(const OBJDocument& document) {
  Findings findings(1);
  ProgressBar bar("checking " + document.source().name());
  WavefrontOBJ::LintOptions options;
  options.geometry = false;
  options.progress = bar.progress();
  require(lint(document, options, findings));
  findings.add(document.findings());
  return findings;
}

void compareWithHost(Account& account) {
  std::vector<bool> seen(account.host.names.size());
  std::unordered_map<std::string, std::size_t> indices;
  for (std::size_t i = 0; i < seen.size(); ++i) indices.try_emplace(account.host.names[i], i + 1);
  for (const GroupSummary& group : account.summary.groups) {
    const auto found = indices.find(group.name);
    const std::size_t index = found == indices.end() ? kNoHostIndex : found->second;
    account.hostIndices.push_back(index);
    if (index != kNoHostIndex) seen[index - 1] = true;
    account.hostDiffers = account.hostDiffers || index != account.hostIndices.size();
  }
  for (std::size_t i = 0; i < seen.size(); ++i) {
    if (!seen[i]) account.onlyHost.push_back(i + 1);
  }
}

Account accountOf(const PluginOptions& plugin, const std::string& path, const OBJDocument& document) {
  Account account;
  account.file = inputName(path);
  account.summary = summarise(document);
  account.host = hostGroups(plugin, document);
  compareWithHost(account);
  const DocumentSummary& summary = account.summary;
  account.counts = {{"vertices", document.vectorCount(VectorKind::position)},
                    {"texture coordinates", document.vectorCount(VectorKind::texture)},
                    {"normals", document.vectorCount(VectorKind::normal)},
                    {"faces", document.faces().size()},
                    {"groups", summary.groups.size()},
                    {"smoothing groups", summary.smoothing.size()},
                    {"materials", summary.materials.size()},
                    {"objects", summary.objects.size()}};
  const ModelCounts rare = {{"lines", document.lines().size()},
                            {"points", document.points().size()},
                            {"parameter vertices", document.vectorCount(VectorKind::parameter)},
                            {"other statements", document.statements().size()}};
  for (const auto& row : rare) {
    if (row.second > 0) account.counts.push_back(row);
  }
  return account;
}

const char* textOf(OBJStatement::Kind kind) {
  switch (kind) {
    case OBJStatement::Kind::freeForm:
      return "free-form";
    case OBJStatement::Kind::display:
      return "display";
    case OBJStatement::Kind::inclusion:
      return "inclusion";
    default:
      return "unknown";
  }
}

void printJson(const Account& account, const Findings& findings, bool withFaces) {
  const DocumentSummary& summary = account.summary;
  Json out = {{"file", account.file}, {"counts", countsJson(account.counts)}, {"boundingBox", nullptr}};
  if (summary.box) out["boundingBox"] = {{"min", summary.box->least}, {"max", summary.box->greatest}};
  const auto hostIndex = [](std::size_t index) { return index == kNoHostIndex ? Json() : Json(index); };
  Json& groups = out["groups"] = Json::array();
  for (std::size_t i = 0; i < summary.groups.size(); ++i) {
    const GroupSummary& group = summary.groups[i];
    groups.push_back({{"index", i + 1},
                      {"hostIndex", hostIndex(account.hostIndices[i])},
                      {"name", group.name},
                      {"vertexCount", group.vertices},
                      {"faceCount", group.faces.size()},
                      {"triangles", group.triangles},
                      {"quads", group.quads},
                      {"more", group.more},
                      {"lines", group.lines},
                      {"points", group.points}});
    if (!withFaces) continue;
    Json& faces = groups.back()["faces"] = Json::array();
    for (const std::uint32_t face : group.faces) faces.push_back(std::uint64_t{face} + 1);
  }
  Json& host = out["host"] = {{"error", nullptr}, {"otherGroups", Json::array()}};
  if (!account.host.error.empty()) host["error"] = account.host.error;
  for (const std::size_t index : account.onlyHost) {
    host["otherGroups"].push_back({{"hostIndex", index}, {"name", account.host.names[index - 1]}});
  }
  Json& smoothing = out["smoothingGroups"] = Json::array();
  for (const SmoothingSummary& row : summary.smoothing) {
    smoothing.push_back({{"number", row.number}, {"faceCount", row.faces}});
  }
  out["facesWithoutSmoothingGroup"] = summary.facesWithoutSmoothing;
  Json& objects = out["objects"] = Json::array();
  for (const NamedFaces& row : summary.objects) {
    objects.push_back({{"name", row.name}, {"faceCount", row.faces}});
  }
  Json& materials = out["materials"] = Json::array();
  for (const NamedFaces& row : summary.materials) {
    const Json library = row.library < 0 ? Json() : Json(summary.libraries[row.library].name);
    materials.push_back({{"name", row.name}, {"faceCount", row.faces}, {"library", library}});
  }
  out["facesWithoutMaterial"] = summary.facesWithoutMaterial;
  Json& libraries = out["libraries"] = Json::array();
  for (const LibrarySummary& row : summary.libraries) {
    libraries.push_back({{"name", row.name},
                         {"found", row.found},
                         {"materialCount", row.found ? Json(row.materials) : Json()}});
  }
  Json& statements = out["statements"] = Json::array();
  for (const StatementSummary& row : summary.statements) {
    statements.push_back({{"kind", textOf(row.kind)}, {"keyword", row.keyword}, {"count", row.count}});
  }
  out["findings"] = {{"errors", findings.count(Severity::error, false)},
                     {"warnings", findings.count(Severity::warning, false)},
                     {"notes", findings.count(Severity::note, false)},
                     {"text", findingsLine(findings)}};
  // Names are bytes of the file in whatever encoding.
  std::printf("%s\n", out.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

void printLines(const Account& account, const Findings& findings) {
  if (const auto& box = account.summary.box) {
    std::printf("  %-19s  %g %g %g to %g %g %g\n", "bounding box", box->least[0], box->least[1],
                box->least[2], box->greatest[0], box->greatest[1], box->greatest[2]);
  }
  const std::string line = findingsLine(findings);
  std::printf("  %-19s  %s\n", "findings", line.empty() ? "none" : line.c_str());
  if (!account.host.error.empty()) {
    std::printf("  %-19s  cannot read this file: %s\n", "the host", printable(account.host.error).c_str());
  }
}

void printGroups(const Account& account) {
  const auto& groups = account.summary.groups;
  const auto none = [&](std::uint32_t GroupSummary::*count) {
    return std::all_of(groups.begin(), groups.end(),
                       [&](const GroupSummary& group) { return group.*count == 0; });
  };
  const bool host = account.hostDiffers && account.host.error.empty();
  TextTable table("Groups", {{"index"},
                             {"host's", false, !host},
                             {"faces"},
                             {"triangles"},
                             {"quads"},
                             {"more"},
                             {"lines", false, none(&GroupSummary::lines)},
                             {"points", false, none(&GroupSummary::points)},
                             {"vertices"},
                             {"name", true}});
  for (std::size_t i = 0; i < groups.size(); ++i) {
    const GroupSummary& group = groups[i];
    const std::size_t index = account.hostIndices[i];
    table.add({std::to_string(i + 1), index == kNoHostIndex ? "-" : std::to_string(index),
               std::to_string(group.faces.size()), std::to_string(group.triangles),
               std::to_string(group.quads), std::to_string(group.more), std::to_string(group.lines),
               std::to_string(group.points), std::to_string(group.vertices), printable(group.name)});
  }
  table.print();
  TextTable others("Groups that only the host has", {{"host's"}, {"name", true}});
  for (const std::size_t index : account.onlyHost) {
    others.add({std::to_string(index), printable(account.host.names[index - 1])});
  }
  others.print();
}

void printTables(const DocumentSummary& summary) {
  TextTable smoothing("Smoothing groups", {{"number"}, {"faces"}});
  for (const SmoothingSummary& row : summary.smoothing) {
    smoothing.add({std::to_string(row.number), std::to_string(row.faces)});
  }
  if (!summary.smoothing.empty() && summary.facesWithoutSmoothing > 0) {
    smoothing.add({"off", std::to_string(summary.facesWithoutSmoothing)});
  }
  smoothing.print();
  TextTable objects("Objects", {{"faces"}, {"name", true}});
  for (const NamedFaces& row : summary.objects) objects.add({std::to_string(row.faces), printable(row.name)});
  objects.print();
  TextTable materials("Materials", {{"faces"}, {"library", true}, {"name", true}});
  for (const NamedFaces& row : summary.materials) {
    const bool missing = row.library < 0;
    materials.add({std::to_string(row.faces),
                   missing ? "(missing)" : printable(summary.libraries[row.library].name),
                   printable(row.name)});
  }
  if (!summary.materials.empty() && summary.facesWithoutMaterial > 0) {
    materials.add({std::to_string(summary.facesWithoutMaterial), "", "(none)"});
  }
  materials.print();
  TextTable libraries("Material libraries", {{"materials"}, {"name", true}});
  for (const LibrarySummary& row : summary.libraries) {
    libraries.add({row.found ? std::to_string(row.materials) : "(missing)", printable(row.name)});
  }
  libraries.print();
  TextTable statements("Other statements", {{"count"}, {"kind", true}, {"keyword", true}});
  for (const StatementSummary& row : summary.statements) {
    statements.add({std::to_string(row.count), textOf(row.kind), printable(row.keyword, 60)});
  }
  statements.print();
}

void describe(const PluginOptions& plugin, const Request& request, const std::string& path) {
  if (request.asHost) {
    PluginLibrary library(plugin.file);
    return printHostInfo(library, path, request.json, request.all);
  }
  OBJDocument document;
  require(tryReadDocument(path, document, 1));
  const Findings findings = findingsOf(document);
  if (const std::string text = findingsLine(findings); !text.empty()) {
    tellReading(inputName(path), text + "; see smthgrp lint");
  }
  const Account account = accountOf(plugin, path, document);
  if (request.json) return printJson(account, findings, request.faces);
  printCounts(account.file, account.counts);
  printLines(account, findings);
  printGroups(account);
  printTables(account.summary);
}

void run(const PluginOptions& plugin, const Request& request) {
  bool failed = false;
  for (const std::string& path : request.models) {
    if (!request.json && &path != request.models.data()) std::printf("\n");
    try {
      describe(plugin, request, path);
    } catch (const Failure& failure) {
      failed = true;
      tellFailure(failure.what());
      if (!request.json) continue;
      const Json out = {{"file", inputName(path)}, {"error", failure.what()}};
      std::printf("%s\n", out.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
    }
  }
  if (failed) throw ExitStatus{kDataError};
}

}  // namespace

void addInfo(CommandLine& line, const PluginOptions& plugin) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("info", "Print counts, groups, materials and what was doubted", kFooter);
  command.add_option("MODEL", request->models, "OBJ files to read; - for standard input")
      ->required()
      ->type_name("");
  CLI::Option* const json =
      command.add_flag("--json", request->json, "Print JSON, one document for each file");
  command.add_flag("--faces", request->faces, "List the faces of each group, from 1")->needs(json);
  CLI::Option* const asHost = command.add_flag(
      "--as-host", request->asHost, "Print what the host has of the file, through the plug-in's calls");
  command.add_flag("--all", request->all, "List more than the first 20 skipped lines")->needs(asHost);
  line.setWork(command, [&plugin, request] { run(plugin, *request); });
}

}  // namespace smthgrp
