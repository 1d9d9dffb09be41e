#pragma once

#include "smthgrp/common/CommandLine.h"

// The commands that stand behind "psd".

namespace smthgrp {

void addPsdInfo(CommandLine& line, CLI::App& psd);
void addPsdFlatten(CommandLine& line, CLI::App& psd);
void addPsdLayers(CommandLine& line, CLI::App& psd);

}  // namespace smthgrp
