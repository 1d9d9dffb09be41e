#include <algorithm>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "smthgrp/Commands.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/plugin/CurrentModel.h"
#include "smthgrp/plugin/ReadNotes.h"

namespace smthgrp {
namespace {

struct Request {
  std::string model;
  bool json = false;
  bool all = false;  ///< list every line passed over that the library has kept
};

constexpr const char* kFooter = R"(Examples:
  smthgrp info robot.obj
  smthgrp info --json robot.obj | jq '.groups[].name'

The vertices of a group are those of its vertex range: from the first to the
last that its faces use.)";

using Note = WavefrontOBJ::OBJReadNote;

struct GroupRow {
  std::string name;
  std::uint32_t vertexCount;
};

struct ModelSummary {
  std::string path;
  std::vector<std::pair<const char*, std::size_t>> counts;
  std::vector<GroupRow> groups;
  std::vector<std::uint32_t> smoothingGroups;
};

ModelSummary summarise(PluginLibrary& library, const std::string& path) {
  const WavefrontOBJ::OBJModel& model = loadModel(library, path);
  ModelSummary summary;
  summary.path = path;
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

/// "texture coordinates" as a key: textureCoordinates.
std::string jsonKey(const char* label) {
  std::string key;
  bool upper = false;
  for (; *label != '\0'; ++label) {
    if (*label != ' ') key += upper ? static_cast<char>(*label - 'a' + 'A') : *label;
    upper = *label == ' ';
  }
  return key;
}

void printJson(const ModelSummary& summary, const WavefrontOBJ::OBJReadNotes& notes) {
  using Json = nlohmann::ordered_json;
  Json document = {{"file", summary.path}, {"counts", Json::object()}};
  for (const auto& [label, count] : summary.counts) document["counts"][jsonKey(label)] = count;
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
    const NoteText text = noteText(note.kind);
    skipped["lines"].push_back(
        {{"line", note.lineNumber}, {"kind", text.key}, {"reason", text.reason}, {"text", note.text}});
  }
  // Names are bytes of the file in whatever encoding.
  std::printf("%s\n", document.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

int widest(std::size_t number, const char* title) {
  return static_cast<int>(std::max(std::to_string(number).size(), std::string(title).size()));
}

void printCounts(const ModelSummary& summary) {
  std::printf("%s\n", printable(summary.path).c_str());
  int width = 1;
  for (const auto& row : summary.counts) width = std::max(width, widest(row.second, ""));
  for (const auto& [label, count] : summary.counts) std::printf("  %-19s  %*zu\n", label, width, count);
}

/// Names come last: they may be of any length.
void printGroups(const std::vector<GroupRow>& groups) {
  if (groups.empty()) return;
  std::uint32_t most = 0;
  for (const GroupRow& group : groups) most = std::max(most, group.vertexCount);
  const int indexWidth = widest(groups.size(), "index");
  const int countWidth = widest(most, "vertices");
  std::printf("\nGroups\n  %*s  %*s  name\n", indexWidth, "index", countWidth, "vertices");
  for (std::size_t i = 0; i < groups.size(); ++i) {
    std::printf("  %*zu  %*u  %s\n", indexWidth, i + 1, countWidth, groups[i].vertexCount,
                printable(groups[i].name).c_str());
  }
}

void printSmoothingGroups(const std::vector<std::uint32_t>& numbers) {
  if (numbers.empty()) return;
  const int numberWidth = widest(*std::max_element(numbers.begin(), numbers.end()), "number");
  std::printf("\nSmoothing groups\n  index  %*s\n", numberWidth, "number");
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    std::printf("  %5zu  %*u\n", i + 1, numberWidth, numbers[i]);
  }
}

void printNotes(const WavefrontOBJ::OBJReadNotes& notes, bool all) {
  constexpr std::size_t kFirstFew = 20;
  constexpr std::size_t kTextWidth = 100;
  if (notes.total == 0) return;
  const std::size_t shown = all ? notes.kept.size() : std::min(notes.kept.size(), kFirstFew);
  std::size_t lastLine = 0;
  std::size_t reasonWidth = 0;
  for (std::size_t i = 0; i < shown; ++i) {
    lastLine = std::max(lastLine, notes.kept[i].lineNumber);
    reasonWidth = std::max(reasonWidth, std::string(noteText(notes.kept[i].kind).reason).size());
  }
  const int lineWidth = widest(lastLine, "line");
  std::printf("\nSkipped lines\n  %*s  %-*s  text\n", lineWidth, "line", static_cast<int>(reasonWidth),
              "why");
  for (std::size_t i = 0; i < shown; ++i) {
    const Note& note = notes.kept[i];
    std::printf("  %*zu  %-*s  %s\n", lineWidth, note.lineNumber, static_cast<int>(reasonWidth),
                noteText(note.kind).reason, printable(note.text, kTextWidth).c_str());
  }
  if (notes.total > shown) std::printf("  ... and %zu more\n", notes.total - shown);
}

void run(PluginLibrary& library, const Request& request) {
  const ModelSummary summary = summarise(library, request.model);
  const WavefrontOBJ::OBJReadNotes& notes = library.model()->_readNotes;
  if (request.json) {
    printJson(summary, notes);
    return;
  }
  printCounts(summary);
  printGroups(summary.groups);
  printSmoothingGroups(summary.smoothingGroups);
  printNotes(notes, request.all);
}

}  // namespace

void addInfo(CommandLine& line, const PluginOptions& plugin) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("info", "Print counts, groups and what the reader skipped", kFooter);
  addInput(command, "MODEL", request->model, "OBJ file to read");
  command.add_flag("--json", request->json, "Print JSON");
  command.add_flag("--all", request->all, "List more than the first 20 skipped lines");
  line.setWork(command, [&plugin, request] {
    PluginLibrary library(plugin.file);
    run(library, *request);
  });
}

}  // namespace smthgrp
