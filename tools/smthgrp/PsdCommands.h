#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace smthgrp {

/// Adds "psd" with its subcommands, each of which leaves in `run` what is to be done. They work on files
/// alone and need no plug-in.
void addPsd(CLI::App& app, std::function<void()>& run);

}  // namespace smthgrp
