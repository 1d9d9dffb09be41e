#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace smthgrp {

/// Prints what a shell may put in the place of the last of `words`, which are those behind the program's name
/// as they are typed so far. The first line is `words`, `folders`, or `files` with the ending that they
/// should have, if any; the lines behind `words` are those that begin as the last word does.
void complete(const CLI::App& program, const std::vector<std::string>& words);

}  // namespace smthgrp
