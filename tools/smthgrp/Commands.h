#pragma once

#include "smthgrp/common/CommandLine.h"
#include "smthgrp/plugin/PluginOptions.h"

// What main() puts together. Each command is a source of its own with its options, its help and its work.

namespace smthgrp {

void addInfo(CommandLine& line, const PluginOptions& plugin);
void addLint(CommandLine& line);
void addExport(CommandLine& line, const PluginOptions& plugin);
void addSplit(CommandLine& line, const PluginOptions& plugin);
void addReplace(CommandLine& line, const PluginOptions& plugin);
void addMerge(CommandLine& line);
void addDiff(CommandLine& line);
void addFix(CommandLine& line);
void addMesh(CommandLine& line, const PluginOptions& plugin);
void addCall(CommandLine& line, const PluginOptions& plugin);
void addPsd(CommandLine& line);

}  // namespace smthgrp
