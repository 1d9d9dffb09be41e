#pragma once

#include <string>

#include "smthgrp/plugin/ExportCall.h"

namespace smthgrp {

/// Prints what was written to `path`, but not into it.
void announce(const std::string& path, const WrittenFile& written);

/// A whole-model write puts texture coordinates on its "vn" lines, one for each normal. Where the array has
/// none, not even an unused slot, the library stops in the middle of the file.
void requireWholeModelWritable(const WavefrontOBJ::OBJModel& model, const std::string& path);

/// Writes the current model, which was read from `modelPath`, to `output`, and says so.
void exportWholeModel(PluginLibrary& library, const std::string& modelPath, const std::string& output);

}  // namespace smthgrp
