#include "smthgrp/plugin/CallScript.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/plugin/PluginLibrary.h"

namespace smthgrp {
namespace {

constexpr std::string_view kBlanks = " \t\r";

struct Word {
  std::string text;
  bool inQuotes;
};

/// Takes the quoted word that `line` begins with off it.
Word takeQuoted(std::string_view& line) {
  Word word{"", true};
  line.remove_prefix(1);
  for (;;) {
    if (line.empty()) throw Failure("the closing quote is missing", kUsageError);
    char c = line[0];
    line.remove_prefix(1);
    if (c == '"') break;
    if (c == '\\') {
      if (line.empty() || (line[0] != '"' && line[0] != '\\')) {
        throw Failure(R"(\ in quotes must be followed by " or \)", kUsageError);
      }
      c = line[0];
      line.remove_prefix(1);
    }
    word.text += c;
  }
  if (!line.empty() && kBlanks.find(line[0]) == std::string_view::npos) {
    throw Failure("a blank must follow the closing quote", kUsageError);
  }
  return word;
}

std::vector<Word> splitWords(std::string_view line) {
  std::vector<Word> words;
  for (;;) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    if (line.empty() || line[0] == '#') return words;
    if (line[0] == '"') {
      words.push_back(takeQuoted(line));
    } else {
      const std::size_t end = std::min(line.find_first_of(kBlanks), line.size());
      words.push_back({std::string(line.substr(0, end)), false});
      line.remove_prefix(end);
    }
  }
}

}  // namespace

std::optional<ScriptCall> parseScriptLine(std::string_view line) {
  const std::vector<Word> words = splitWords(line);
  if (words.empty()) return std::nullopt;
  if (words.size() > 3)
    throw Failure("more than NAME TEXT NUMBER: " + quoted(words[3].text, 60), kUsageError);
  ScriptCall call;
  call.name = words[0].text;
  requireCallName(call.name);
  if (words.size() > 1 && (words[1].inQuotes || words[1].text != "-")) call.text = words[1].text;
  if (words.size() > 2) call.number = parseCallNumber(words[2].text);
  return call;
}

double parseCallNumber(const std::string& text) {
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  if (text.empty() || end != text.c_str() + text.size()) {
    throw Failure(quoted(text, 60) + " is not a number", kUsageError);
  }
  return number;
}

void requireCallName(const std::string& name) {
  if (PluginLibrary::isCall(name)) return;
  throw Failure("there is no call " + quoted(name, 60) + "; the calls are " + PluginLibrary::callNames(", "),
                kUsageError);
}

}  // namespace smthgrp
