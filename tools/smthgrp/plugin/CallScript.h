#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace smthgrp {

/// One call as a person writes it.
struct ScriptCall {
  std::string name;
  std::optional<std::string> text;  ///< none: a null text
  double number = 0.0;
};

/// Parses `NAME [TEXT] [NUMBER]` with TEXT bare, in double quotes (\" and \\ inside) or - for a null text.
/// A # where a word could begin starts a comment. None for a line without a call. Throws a Failure with
/// status 2 that says what is wrong with the line.
std::optional<ScriptCall> parseScriptLine(std::string_view line);

/// The number that `text` is in full. Throws a Failure with status 2 when it is none.
double parseCallNumber(const std::string& text);

/// Throws a Failure with status 2 for a name that no plug-in call has.
void requireCallName(const std::string& name);

}  // namespace smthgrp
