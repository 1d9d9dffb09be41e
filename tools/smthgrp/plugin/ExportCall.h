#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "smthgrp/plugin/PluginLibrary.h"

namespace smthgrp {

struct WrittenFile {
  std::uint64_t vertices = 0;
  std::uint64_t faces = 0;
  bool announce = true;  ///< false for a device, a pipe and what standard output goes to
};

/// Has the export call `name` write `number` to the file at `path` and makes sure that all of it arrived,
/// which the library does not look after. None when the call finds nothing to write. Throws a Failure when
/// the file cannot be written.
std::optional<WrittenFile> exportTo(PluginLibrary& library, const char* name, double number,
                                    const std::string& path);

}  // namespace smthgrp
