#pragma once

#include <string>

namespace smthgrp {

/// Throws a Failure when there is no file at `path` that can be opened for reading.
void requireReadable(const std::string& path);

}  // namespace smthgrp
