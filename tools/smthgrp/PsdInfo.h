#pragma once

#include <string>

namespace smthgrp {

/// Prints what is in the PSD file at `path`.
void printPsdInfo(const std::string& path, bool json);

}  // namespace smthgrp
