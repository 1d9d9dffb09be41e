#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/InputFile.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/plugin/CallScript.h"
#include "smthgrp/plugin/CurrentModel.h"
#include "smthgrp/plugin/PluginLibrary.h"

namespace smthgrp {
namespace {

struct Request {
  std::optional<std::string> name;
  std::optional<std::string> text;
  std::optional<std::string> number;
  std::string script = "-";  ///< read where no name is given; "-" for standard input
};

constexpr const char* kFooter = R"(Examples:
  smthgrp call Version
  smthgrp call LoadOBJFile robot.obj
  printf 'LoadOBJFile robot.obj\nGetOBJGroupInfo name 2\n' | smthgrp call
  smthgrp call --script calls.txt

A script has one call a line, NAME [TEXT] [NUMBER]. All its calls are made in
one process and thus on one current model. TEXT may be in double quotes, with \"
and \\ inside; - is a null text. # starts a comment.)";

/// The value, and behind it the text if there is one. Whole numbers in full: most are counts.
std::string answerText(const PluginLibrary::Answer& answer) {
  constexpr std::size_t kTextWidth = 4096;
  constexpr float kFullBelow = 1e15F;
  char value[32];
  const bool whole = std::trunc(answer.value) == answer.value && std::fabs(answer.value) < kFullBelow;
  std::snprintf(value, sizeof value, whole ? "%.0f" : "%g", static_cast<double>(answer.value));
  std::string text = value;
  if (!answer.text.empty()) text += "  " + quoted(answer.text, kTextWidth);
  return text;
}

std::string make(PluginLibrary& library, const ScriptCall& call) {
  PluginLibrary::workOn(call.text.value_or(call.name));
  const PluginLibrary::Answer answer =
      library.call(call.name, call.text ? call.text->c_str() : nullptr, call.number);
  if (call.name == "LoadOBJFile" && isCutShort(library)) {
    std::fprintf(stderr, "smthgrp: note: %s: cannot be read to its end\n",
                 printable(call.text.value_or("")).c_str());
  }
  return answerText(answer);
}

void runScript(PluginLibrary& library, std::istream& script, const std::string& name) {
  std::string line;
  for (std::size_t lineNumber = 1; std::getline(script, line); ++lineNumber) {
    try {
      const std::optional<ScriptCall> call = parseScriptLine(line);
      if (!call) continue;
      const std::string answer = make(library, *call);
      std::printf("%s -> %s\n", call->name.c_str(), answer.c_str());
      std::fflush(stdout);
    } catch (const Failure& failure) {
      throw Failure(name + ": line " + std::to_string(lineNumber) + ": " + failure.what(), failure.status());
    }
  }
}

void run(PluginLibrary& library, const Request& request) {
  if (request.name) {
    ScriptCall call{*request.name, request.text, 0.0};
    requireCallName(call.name);
    if (call.text == "-") call.text.reset();
    if (request.number) call.number = parseCallNumber(*request.number);
    std::printf("%s\n", make(library, call).c_str());
  } else if (request.script == "-") {
    if (isatty(STDIN_FILENO) == 1) {
      std::fputs("One call a line: NAME [TEXT] [NUMBER]. Ctrl-D ends.\n", stderr);
    }
    runScript(library, std::cin, "standard input");
  } else {
    requireReadable(request.script);
    std::ifstream script(request.script);
    if (!script.is_open()) throw systemFailure(request.script);
    runScript(library, script, request.script);
  }
}

}  // namespace

void addCall(CommandLine& line, const PluginOptions& plugin) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("call", "Make plug-in calls by hand",
                               "Calls:\n  " + PluginLibrary::callNames("\n  ") + "\n\n" + kFooter);
  line.takeNegativeNumbers(command);
  command.add_option("NAME", request->name, "Call to make; without it, calls are read from a script")
      ->type_name("");
  command.add_option("TEXT", request->text, "Its text; - (the default) for a null text")->type_name("");
  command.add_option("NUMBER", request->number, "Its number, by default 0")->type_name("");
  CLI::Option* const script = command.add_option(
      "--script", request->script, "File to read calls from; - (the default) for standard input");
  script->type_name("FILE");
  command.callback([&line, &plugin, request, script] {
    if (request->name && script->count() > 0) {
      throw CLI::ValidationError("NAME and --script exclude each other");
    }
    line.setWork([&plugin, request] {
      PluginLibrary library(plugin.file);
      run(library, *request);
    });
  });
}

}  // namespace smthgrp
