#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/HostMesh.h"
#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/InputFile.h"
#include "smthgrp/common/LowerCase.h"
#include "smthgrp/common/SafeOutput.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/mesh/LongFaces.h"
#include "smthgrp/mesh/MeshFile.h"
#include "smthgrp/mesh/MeshImport.h"
#include "smthgrp/mesh/MeshMarks.h"
#include "smthgrp/model/GroupChoice.h"
#include "smthgrp/plugin/CurrentModel.h"

namespace smthgrp {
namespace {

/// One mark for the host's mesh, or the value of the masks behind it.
struct Step {
  enum class Kind { maskValue, mask, crease };
  enum class Of { group, smoothingGroup, everySmoothingGroup };

  Kind kind = Kind::mask;
  Of of = Of::group;
  std::string group{};       ///< name or index
  std::uint32_t number = 0;  ///< of the smoothing group, or the mask value
};

struct Request {
  std::string model;
  std::optional<std::string> output;  ///< "-" for standard output
  std::vector<Step> steps;            ///< in the order of the command line
  bool json = false;
};

using Kind = Step::Kind;
using Of = Step::Of;

constexpr const char* kFooter = R"(Examples:
  smthgrp mesh robot.obj --mask head
  smthgrp mesh robot.obj --mask head --mask-value 128 --mask eyes -o masked.ply
  smthgrp mesh robot.obj --crease-all-smoothing -o creased.obj
  smthgrp mesh robot.obj --crease 2 --json | jq '.calls[].edgesCreased'

The mesh is the stand-in host's, imported with the vertices and faces of the
model. Marks may be given several times and are made in the order of the command
line. A --mask-value holds for the masks behind it, the first one for those
before it as well.

A PLY file has the masks as a vertex property "mask" and as colours, and the
creased edges as its edge element with a property "crease" of 1. An OBJ file has
the masks as vertex colours and the creased edges as l lines.)";

/// In full. The library's own value starts at 0, which marks nothing.
constexpr std::uint8_t kDefaultMaskValue = 255;

/// One call to make on one group.
struct Operation {
  Kind kind;
  bool smoothing;      ///< a smoothing group's
  std::size_t index;   ///< from 1
  std::uint8_t value;  ///< of a mask
};

/// What became of it.
struct Outcome {
  float answer = 0.0F;
  std::uint64_t masked = 0;   ///< vertices
  std::uint64_t creased = 0;  ///< edges
  std::uint64_t shared = 0;   ///< vertices of the group that other groups of its kind use as well
};

/// What the steps of the command line are taken from.
struct Groups {
  std::vector<std::string> names;
  std::vector<std::uint32_t> smoothing;
};

std::vector<Operation> operations(const Request& request, const Groups& groups) {
  const auto isValue = [](const Step& step) { return step.kind == Kind::maskValue; };
  const auto firstValue = std::find_if(request.steps.begin(), request.steps.end(), isValue);
  std::uint8_t value =
      firstValue == request.steps.end() ? kDefaultMaskValue : static_cast<std::uint8_t>(firstValue->number);
  std::vector<Operation> list;
  for (const Step& step : request.steps) {
    if (isValue(step)) {
      value = static_cast<std::uint8_t>(step.number);
    } else if (step.of == Of::group) {
      list.push_back({step.kind, false, chooseGroup(groups.names, step.group, request.model), value});
    } else if (step.of == Of::smoothingGroup) {
      const std::size_t index = chooseSmoothingGroup(groups.smoothing, step.number, request.model);
      list.push_back({step.kind, true, index, value});
    } else {
      if (groups.smoothing.empty()) throw Failure(request.model + ": the model has no smoothing groups");
      for (std::size_t i = 1; i <= groups.smoothing.size(); ++i) list.push_back({step.kind, true, i, value});
    }
  }
  return list;
}

std::string groupText(const Operation& operation, const Groups& groups) {
  if (operation.smoothing) return "smoothing group " + std::to_string(groups.smoothing[operation.index - 1]);
  return "group " + std::to_string(operation.index) + " " + quoted(groups.names[operation.index - 1], 60);
}

/// The mesh calls of one run, on one mesh that is imported from the current model. All must outlive this.
class MeshSession {
 public:
  MeshSession(PluginLibrary& library, const Request& request, const Groups& groups,
              const host::MeshDescription& description, host::HostMesh& mesh)
      : library_(library),
        path_(request.model),
        groups_(groups),
        description_(description),
        mesh_(mesh),
        groupUse_(VertexUse::ofGroups(*library.model(), groups.names, description)),
        smoothingUse_(VertexUse::ofSmoothingGroups(*library.model(), groups.smoothing, description)) {}

