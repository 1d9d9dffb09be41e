#pragma once

#include <string>

#include "smthgrp/common/CommandLine.h"

namespace smthgrp {

/// Where the commands that need the plug-in load it from.
struct PluginOptions {
  std::string file;
};

/// Adds the options --library and --version. `options` must outlive the line.
void addPluginOptions(CommandLine& line, PluginOptions& options);

}  // namespace smthgrp
