#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace smthgrp {

/// Writes a page of the manual for the program and one for each of its commands into a folder that is there,
/// as `smthgrp.1`, `smthgrp-info.1` and so on. They say what --help says, from the same declarations. Throws
/// a Failure.
void writeManual(const CLI::App& program, const std::string& folder);

}  // namespace smthgrp
