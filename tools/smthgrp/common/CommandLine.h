#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace smthgrp {

/// The program's command line. Each command puts itself, its options and its help into it, and leaves its
/// work there when it is the one that was chosen. The work is done once the whole line is known to be right.
class CommandLine {
 public:
  CommandLine(const char* description, const char* footer);

  /// For options that belong to no command.
  CLI::App& app() { return app_; }
  /// Adds a command; with `parent`, one that stands behind that command's name. Its help ends in `footer`, or
  /// without one as the help of the parent does.
  CLI::App& add(const char* name, const char* description, const std::string& footer,
                CLI::App* parent = nullptr);
  /// Has words like -.5 be values of the command, which then has no options of that form.
  void takeNegativeNumbers(const CLI::App& command) { takesNumbers_.insert(command.get_name()); }
  /// What to do when `command` is chosen. `work` prints to standard output and throws a Failure for what it
  /// cannot do.
  void setWork(CLI::App& command, const std::function<void()>& work) {
    command.callback([this, work] { setWork(work); });
  }
  /// What to do instead of whatever work there is: for callbacks of the parser's that look at the options.
  void setWork(std::function<void()> work) { work_ = std::move(work); }

  /// What to do where the first word is `name`: for what other programs ask for, in no help. `work` gets the
  /// words behind it.
  void addHidden(const char* name, std::function<void(const std::vector<std::string>& words)> work) {
    hidden_[name] = std::move(work);
  }

  /// Takes in the words of main() and does what they ask for. Answers the exit status.
  int run(int argc, char** argv);

 private:
  std::vector<std::string> parserWords(int argc, char** argv) const;
  std::string complaint(const CLI::ParseError& error) const;
  int parseAndRun(int argc, char** argv);
  int reportFailure(const std::string& message, int status) const;
  bool wantsJson() const;

  CLI::App app_;
  std::set<std::string> takesNumbers_;
  std::map<std::string, std::function<void(const std::vector<std::string>& words)>> hidden_;
  std::function<void()> work_;
};

/// Prints the line of a Failure, for commands that go on with another file.
void tellFailure(const std::string& message);
/// The same for what does not keep the command from its work.
void tellWarning(const std::string& message);

/// A file that the command has to be given by its place on the line.
void addInput(CLI::App& command, const char* name, std::string& file, const char* description);
/// The option -o, --output, which the command has to be given.
void addOutput(CLI::App& command, std::string& target, const char* description, const char* kind = "FILE");

}  // namespace smthgrp
