#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "smthgrp/Commands.h"
#include "smthgrp/Failure.h"
#include "smthgrp/PluginLibrary.h"
#include "smthgrp/PsdCommands.h"
#include "smthgrp/TerminalText.h"

namespace {

using smthgrp::Failure;
using smthgrp::PluginLibrary;

/// What the command line asks for.
struct Request {
  std::string library = PluginLibrary::defaultFile();
  bool version = false;
  smthgrp::InfoRequest info;
  smthgrp::ExportRequest exportModel;
  smthgrp::SplitRequest split;
  smthgrp::ReplaceRequest replace;
  smthgrp::MeshRequest mesh;
  smthgrp::CallRequest call;
  std::function<void(PluginLibrary&)> run;
  std::function<void()> runAlone;  ///< of a command that needs no plug-in
};

constexpr const char* kMainFooter = R"(Examples:
  smthgrp info robot.obj
  smthgrp export robot.obj -o head.obj --group head
  smthgrp split robot.obj -o parts
  smthgrp replace robot.obj robot_pose.obj -o posed.obj
  smthgrp mesh robot.obj --mask head --crease 2 -o marked.ply

Exit status: 0 done; 1 a file cannot be read or written, or does not have what was asked for; 2 wrong usage.
smthgrp COMMAND --help tells more about a command.)";

constexpr const char* kInfoFooter = R"(Examples:
  smthgrp info robot.obj
  smthgrp info --json robot.obj | jq '.groups[].name'

The vertices of a group are those of its vertex range: from the first to the last that its faces use.)";

constexpr const char* kExportFooter = R"(Examples:
  smthgrp export robot.obj -o copy.obj                        the whole model
  smthgrp export robot.obj -o head.obj --group head           the group "head"
  smthgrp export robot.obj -o second.obj --group 2            the second group
  smthgrp export robot.obj -o smooth.obj --smoothing-group 3  the faces behind "s 3"
  smthgrp export robot.obj -o rest.obj --smoothing-group 0    the faces outside smoothing groups)";

constexpr const char* kSplitFooter = R"(Example:
  smthgrp split robot.obj -o parts

Files are called after their groups. Characters that file names cannot have become _, and groups whose
files would have the same name get _2, _3 and so on. Files that are there are overwritten.)";

constexpr const char* kReplaceFooter = R"(Example:
  smthgrp replace robot.obj robot_pose.obj -o posed.obj

Both models must have the same number of vertices.)";

constexpr const char* kMeshFooter = R"(Examples:
  smthgrp mesh robot.obj --mask head
  smthgrp mesh robot.obj --mask head --mask-value 128 --mask eyes -o masked.ply
  smthgrp mesh robot.obj --crease-all-smoothing -o creased.obj
  smthgrp mesh robot.obj --crease 2 --crease-smoothing 3 --json | jq '.calls[].edgesCreased'

The mesh is the stand-in host's, imported with the vertices and faces of the model. Marks may be given several
times and are made in the order of the command line. A --mask-value holds for the masks behind it, the first
one for those before it as well.

A PLY file has the masks as a vertex property "mask" and as colours, and the creased edges as its edge element
with a property "crease" of 1. An OBJ file has the masks as vertex colours and the creased edges as l lines.)";

constexpr const char* kCallFooter = R"(Examples:
  smthgrp call Version
  smthgrp call LoadOBJFile robot.obj
  printf 'LoadOBJFile robot.obj\nGetOBJGroupInfo name 2\n' | smthgrp call
  smthgrp call --script calls.txt

A script has one call a line, NAME [TEXT] [NUMBER]. All its calls are made in one process and thus on one
current model. TEXT may be in double quotes, with \" and \\ inside; - is a null text. # starts a comment.)";

void addInfo(CLI::App& app, Request& request) {
  CLI::App* command = app.add_subcommand("info", "Print counts, groups and what the reader skipped");
  command->add_option("MODEL", request.info.model, "OBJ file to read")->required()->type_name("");
  command->add_flag("--json", request.info.json, "Print JSON");
  command->add_flag("--all", request.info.all, "List more than the first 20 skipped lines");
  command->footer(kInfoFooter);
  command->callback([&request] {
    request.run = [&request](PluginLibrary& library) { smthgrp::runInfo(library, request.info); };
  });
}

