#include "Summary.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include "Benches.h"

namespace bench {
namespace {

std::string text(const char* format, std::optional<double> value) {
  if (!value) return "-";
  char buffer[64];
  static_cast<void>(std::snprintf(buffer, sizeof buffer, format, *value));
  return buffer;
}

/// Rows of one comparison: seconds, ns per face and the ratio to the plug-in.
void printComparison(const Results& results, const std::string& family,
                     std::initializer_list<const char*> names) {
  const auto ours = results.find(family + "/plugin");
  for (const char* name : names) {
    const auto result = results.find(family + "/" + name);
    std::optional<double> seconds;
    std::optional<double> nsPerFace;
    std::optional<double> ratio;
    if (result) seconds = result->seconds;
    if (result) nsPerFace = result->nsPerFace;
    if (result && ours) ratio = result->seconds / ours->seconds;
    std::printf("  %-22s %10s %12s %10s\n", name, text("%.3f s", seconds).c_str(),
                text("%.0f ns/face", nsPerFace).c_str(), text("%.2f x", ratio).c_str());
  }
}

void printScaling(const Results& results) {
  std::printf("\nns per face by sheet, and the largest over the smallest of the three sizes\n");
  std::printf("  %-22s", "");
  for (const ScalingSheet& sheet : kScalingSheets) std::printf(" %14s", sheet.name);
  std::printf(" %8s\n", "max/min");
  for (const char* call : kScalingCalls) {
    std::printf("  %-22s", call);
    double smallest = 0.0;
    double largest = 0.0;
    for (const ScalingSheet& sheet : kScalingSheets) {
      const auto result = results.find(std::string(call) + "/" + sheet.name);
      std::optional<double> nsPerFace;
      if (result) nsPerFace = result->nsPerFace;
      std::printf(" %14s", text("%.1f", nsPerFace).c_str());
      if (!result || sheet.shape.interleaved) continue;
      smallest = smallest == 0.0 ? *nsPerFace : std::min(smallest, *nsPerFace);
      largest = std::max(largest, *nsPerFace);
    }
    std::optional<double> ratio;
    if (smallest > 0.0) ratio = largest / smallest;
    std::printf(" %8s\n", text("%.2f", ratio).c_str());
  }
  std::printf(
      "  scale_group_export is per face of the group; an interleaved group's vertex range is the whole "
      "sheet.\n");
}

/// One row of the mesh table: ns per face or corner, and the slower fan over the sheet.
void printMeshRow(const Results& results, const char* label, const std::string& call, bool perCorner) {
  std::printf("  %-34s", label);
  std::optional<double> sheet;
  std::optional<double> slowest;
  for (const NamedMeshModel& model : kMeshModels) {
    const auto result = results.find(call + "/" + model.name);
    std::optional<double> ns;
    if (result) ns = result->nsPerFace / (perCorner ? model.corners : 1);
    std::printf(" %15s", text("%.2f ns", ns).c_str());
    if (model.model == MeshModel::sheet) {
      sheet = ns;
    } else if (ns) {
      slowest = std::max(slowest.value_or(0.0), *ns);
    }
  }
  std::optional<double> ratio;
  if (sheet && slowest) ratio = *slowest / *sheet;
  std::printf(" %12s\n", text("%.2f x", ratio).c_str());
}

void printMesh(const Results& results) {
  std::printf("\nMarking a host's mesh\n  %-34s", "");
  for (const NamedMeshModel& model : kMeshModels) std::printf(" %15s", model.name);
  std::printf(" %12s\n", "fan/sheet");
  printMeshRow(results, "mask, per corner of the group", "mesh_mask", true);
  printMeshRow(results, "first crease, per face of the model", "mesh_first_crease", false);
  printMeshRow(results, "later crease, per face of the group", "mesh_later_crease", false);
}

/// `how` is the program's second argument, or null.
void printMemory(const std::string& program, const std::string& model, const char* how) {
  std::printf("\nMemory of the %s, in a process of its own\n", how == nullptr ? "loaded sheet" : how);
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    execl(program.c_str(), program.c_str(), model.c_str(), how, static_cast<char*>(nullptr));
    std::perror(program.c_str());
    _exit(127);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || status != 0) std::printf("  not measured\n");
}

}  // namespace

void printSummary(const Results& results, SheetFiles& files, const std::string& memoryProgram) {
  const SheetFile& sheet = files.get(kComparedSheet);
  std::printf("\nSheet of %llu faces, %.1f MB; best of the iterations, ratio to the plug-in\n",
              static_cast<unsigned long long>(sheet.shape.faceCount()),
              static_cast<double>(sheet.bytes) / 1e6);
  std::printf("Loading\n");
  printComparison(results, "load", {"plugin", "document", "tinyobjloader", "assimp"});
  std::printf("Writing the whole model\n");
  printComparison(results, "export",
                  {"plugin", "stream", "stream_endl", "document", "document_safe", "assimp"});
  printScaling(results);
  printMesh(results);
  printMemory(memoryProgram, sheet.path, nullptr);
  printMemory(memoryProgram, sheet.path, "document");
}

}  // namespace bench