  const host::HostMesh& mesh() const { return mesh_; }
  const host::MeshDescription& description() const { return description_; }

  Outcome run(const Operation& operation) {
    Outcome outcome;
    outcome.shared = use(operation).shared(operation.index);
    if (operation.kind == Kind::mask) {
      const MasksAside aside(mesh_, operation.value);
      if (library_.call("SetMesh3DInfo", "maskValue", operation.value, mesh_.hostData()).value != 0.0F) {
        throw Failure(path_ + ": the library did not take the mask value");
      }
      outcome.answer = mark(operation, "mask");
      outcome.masked = aside.written();
    } else {
      const CreasesAside aside(mesh_);
      outcome.answer = mark(operation, "crease");
      outcome.creased = creasedEdges(mesh_, description_).size();
    }
    return outcome;
  }

  /// The number of faces that the crease calls of the list counted neighbours for without creasing the edge.
  std::size_t facesCreasedInPart(const std::vector<Operation>& list) const {
    const auto creases = [](const Operation& operation) { return operation.kind == Kind::crease; };
    if (std::none_of(list.begin(), list.end(), creases)) return 0;
    LongFaces faces(description_);
    for (const Operation& operation : list) {
      if (creases(operation)) faces.addCreased(use(operation).faces(operation.index));
    }
    return faces.creasedInPart();
  }

 private:
  const VertexUse& use(const Operation& operation) const {
    return operation.smoothing ? smoothingUse_ : groupUse_;
  }

  float mark(const Operation& operation, const char* key) {
    const char* const call = operation.smoothing ? "SetMesh3DFromOBJSmoothGroup" : "SetMesh3DFromOBJGroup";
    const float answer =
        library_.call(call, key, static_cast<double>(operation.index), mesh_.hostData()).value;
    if (answer < 0.0F) {
      throw Failure(path_ + ": the library could not " + key + " " + groupText(operation, groups_) +
                    ", it answered " + std::to_string(static_cast<int>(answer)));
    }
    if (!mesh_.onlyMarksChanged()) {
      throw Failure(path_ + ": to " + key + " " + groupText(operation, groups_) +
                    " the library changed more of the mesh than its marks");
    }
    return answer;
  }

