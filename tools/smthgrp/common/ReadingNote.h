#pragma once

#include <string>

#include "smthgrp/common/CommandLine.h"

namespace smthgrp {

/// The option --quiet of all commands.
void addQuiet(CommandLine& line);

/// Prints what reading `file` left out or doubted, on standard error, unless that is empty or there is
/// --quiet.
void tellReading(const std::string& file, const std::string& text);

}  // namespace smthgrp
