#include "smthgrp/model/HostInfo.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "smthgrp/common/InputFile.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/common/TextTable.h"
#include "smthgrp/model/ModelCounts.h"
#include "smthgrp/plugin/CurrentModel.h"
#include "smthgrp/plugin/ReadNotes.h"

namespace smthgrp {
namespace {

using Note = WavefrontOBJ::OBJReadNote;

struct GroupRow {
  std::string name;
  std::uint32_t vertexCount;
};

struct ModelSummary {
  std::string path;
  ModelCounts counts;
  std::vector<GroupRow> groups;
  std::vector<std::uint32_t> smoothingGroups;
};

ModelSummary summarise(PluginLibrary& library, const std::string& path) {
  const WavefrontOBJ::OBJModel& model = loadModel(library, path);
  ModelSummary summary;
  summary.path = inputName(path);
  const std::vector<std::string> names = groupNames(library);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const float vertices = library.call("GetOBJGroupInfo", "vertexCount", static_cast<double>(i + 1)).value;
    summary.groups.push_back({names[i], static_cast<std::uint32_t>(vertices)});
  }
  summary.smoothingGroups = smoothingGroups(library);
  summary.counts = {
      {"vertices", vertexCount(library)},    {"texture coordinates", model._textureCoords->count},
      {"normals", model._normals->count},    {"faces", faceCount(library)},
      {"groups", summary.groups.size()},     {"smoothing groups", summary.smoothingGroups.size()},
      {"materials", model._materials.size()}};
  return summary;
}

void printJson(const ModelSummary& summary, const WavefrontOBJ::OBJReadNotes& notes) {
  using Json = nlohmann::ordered_json;
  Json document = {{"file", summary.path}, {"counts", countsJson(summary.counts)}};
  Json& groups = document["groups"] = Json::array();
  for (std::size_t i = 0; i < summary.groups.size(); ++i) {
    const GroupRow& group = summary.groups[i];
    groups.push_back({{"index", i + 1}, {"name", group.name}, {"vertexCount", group.vertexCount}});
  }
  Json& smoothing = document["smoothingGroups"] = Json::array();
  for (std::size_t i = 0; i < summary.smoothingGroups.size(); ++i) {
    smoothing.push_back({{"index", i + 1}, {"number", summary.smoothingGroups[i]}});
  }
  Json& skipped = document["skipped"] = {{"total", notes.total}, {"lines", Json::array()}};
  for (const Note& note : notes.kept) {
    const auto text = noteText(note.kind);
    skipped["lines"].push_back(
        {{"line", note.lineNumber}, {"kind", text.key}, {"reason", text.reason}, {"text", note.text}});
  }
  // Names are bytes of the file in whatever encoding.
  std::printf("%s\n", document.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

void printGroups(const std::vector<GroupRow>& groups) {
  TextTable table("Groups", {{"index"}, {"vertices"}, {"name", true}});
  for (const GroupRow& group : groups) {
    const std::string index = std::to_string(&group - groups.data() + 1);
    table.add({index, std::to_string(group.vertexCount), printable(group.name)});
  }
  table.print();
}

void printSmoothingGroups(const std::vector<std::uint32_t>& numbers) {
  TextTable table("Smoothing groups", {{"index"}, {"number"}});
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    table.add({std::to_string(i + 1), std::to_string(numbers[i])});
  }
  table.print();
}

void printNotes(const WavefrontOBJ::OBJReadNotes& notes, bool all) {
  constexpr std::size_t kFirstFew = 20;
  constexpr std::size_t kTextWidth = 100;
  const std::size_t shown = all ? notes.kept.size() : std::min(notes.kept.size(), kFirstFew);
  TextTable table("Skipped lines", {{"line"}, {"why", true}, {"text", true}});
  for (std::size_t i = 0; i < shown; ++i) {
    const Note& note = notes.kept[i];
    table.add(
        {std::to_string(note.lineNumber), noteText(note.kind).reason, printable(note.text, kTextWidth)});
  }
  table.print();
  if (notes.total > shown) std::printf("  ... and %zu more\n", notes.total - shown);
}

}  // namespace

void printHostInfo(PluginLibrary& library, const std::string& path, bool json, bool all) {
  const ModelSummary summary = summarise(library, path);
  const WavefrontOBJ::OBJReadNotes& notes = library.model()->_readNotes;
  if (json) {
    printJson(summary, notes);
    return;
  }
  printCounts(summary.path, summary.counts);
  printGroups(summary.groups);
  printSmoothingGroups(summary.smoothingGroups);
  printNotes(notes, all);
}

}  // namespace smthgrp
