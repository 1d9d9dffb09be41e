#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "document/Output.h"
#include "smthgrp/plugin/PluginLibrary.h"

namespace smthgrp {

struct WrittenFile {
  std::uint64_t vertices = 0;
  std::uint64_t faces = 0;
};

/// Has the export call `name` write `number` to an open output and makes sure that all of it arrived, which
/// the library does not look after. The output is finished, not committed. None when the call finds nothing
/// to write. Throws a Failure when it cannot be written.
std::optional<WrittenFile> exportTo(PluginLibrary& library, const char* name, double number,
                                    WavefrontOBJ::Output& output);

}  // namespace smthgrp
