#pragma once

#include <string>

#include "smthgrp/plugin/PluginLibrary.h"

namespace smthgrp {

/// Prints what the host has of the OBJ file at `path` once the plug-in has loaded it, and the lines that were
/// passed over: with `all` every one that the library has kept.
void printHostInfo(PluginLibrary& library, const std::string& path, bool json, bool all);

}  // namespace smthgrp