void addExport(CLI::App& app, Request& request) {
  CLI::App* command = app.add_subcommand("export", "Write the model, a group or a smoothing group");
  smthgrp::ExportRequest& target = request.exportModel;
  command->add_option("MODEL", target.model, "OBJ file to read")->required()->type_name("");
  command->add_option("-o,--output", target.output, "OBJ file to write; - for standard output")
      ->required()
      ->type_name("FILE");
  const auto setGroup = [&target](const std::string& group) { target.group = group; };
  CLI::Option* group =
      command->add_option_function<std::string>("-g,--group", setGroup, "Group to write, by name or index");
  group->type_name("NAME|INDEX");
  const auto setSmoothing = [&target](const std::uint32_t& number) { target.smoothingGroup = number; };
  command
      ->add_option_function<std::uint32_t>("-s,--smoothing-group", setSmoothing,
                                           "Smoothing group to write, by its number")
      ->type_name("NUMBER")
      ->excludes(group);
  command->footer(kExportFooter);
  command->callback([&request] {
    request.run = [&request](PluginLibrary& library) { smthgrp::runExport(library, request.exportModel); };
  });
}

void addSplit(CLI::App& app, Request& request) {
  CLI::App* command = app.add_subcommand("split", "Write every group into a file of its own");
  command->add_option("MODEL", request.split.model, "OBJ file to read")->required()->type_name("");
  command->add_option("-o,--output", request.split.folder, "Folder to write to, made if missing")
      ->required()
      ->type_name("DIR");
  command->footer(kSplitFooter);
  command->callback([&request] {
    request.run = [&request](PluginLibrary& library) { smthgrp::runSplit(library, request.split); };
  });
}

void addReplace(CLI::App& app, Request& request) {
  CLI::App* command = app.add_subcommand("replace", "Write the model with the vertex positions of another");
  smthgrp::ReplaceRequest& target = request.replace;
  command->add_option("MODEL", target.model, "OBJ file to read")->required()->type_name("");
  command->add_option("POSITIONS", target.positions, "OBJ file to take the positions from")
      ->required()
      ->type_name("");
  command->add_option("-o,--output", target.output, "OBJ file to write; - for standard output")
      ->required()
      ->type_name("FILE");
  command->footer(kReplaceFooter);
  command->callback([&request] {
    request.run = [&request](PluginLibrary& library) { smthgrp::runReplace(library, request.replace); };
  });
}

/// The options are taken in the order of the command line, whatever their kind.
void addMeshSteps(CLI::App& command, std::vector<smthgrp::MeshStep>& steps) {
  using Step = smthgrp::MeshStep;
  const auto addGroup = [&](const char* name, Step::Kind kind, const char* description) {
    const auto add = [&steps, kind](const std::string& group) {
      steps.push_back({kind, Step::Of::group, group});
    };
    command.add_option_function<std::string>(name, add, description)
        ->type_name("NAME|INDEX")
        ->trigger_on_parse();
  };
  const auto addSmoothing = [&](const char* name, Step::Kind kind, const char* description) {
    const auto add = [&steps, kind](const std::uint32_t& number) {
      steps.push_back({kind, Step::Of::smoothingGroup, {}, number});
    };
    command.add_option_function<std::uint32_t>(name, add, description)
        ->type_name("NUMBER")
        ->trigger_on_parse();
  };
  addGroup("--mask", Step::Kind::mask, "Mask the vertices of a group");
  addSmoothing("--mask-smoothing", Step::Kind::mask, "Mask the vertices of a smoothing group, by its number");
  const auto addValue = [&steps](const std::uint32_t& value) {
    steps.push_back({Step::Kind::maskValue, Step::Of::group, {}, value});
  };
  command.add_option_function<std::uint32_t>("--mask-value", addValue, "Value of the masks, by default 255")
      ->check(CLI::Range(0, 255).description(""))
      ->type_name("0..255")
      ->trigger_on_parse();
  addGroup("--crease", Step::Kind::crease, "Crease the border of a group");
  addSmoothing("--crease-smoothing", Step::Kind::crease,
               "Crease the border of a smoothing group, by its number");
  const auto addAll = [&steps](std::int64_t /*times*/) {
    steps.push_back({Step::Kind::crease, Step::Of::everySmoothingGroup});
  };
  command.add_flag_function("--crease-all-smoothing", addAll, "Crease the borders of all smoothing groups")
      ->disable_flag_override()
      ->trigger_on_parse();
}

void addMesh(CLI::App& app, Request& request) {
  CLI::App* command = app.add_subcommand("mesh", "Mask and crease a host's mesh by groups of the model");
  smthgrp::MeshRequest& target = request.mesh;
  command->add_option("MODEL", target.model, "OBJ file to read")->required()->type_name("");
  addMeshSteps(*command, target.steps);
  const auto setOutput = [&target](const std::string& output) { target.output = output; };
  command
      ->add_option_function<std::string>("-o,--output", setOutput,
                                         "PLY or OBJ file to write the mesh to; - for PLY on standard output")
      ->type_name("FILE");
  command->add_flag("--json", target.json, "Print JSON");
  command->footer(kMeshFooter);
  command->callback([&request] {
    const auto& steps = request.mesh.steps;
    if (std::all_of(steps.begin(), steps.end(), [](const smthgrp::MeshStep& step) {
          return step.kind == smthgrp::MeshStep::Kind::maskValue;
        })) {
      throw CLI::ValidationError("nothing to mask or crease");
    }
    request.run = [&request](PluginLibrary& library) { smthgrp::runMesh(library, request.mesh); };
  });
}

