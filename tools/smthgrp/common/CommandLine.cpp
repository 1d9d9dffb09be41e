#include "smthgrp/common/CommandLine.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/TerminalText.h"

namespace smthgrp {
namespace {

bool isNegativeNumber(const std::string& word) {
  if (word.size() < 2 || word[0] != '-') return false;
  char* end = nullptr;
  static_cast<void>(std::strtod(word.c_str(), &end));
  return *end == '\0';
}

int reportFailure(const std::string& message, int status) {
  std::fflush(stdout);
  std::fprintf(stderr, "smthgrp: %s\n", printable(message).c_str());
  return status;
}

}  // namespace

CommandLine::CommandLine(const char* description, const char* footer) : app_(description) {
  app_.name("smthgrp");
  app_.footer(footer);
  app_.require_subcommand(0, 1);
  app_.fallthrough();
}

CLI::App& CommandLine::add(const char* name, const char* description, const std::string& footer,
                           CLI::App* parent) {
  CLI::App* const command = (parent != nullptr ? parent : &app_)->add_subcommand(name, description);
  if (!footer.empty()) command->footer(footer);
  return *command;
}

/// The last word first, as the parser wants it. "call X text -1" has a number for its last word and no option
/// -1, which the parser is told by a "--" in front.
std::vector<std::string> CommandLine::parserWords(int argc, char** argv) const {
  std::vector<std::string> words;
  bool takesNumbers = false;
  bool marked = false;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    marked = marked || word == "--";
    if (takesNumbers && !marked && isNegativeNumber(word)) {
      words.emplace_back("--");
      marked = true;
    }
    takesNumbers = takesNumbers || takesNumbers_.count(word) != 0;
    words.push_back(word);
  }
  return {words.rbegin(), words.rend()};
}

int CommandLine::parseAndRun(int argc, char** argv) {
  try {
    app_.parse(parserWords(argc, argv));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app_.exit(error);
    std::string command = app_.get_name();
    for (auto commands = app_.get_subcommands(); !commands.empty();
         commands = commands[0]->get_subcommands()) {
      command += " " + commands[0]->get_name();
    }
    return reportFailure(std::string(error.what()) + "; see " + command + " --help", kUsageError);
  }
  if (!work_) throw Failure("a command is needed; smthgrp --help lists them", kUsageError);
  work_();
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) throw systemFailure("standard output");
  return EXIT_SUCCESS;
}

int CommandLine::run(int argc, char** argv) {
  // A file size limit then fails the write instead of ending the process.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return parseAndRun(argc, argv);
  } catch (const Failure& failure) {
    return reportFailure(failure.what(), failure.status());
  } catch (const std::bad_alloc&) {
    return reportFailure("not enough memory", kDataError);
  } catch (const std::exception& error) {
    return reportFailure(error.what(), kDataError);
  }
}

void addInput(CLI::App& command, const char* name, std::string& file, const char* description) {
  command.add_option(name, file, description)->required()->type_name("");
}

void addOutput(CLI::App& command, std::string& target, const char* description, const char* kind) {
  command.add_option("-o,--output", target, description)->required()->type_name(kind);
}

}  // namespace smthgrp
