#include "smthgrp/common/CommandLine.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <sstream>

#include "document/Output.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/SimilarNames.h"
#include "smthgrp/common/TerminalText.h"

namespace smthgrp {
namespace {

bool isNegativeNumber(const std::string& word) {
  if (word.size() < 2 || word[0] != '-') return false;
  char* end = nullptr;
  static_cast<void>(std::strtod(word.c_str(), &end));
  return *end == '\0';
}

constexpr std::size_t kHelpColumns = 80;

/// With line feeds in the place of blanks, so that no line is longer than `columns` unless it is one word.
std::string wrapped(std::string text, std::size_t columns) {
  std::size_t line = 0;
  while (text.size() - line > columns) {
    std::size_t blank = text.rfind(' ', line + columns);
    if (blank == std::string::npos || blank < line) blank = text.find(' ', line);
    if (blank == std::string::npos) break;
    text[blank] = '\n';
    line = blank + 1;
  }
  return text;
}

/// The parser's own, with the descriptions in lines that a terminal has room for.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_description(const CLI::App* command) const override {
    return wrapped(command->get_description(), kHelpColumns) + "\n";
  }
  std::string make_option_desc(const CLI::Option* option) const override {
    return wrapped(CLI::Formatter::make_option_desc(option), kHelpColumns - column_width_);
  }
  std::string make_subcommand(const CLI::App* command) const override {
    std::ostringstream out;
    CLI::detail::format_help(out, command->get_name(),
                             wrapped(command->get_description(), kHelpColumns - column_width_),
                             column_width_);
    return out.str();
  }
};

bool isOption(const std::string& word) {
  return word.size() > 1 && word[0] == '-' && word != "--";
}

std::vector<std::string> commandNames(const CLI::App& of) {
  std::vector<std::string> names;
  for (const CLI::App* command : of.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(command->get_name());
  }
  return names;
}

/// Those of the command and of all that it stands behind.
std::vector<std::string> optionNames(const CLI::App* command) {
  std::vector<std::string> names;
  for (; command != nullptr; command = command->get_parent()) {
    for (const CLI::Option* option : command->get_options()) {
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
  }
  return names;
}

/// `status`, once all that was printed has gone where it should.
int flushed(int status) {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) throw systemFailure("standard output");
  return status;
}

}  // namespace

CommandLine::CommandLine(const char* description, const char* footer) : app_(description) {
  app_.name("smthgrp");
  app_.formatter(std::make_shared<HelpFormatter>());
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

/// The last word first, as the parser wants it. The last word of "call X text -.5" is a number and no option,
/// which a "--" in front tells the parser.
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

/// What is wrong with the line. A word that the parser has no use for says more than what it then misses.
std::string CommandLine::complaint(const CLI::ParseError& error) const {
  const CLI::App* chosen = &app_;
  std::string name = app_.get_name();
  while (!chosen->get_subcommands().empty()) {
    chosen = chosen->get_subcommands()[0];
    name += " " + chosen->get_name();
  }
  const std::vector<std::string> commands = commandNames(*chosen);
  const std::vector<std::string> extras = app_.remaining(true);
  const auto option = std::find_if(extras.begin(), extras.end(), isOption);
  std::string text = error.what();
  if (!extras.empty() && !commands.empty() && option != extras.begin()) {
    text = "there is no command " + quoted(extras[0], 60) + suggestion(commands, extras[0]);
  } else if (option != extras.end()) {
    const std::string word = option->substr(0, option->find('='));
    text = "there is no option " + quoted(word, 60) + suggestion(optionNames(chosen), word);
  } else if (!commands.empty()) {
    text = "a command is needed";
  } else if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    text = "more than is expected:";
    for (const std::string& extra : extras) text += " " + quoted(extra, 60);
  }
  return text + (text.ends_with('?') ? " See " : "; see ") + name + " --help";
}

int CommandLine::parseAndRun(int argc, char** argv) {
  const auto hidden = argc > 1 ? hidden_.find(argv[1]) : hidden_.end();
  try {
    if (hidden != hidden_.end()) {
      setWork([&] { hidden->second({argv + 2, argv + argc}); });
    } else {
      app_.parse(parserWords(argc, argv));
    }
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return flushed(app_.exit(error));
    return reportFailure(complaint(error), kUsageError);
  }
  if (!work_) throw Failure("a command is needed; smthgrp --help lists them", kUsageError);
  try {
    work_();
  } catch (const ExitStatus& end) {
    return flushed(end.status);
  }
  return flushed(EXIT_SUCCESS);
}

int CommandLine::reportFailure(const std::string& message, int status) const {
  tellFailure(message);
  if (status == kUsageError || !wantsJson()) return status;
  const nlohmann::ordered_json told = {{"error", message}};
  std::printf("%s\n", told.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
  return status;
}

/// The command was to print JSON, and nothing else, to standard output.
bool CommandLine::wantsJson() const {
  const CLI::App* chosen = &app_;
  while (!chosen->get_subcommands().empty()) chosen = chosen->get_subcommands()[0];
  const CLI::Option* const json = chosen->get_option_no_throw("--json");
  const CLI::Option* const output = chosen->get_option_no_throw("--output");
  if (json == nullptr || json->count() == 0) return false;
  return output == nullptr || output->count() == 0 || output->results()[0] != "-";
}

int CommandLine::run(int argc, char** argv) {
  // A file size limit then fails the write instead of ending the process.
  std::signal(SIGXFSZ, SIG_IGN);
  WavefrontOBJ::Output::removeTemporariesOnSignals();
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

void tellFailure(const std::string& message) {
  std::fflush(stdout);
  std::fprintf(stderr, "smthgrp: %s\n", printable(message).c_str());
}

void tellWarning(const std::string& message) {
  std::fprintf(stderr, "smthgrp: warning: %s\n", printable(message).c_str());
}

void addInput(CLI::App& command, const char* name, std::string& file, const char* description) {
  command.add_option(name, file, description)->required()->type_name("");
}

void addOutput(CLI::App& command, std::string& target, const char* description, const char* kind) {
  command.add_option("-o,--output", target, description)->required()->type_name(kind);
}

}  // namespace smthgrp
