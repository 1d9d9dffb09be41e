#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "document/Diff.h"
#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/model/ReadDocument.h"

namespace smthgrp {
namespace {

using WavefrontOBJ::Division;
using WavefrontOBJ::DocumentDifference;
using WavefrontOBJ::MembershipDifference;
using WavefrontOBJ::OBJDocument;

constexpr int kOtherTopology = 1;
constexpr int kUnreadable = 3;

struct Request {
  std::string first;
  std::string second;
  bool json = false;
};

constexpr const char* kFooter = R"(Examples:
  smthgrp diff robot.obj robot_pose.obj
  smthgrp diff a.obj b.obj --json | jq .positions.greatestMove

The topology is the same when both have as many vertices, and the same faces,
lines and points in the same order.

Exit status: 0 the same topology; 1 another; 2 wrong usage; 3 a file cannot be
read.)";

struct DivisionText {
  const char* noun;
  const char* key;
};

DivisionText textOf(Division division) {
  switch (division) {
    case Division::group:
      return {"group", "groups"};
    case Division::smoothing:
      return {"smoothing group", "smoothingGroups"};
    case Division::material:
      return {"material", "materials"};
    case Division::object:
      break;
  }
  return {"object", "objects"};
}

void printMembership(const MembershipDifference& row, const Request& request) {
  const std::string noun = textOf(row.division).noun;
  const std::string name = row.division == Division::smoothing ? row.name : quoted(row.name, 60);
  std::string text = row.name.empty() ? "without " + noun : noun + " " + name;
  if (row.present[0] && row.present[1]) {
    text += ": " + counted(row.faces[0], "face") + " and " + std::to_string(row.faces[1]) + ", " +
            std::to_string(row.facesOnly[0]) + " only in the first, " + std::to_string(row.facesOnly[1]) +
            " only in the second";
  } else {
    const std::size_t in = row.present[0] ? 0 : 1;
    text += ": " + counted(row.faces[in], "face") + ", only in " +
            printable(inputName(in == 0 ? request.first : request.second));
  }
  std::printf("%s\n", text.c_str());
}

void printText(const DocumentDifference& difference, const OBJDocument& a, const OBJDocument& b,
               const Request& request) {
  if (difference.topology) {
    std::printf("another topology: %s\n", printable(difference.topology->text(a, b)).c_str());
  } else {
    std::printf("same topology: %s, %s\n", counted(difference.vectors[0][0], "vertex", "vertices").c_str(),
                counted(difference.elements[0][0], "face").c_str());
  }
  for (const MembershipDifference& row : difference.memberships) printMembership(row, request);
  if (difference.facesWithOtherTextures > 0) {
    std::printf("%s with other texture coordinates\n",
                counted(difference.facesWithOtherTextures, "face").c_str());
  }
  if (difference.facesWithOtherNormals > 0) {
    std::printf("%s with other normals\n", counted(difference.facesWithOtherNormals, "face").c_str());
  }
  if (!difference.positionsCompared) return;
  std::printf("%s moved\n", counted(difference.moved, "vertex", "vertices").c_str());
  if (difference.moved == 0) return;
  const auto& from = difference.greatestPositions[0];
  const auto& to = difference.greatestPositions[1];
  std::printf("  mean move %g, greatest %g: vertex %u, lines %llu and %llu, from %g %g %g to %g %g %g\n",
              difference.meanMove, difference.greatestMove, difference.greatestVertex + 1,
              static_cast<unsigned long long>(difference.greatestLines[0]),
              static_cast<unsigned long long>(difference.greatestLines[1]), from[0], from[1], from[2], to[0],
              to[1], to[2]);
}

void printJson(const DocumentDifference& difference, const OBJDocument& a, const OBJDocument& b,
               const Request& request) {
  using Json = nlohmann::ordered_json;
  Json document = {{"files", {request.first, request.second}},
                   {"sameTopology", !difference.topology.has_value()}};
  if (const auto& topology = difference.topology) {
    document["firstDifference"] = {{"text", topology->text(a, b)}, {"lines", topology->lines}};
  }
  document["counts"] = Json::array();
  for (std::size_t i = 0; i < 2; ++i) {
    const auto& vectors = difference.vectors[i];
    const auto& elements = difference.elements[i];
    document["counts"].push_back({{"vertices", vectors[0]},
                                  {"textureCoordinates", vectors[1]},
                                  {"normals", vectors[2]},
                                  {"faces", elements[0]},
                                  {"lines", elements[1]},
                                  {"points", elements[2]}});
  }
  for (const Division division : {Division::group, Division::smoothing, Division::material, Division::object})
    document[textOf(division).key] = Json::array();
  for (const MembershipDifference& row : difference.memberships) {
    Json entry = {{"name", row.name}, {"faces", Json::array()}, {"facesOnly", row.facesOnly}};
    for (std::size_t i = 0; i < 2; ++i)
      entry["faces"].push_back(row.present[i] ? Json(row.faces[i]) : Json(nullptr));
    document[textOf(row.division).key].push_back(std::move(entry));
  }
  document["facesWithOtherTextures"] = difference.facesWithOtherTextures;
  document["facesWithOtherNormals"] = difference.facesWithOtherNormals;
  if (difference.positionsCompared) {
    Json positions = {{"moved", difference.moved}};
    if (difference.moved > 0) {
      positions["meanMove"] = difference.meanMove;
      positions["greatestMove"] = difference.greatestMove;
      positions["greatestVertex"] = difference.greatestVertex + 1;
      positions["greatestLines"] = difference.greatestLines;
      positions["greatestPositions"] = difference.greatestPositions;
    }
    document["positions"] = std::move(positions);
  }
  // Names are bytes of the file in whatever encoding.
  std::printf("%s\n", document.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

void readEither(const std::string& path, OBJDocument& document) {
  if (const auto result = tryReadDocument(path, document); !result) throw Failure(result.text, kUnreadable);
}

void run(const Request& request) {
  if (request.first == kStandardInput && request.second == kStandardInput) {
    throw Failure("only one of the models can be read from standard input", kUsageError);
  }
  OBJDocument a;
  OBJDocument b;
  readEither(request.first, a);
  readEither(request.second, b);
  DocumentDifference difference;
  {
    ProgressBar bar("comparing");
    const auto result = diff(a, b, difference, bar.progress());
    if (!result) throw Failure(result.text, kUnreadable);
  }
  if (request.json) {
    printJson(difference, a, b, request);
  } else {
    printText(difference, a, b, request);
  }
  if (difference.topology) throw ExitStatus{kOtherTopology};
}

}  // namespace

void addDiff(CommandLine& line) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("diff", "Compare topology, groups and positions of two models", kFooter);
  addInput(command, "A", request->first, "OBJ file to read; - for standard input");
  addInput(command, "B", request->second, "OBJ file to read; - for standard input");
  command.add_flag("--json", request->json, "Print JSON");
  line.setWork(command, [request] { run(*request); });
}

}  // namespace smthgrp
