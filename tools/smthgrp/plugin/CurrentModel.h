#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "smthgrp/plugin/PluginLibrary.h"

namespace smthgrp {

/// Makes the OBJ file at `path`, `kStandardInput` for what comes in there, the library's current model.
/// Throws a Failure that names the file and why it cannot be read.
const WavefrontOBJ::OBJModel& loadModel(PluginLibrary& library, const std::string& path);
/// The same, and says in a line on standard error what the library passed over.
const WavefrontOBJ::OBJModel& loadModelAndTell(PluginLibrary& library, const std::string& path);

/// An error of reading ended the text of the current model's file, which the library takes for its end.
bool isCutShort(PluginLibrary& library);

std::uint32_t vertexCount(PluginLibrary& library);
std::uint32_t faceCount(PluginLibrary& library);
std::size_t groupCount(PluginLibrary& library);
/// The names of the groups in the order of their indices.
std::vector<std::string> groupNames(PluginLibrary& library);
/// The smoothing-group numbers in the order of their indices.
std::vector<std::uint32_t> smoothingGroups(PluginLibrary& library);

}  // namespace smthgrp