void addCall(CLI::App& app, Request& request) {
  CLI::App* command = app.add_subcommand("call", "Make plug-in calls by hand");
  smthgrp::CallRequest& target = request.call;
  const auto add = [command](const char* name, std::optional<std::string>& value, const char* description) {
    const auto set = [&value](const std::string& text) { value = text; };
    command->add_option_function<std::string>(name, set, description)->type_name("");
  };
  add("NAME", target.name, "Call to make; without it, calls are read from a script");
  add("TEXT", target.text, "Its text; - (the default) for a null text");
  add("NUMBER", target.number, "Its number, by default 0");
  command
      ->add_option("--script", target.script, "File to read calls from; - (the default) for standard input")
      ->type_name("FILE");
  command->footer("Calls:\n  " + PluginLibrary::callNames("\n  ") + "\n\n" + kCallFooter);
  command->callback([&request, command] {
    if (request.call.name && command->count("--script") > 0) {
      throw CLI::ValidationError("NAME and --script exclude each other");
    }
    request.run = [&request](PluginLibrary& library) { smthgrp::runCall(library, request.call); };
  });
}

void describe(CLI::App& app, Request& request) {
  app.name("smthgrp");
  app.footer(kMainFooter);
  app.add_option("--library", request.library, "Plug-in file; by default the one beside this program")
      ->type_name("FILE");
  app.add_flag("--version", request.version, "Print the version of the library");
  app.require_subcommand(0, 1);
  app.fallthrough();
  addInfo(app, request);
  addExport(app, request);
  addSplit(app, request);
  addReplace(app, request);
  addMesh(app, request);
  addCall(app, request);
  smthgrp::addPsd(app, request.runAlone);
}

bool isNegativeNumber(const std::string& word) {
  if (word.size() < 2 || word[0] != '-') return false;
  char* end = nullptr;
  static_cast<void>(std::strtod(word.c_str(), &end));
  return *end == '\0';
}

/// The command line, last word first as the parser wants it. "call X text -1" has a number for its last word
/// and no option -1, which the parser is told by a "--" in front.
std::vector<std::string> parserWords(int argc, char** argv) {
  std::vector<std::string> words;
  bool isCall = false;
  bool marked = false;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    marked = marked || word == "--";
    if (isCall && !marked && isNegativeNumber(word)) {
      words.emplace_back("--");
      marked = true;
    }
    isCall = isCall || word == "call";
    words.push_back(word);
  }
  return {words.rbegin(), words.rend()};
}

int reportFailure(const std::string& message, int status) {
  std::fflush(stdout);
  std::fprintf(stderr, "smthgrp: %s\n", smthgrp::printable(message).c_str());
  return status;
}

void runOnPlugin(const Request& request) {
  if (!request.version && !request.run) {
    throw Failure("a command is needed; smthgrp --help lists them", smthgrp::kUsageError);
  }
  PluginLibrary library(request.library);
  if (request.version) {
    std::printf("KSmthGrpImpt %g\n", static_cast<double>(library.call("Version").value));
  } else {
    request.run(library);
  }
}

void run(const Request& request) {
  if (request.runAlone && !request.version) {
    request.runAlone();
  } else {
    runOnPlugin(request);
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) throw smthgrp::systemFailure("standard output");
}

int parseAndRun(int argc, char** argv) {
  Request request;
  CLI::App app(
      "Reads OBJ models through the KSmthGrpImpt plug-in and writes their groups and smoothing groups.");
  describe(app, request);
  try {
    app.parse(parserWords(argc, argv));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    std::string command = "smthgrp";
    for (auto commands = app.get_subcommands(); !commands.empty();
         commands = commands[0]->get_subcommands()) {
      command += " " + commands[0]->get_name();
    }
    return reportFailure(std::string(error.what()) + "; see " + command + " --help", smthgrp::kUsageError);
  }
  run(request);
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  // A file size limit then fails the write instead of ending the process.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return parseAndRun(argc, argv);
  } catch (const Failure& failure) {
    return reportFailure(failure.what(), failure.status());
  } catch (const std::bad_alloc&) {
    return reportFailure("not enough memory", smthgrp::kDataError);
  } catch (const std::exception& error) {
    return reportFailure(error.what(), smthgrp::kDataError);
  }
}
