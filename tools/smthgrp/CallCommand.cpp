#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

#include "smthgrp/CallScript.h"
#include "smthgrp/Commands.h"
#include "smthgrp/Failure.h"
#include "smthgrp/ModelFile.h"
#include "smthgrp/TerminalText.h"

namespace smthgrp {
namespace {

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
  return answerText(library.call(call.name, call.text ? call.text->c_str() : nullptr, call.number));
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

}  // namespace

void runCall(PluginLibrary& library, const CallRequest& request) {
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

}  // namespace smthgrp
