#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace smthgrp {

/// Up to `most` names that are like `wanted`, the likest first.
std::vector<std::string> similarNames(const std::vector<std::string>& names, std::string_view wanted,
                                      std::size_t most);

/// "; did you mean "a", "b" or "c"?" with up to three names that are like `wanted`; nothing where none is.
std::string suggestion(const std::vector<std::string>& names, std::string_view wanted);

}  // namespace smthgrp