  PluginLibrary& library_;
  const std::string& path_;
  const Groups& groups_;
  const host::MeshDescription& description_;
  host::HostMesh& mesh_;
  VertexUse groupUse_;
  VertexUse smoothingUse_;
};

using FileMaker = MeshFile (*)(const host::HostMesh&, const host::MeshDescription&);

/// By the extension, which only devices, pipes and standard output need not have.
FileMaker fileMaker(const WavefrontOBJ::Output& output) {
  const std::string extension = lowerCase(std::filesystem::path(output.path()).extension().string());
  if (extension == ".obj") return &objFile;
  if (extension == ".ply") return &plyFile;
  if (extension.empty() && output.isDirect()) return &plyFile;
  throw Failure(output.path() + ": a marked mesh is written to NAME.ply or NAME.obj", kUsageError);
}

void printText(std::FILE* to, const MeshSession& session, const Request& request, const Groups& groups,
               const std::vector<Operation>& list, const std::vector<Outcome>& outcomes) {
  std::fprintf(to, "%s: %s, %s\n", printable(request.model).c_str(),
               counted(session.mesh().vertexCount(), "vertex", "vertices").c_str(),
               counted(session.mesh().faceCount(), "face").c_str());
  for (std::size_t i = 0; i < list.size(); ++i) {
    const Operation& operation = list[i];
    const Outcome& outcome = outcomes[i];
    const auto answer = static_cast<std::size_t>(outcome.answer);
    const std::string group = groupText(operation, groups);
    const char* const others = operation.smoothing ? "smoothing groups" : "groups";
    if (operation.kind == Kind::mask) {
      std::fprintf(to, "mask %s: %s, %s masked with %u, %llu of them shared with other %s\n", group.c_str(),
                   counted(answer, "write").c_str(), counted(outcome.masked, "vertex", "vertices").c_str(),
                   unsigned{operation.value}, static_cast<unsigned long long>(outcome.shared), others);
    } else {
      std::fprintf(to, "crease %s: %s beyond its border, %s creased, %llu vertices shared with other %s\n",
                   group.c_str(), counted(answer, "neighbour").c_str(),
                   counted(outcome.creased, "edge").c_str(), static_cast<unsigned long long>(outcome.shared),
                   others);
    }
  }
}

void printJson(std::FILE* to, const MeshSession& session, const Request& request, const Groups& groups,
               const std::vector<Operation>& list, const std::vector<Outcome>& outcomes,
               const std::vector<std::string>& notes) {
  using Json = nlohmann::ordered_json;
  Json document = {
      {"file", request.model},
      {"counts", {{"vertices", session.mesh().vertexCount()}, {"faces", session.mesh().faceCount()}}}};
  Json& calls = document["calls"] = Json::array();
  for (std::size_t i = 0; i < list.size(); ++i) {
    const Operation& operation = list[i];
    const Outcome& outcome = outcomes[i];
    const bool mask = operation.kind == Kind::mask;
    Json call = {{"call", operation.smoothing ? "SetMesh3DFromOBJSmoothGroup" : "SetMesh3DFromOBJGroup"},
                 {"key", mask ? "mask" : "crease"},
                 {"index", operation.index}};
    if (operation.smoothing) {
      call["smoothingGroup"] = groups.smoothing[operation.index - 1];
    } else {
      call["group"] = groups.names[operation.index - 1];
    }
    if (mask) call["maskValue"] = operation.value;
    call["answer"] = static_cast<std::uint64_t>(outcome.answer);
    call[mask ? "verticesMasked" : "edgesCreased"] = mask ? outcome.masked : outcome.creased;
    call["verticesShared"] = outcome.shared;
    calls.push_back(std::move(call));
  }
  document["mesh"] = {{"verticesMasked", maskedVertices(session.mesh())},
                      {"edgesCreased", creasedEdges(session.mesh(), session.description()).size()}};
  if (request.output) document["output"] = *request.output;
  document["notes"] = notes;
  // Names are bytes of the file in whatever encoding.
  std::fprintf(to, "%s\n", document.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

/// What the marks or the file leave out.
std::vector<std::string> notesOn(const MeshSession& session, const Request& request,
                                 const std::vector<Operation>& list, const MeshFile& file,
                                 const WavefrontOBJ::Output& output) {
  std::vector<std::string> notes;
  const std::size_t inPart = session.facesCreasedInPart(list);
  if (inPart > 0) {
    notes.push_back(counted(inPart, "face") +
                    " with a border beyond the fourth edge, which a host cannot crease");
  }
  const std::size_t leftOut = request.output ? session.mesh().faceCount() - file.faces : 0;
  if (leftOut > 0) {
    notes.push_back(output.name() + ": without " + counted(leftOut, "face") + " that " +
                    (leftOut == 1 ? "is" : "are") + " no polygon");
  }
  return notes;
}

void run(PluginLibrary& library, Request request) {
  WavefrontOBJ::Output output(request.output.value_or(""));
  if (request.output) openOutput(output, request.model);
  const FileMaker makeFile = request.output ? fileMaker(output) : nullptr;
  loadModelAndTell(library, request.model);
  request.model = inputName(request.model);
  const Groups groups{groupNames(library), smoothingGroups(library)};
  const std::vector<Operation> list = operations(request, groups);

  const host::MeshDescription description = importMesh(*library.model());
  host::HostMesh mesh(description);
  MeshSession session(library, request, groups, description, mesh);
  std::vector<Outcome> outcomes;
  outcomes.reserve(list.size());
  for (const Operation& operation : list) outcomes.push_back(session.run(operation));

  // A mesh on standard output is all that goes there.
  std::FILE* const to = output.isStandardOutput() ? stderr : stdout;
  MeshFile file;
  if (request.output) {
    file = makeFile(session.mesh(), session.description());
    commitOutput(output, file.content);
  }
  const std::vector<std::string> notes = notesOn(session, request, list, file, output);
  if (request.json) {
    printJson(to, session, request, groups, list, outcomes, notes);
    return;
  }
  printText(to, session, request, groups, list, outcomes);
  for (const std::string& note : notes) std::fprintf(stderr, "smthgrp: note: %s\n", printable(note).c_str());
  if (!request.output) return;
  std::fprintf(to, "%s: %s, %s, %s\n", printable(output.name()).c_str(),
               counted(session.mesh().vertexCount(), "vertex", "vertices").c_str(),
               counted(file.faces, "face").c_str(), counted(file.edges, "creased edge").c_str());
}

/// The options are taken in the order of the command line, whatever their kind.
void addSteps(CLI::App& command, std::vector<Step>& steps) {
  const auto addGroup = [&](const char* name, Kind kind, const char* description) {
    const auto add = [&steps, kind](const std::string& group) { steps.push_back({kind, Of::group, group}); };
    command.add_option_function<std::string>(name, add, description)
        ->type_name("NAME|INDEX")
        ->trigger_on_parse();
  };
  const auto addSmoothing = [&](const char* name, Kind kind, const char* description) {
    const auto add = [&steps, kind](const std::uint32_t& number) {
      steps.push_back({kind, Of::smoothingGroup, {}, number});
    };
    command.add_option_function<std::uint32_t>(name, add, description)
        ->type_name("NUMBER")
        ->trigger_on_parse();
  };
  addGroup("--mask", Kind::mask, "Mask the vertices of a group");
  addSmoothing("--mask-smoothing", Kind::mask, "Mask the vertices of a smoothing group, by its number");
  const auto addValue = [&steps](const std::uint32_t& value) {
    steps.push_back({Kind::maskValue, Of::group, {}, value});
  };
  command.add_option_function<std::uint32_t>("--mask-value", addValue, "Value of the masks, by default 255")
      ->check(CLI::Range(0, 255).description(""))
      ->type_name("0..255")
      ->trigger_on_parse();
  addGroup("--crease", Kind::crease, "Crease the border of a group");
  addSmoothing("--crease-smoothing", Kind::crease, "Crease the border of a smoothing group, by its number");
  const auto addAll = [&steps](std::int64_t /*times*/) {
    steps.push_back({Kind::crease, Of::everySmoothingGroup});
  };
  command.add_flag_function("--crease-all-smoothing", addAll, "Crease the borders of all smoothing groups")
      ->disable_flag_override()
      ->trigger_on_parse();
}

}  // namespace

void addMesh(CommandLine& line, const PluginOptions& plugin) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("mesh", "Mask and crease a host's mesh by groups of the model", kFooter);
  addInput(command, "MODEL", request->model, "OBJ file to read; - for standard input");
  addSteps(command, request->steps);
  command
      .add_option("-o,--output", request->output,
                  "PLY or OBJ file to write the mesh to; - for PLY on standard output")
      ->type_name("FILE");
  command.add_flag("--json", request->json, "Print JSON");
  command.callback([&line, &plugin, request] {
    const auto isValue = [](const Step& step) { return step.kind == Kind::maskValue; };
    if (std::all_of(request->steps.begin(), request->steps.end(), isValue)) {
      throw CLI::ValidationError("nothing to mask or crease");
    }
    line.setWork([&plugin, request] {
      PluginLibrary library(plugin.file);
      run(library, *request);
    });
  });
}

}  // namespace smthgrp
