#pragma once

#include <string>
#include <vector>

#include "smthgrp/plugin/PluginLibrary.h"

namespace smthgrp {

// What the commands write with --as-host: the bytes that the host writes through the plug-in's calls.

/// Writes the model, or the one group (name or index) or smoothing group (number) that is named.
void exportAsHost(PluginLibrary& library, const std::string& model, const std::vector<std::string>& groups,
                  const std::vector<std::string>& smoothingGroups, const std::string& output);

/// Writes every group into a file of its own.
void splitAsHost(PluginLibrary& library, const std::string& model, const std::string& folder);

/// Writes the model with the vertex positions of another.
void replaceAsHost(PluginLibrary& library, const std::string& model, const std::string& positions,
                   const std::string& output);

}  // namespace smthgrp
