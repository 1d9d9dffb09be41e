#pragma once

#include <string>

namespace smthgrp {

/// The path that stands for standard input.
inline constexpr const char* kStandardInput = "-";

/// `path` as messages call it.
std::string inputName(const std::string& path);

/// The path to open for `path`.
std::string inputPath(const std::string& path);

/// Throws a Failure when there is no file at `path`, or no standard input, that can be opened for reading.
void requireReadable(const std::string& path);

}  // namespace smthgrp
