#include "smthgrp/model/Completion.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "document/SelectionPatterns.h"
#include "smthgrp/plugin/PluginLibrary.h"

namespace smthgrp {
namespace {

/// A word as the shell will hand it over: without quotes.
std::string unquoted(const std::string& typed) {
  std::string word;
  char quote = 0;
  for (std::size_t i = 0; i < typed.size(); ++i) {
    const char c = typed[i];
    if (quote == 0 && (c == '"' || c == '\'')) {
      quote = c;
    } else if (quote != 0 && c == quote) {
      quote = 0;
    } else if (c == '\\' && quote != '\'' && i + 1 < typed.size()) {
      word += typed[++i];
    } else {
      word += c;
    }
  }
  const char* const home = typed.starts_with("~/") ? std::getenv("HOME") : nullptr;
  return home == nullptr ? word : home + word.substr(1);
}

/// What is known of the line in front of the word.
struct Line {
  const CLI::App* command;
  const CLI::Option* wanting = nullptr;  ///< the option whose value the word is
  std::vector<std::string> values;       ///< that belong to no option
};

const CLI::Option* optionOf(const CLI::App* command, const std::string& word) {
  for (; command != nullptr; command = command->get_parent()) {
    if (const CLI::Option* const option = command->get_option_no_throw(word)) return option;
  }
  return nullptr;
}

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

const CLI::App* commandOf(const CLI::App& app, const std::string& word) {
  for (const CLI::App* command : commandsOf(app)) {
    if (command->get_name() == word) return command;
  }
  return nullptr;
}

bool takesValue(const CLI::Option* option) {
  return option->get_items_expected_max() > 0;
}

bool isOption(const std::string& word) {
  return word.size() > 1 && word[0] == '-';
}

Line lineOf(const CLI::App& program, const std::vector<std::string>& words) {
  Line line{&program, nullptr, {}};
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    const std::string& word = words[i];
    if (line.wanting != nullptr) {
      line.wanting = nullptr;
    } else if (isOption(word)) {
      const CLI::Option* const option = optionOf(line.command, word);
      if (option != nullptr && takesValue(option)) line.wanting = option;
    } else if (const CLI::App* const command = commandOf(*line.command, word)) {
      line.command = command;
    } else {
      line.values.push_back(word);
    }
  }
  return line;
}

std::vector<std::string> namesOf(const std::vector<WavefrontOBJ::OBJName>& list) {
  std::vector<std::string> names;
  names.reserve(list.size());
  for (const WavefrontOBJ::OBJName& name : list) names.push_back(name.text);
  return names;
}

/// The names of `kind` in the first file on the line that can be read.
std::vector<std::string> partNames(const Line& line, const std::string& option) {
  for (const std::string& file : line.values) {
    std::error_code none;
    WavefrontOBJ::OBJDocument document;
    if (!std::filesystem::is_regular_file(file, none) || !document.read(file)) continue;
    if (option == "object") return namesOf(document.objects());
    if (option == "material") return namesOf(document.materials());
    if (option == "group" || option == "mask" || option == "crease") return namesOf(document.groups());
    std::vector<std::string> numbers;
    for (const std::uint64_t number : smoothingNumbers(document)) numbers.push_back(std::to_string(number));
    return numbers;
  }
  return {};
}

void printWords(std::vector<std::string> words, const std::string& begin) {
  std::sort(words.begin(), words.end());
  words.erase(std::unique(words.begin(), words.end()), words.end());
  std::printf("words\n");
  for (const std::string& word : words) {
    if (word.starts_with(begin)) std::printf("%s\n", word.c_str());
  }
}

/// An option's value, by what its help calls it: "a|b" are the values themselves, "NAME" and "NUMBER" parts
/// of the model.
void printValues(const Line& line, const CLI::Option& option, const std::string& begin) {
  const std::string kind = option.get_type_name();
  const std::string name = option.get_lnames().empty() ? "" : option.get_lnames()[0];
  if (kind == "DIR") {
    std::printf("folders\n");
  } else if (kind == "FILE") {
    std::printf("files\n");
  } else if (kind.starts_with("NAME") || kind == "NUMBER") {
    printWords(partNames(line, name), begin);
  } else if (kind.find('|') != std::string::npos) {
    printWords(CLI::detail::split(kind, '|'), begin);
  } else {
    printWords({}, begin);
  }
}

/// A value by its place on the line. All that are neither calls nor texts of calls are files.
void printPlace(const Line& line, const std::string& begin) {
  const bool isCall = line.command->get_name() == "call";
  const bool isPsd = line.command->get_parent() != nullptr && line.command->get_parent()->get_name() == "psd";
  if (isCall && line.values.empty()) {
    printWords(CLI::detail::split(PluginLibrary::callNames(","), ','), begin);
  } else {
    std::printf(isCall ? "files\n" : isPsd ? "files psd\n" : "files obj\n");
  }
}

std::vector<std::string> optionWords(const CLI::App* command) {
  std::vector<std::string> words;
  for (; command != nullptr; command = command->get_parent()) {
    for (const CLI::Option* option : command->get_options()) {
      if (option->get_group().empty()) continue;
      for (const std::string& name : option->get_lnames()) words.push_back("--" + name);
    }
  }
  return words;
}

}  // namespace

void complete(const CLI::App& program, const std::vector<std::string>& words) {
  std::vector<std::string> plain;
  std::transform(words.begin(), words.end(), std::back_inserter(plain), unquoted);
  if (plain.empty()) plain.emplace_back();
  const Line line = lineOf(program, plain);
  const std::string& last = plain.back();
  const std::size_t equals = last.find('=');
  if (line.wanting != nullptr) return printValues(line, *line.wanting, last);
  if (isOption(last) && equals != std::string::npos) {
    const CLI::Option* const option = optionOf(line.command, last.substr(0, equals));
    return option != nullptr && takesValue(option) ? printValues(line, *option, last.substr(equals + 1))
                                                   : printWords({}, "");
  }
  if (last.starts_with('-')) return printWords(optionWords(line.command), last);
  const std::vector<const CLI::App*> commands = commandsOf(*line.command);
  if (commands.empty()) return printPlace(line, last);
  std::vector<std::string> names;
  names.reserve(commands.size());
  for (const CLI::App* command : commands) names.push_back(command->get_name());
  printWords(names, last);
}

}  // namespace smthgrp
