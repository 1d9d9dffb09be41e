#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace smthgrp {

/// Index from 1 of the group that `wanted` means: the one of exactly this name or else, for digits, the one
/// of this index. Throws a Failure that names similar groups when there is none.
std::size_t chooseGroup(const std::vector<std::string>& names, std::string_view wanted,
                        const std::string& modelPath);

/// Index from 1 of the smoothing group that carries this number. Throws a Failure when there is none.
std::size_t chooseSmoothingGroup(const std::vector<std::uint32_t>& numbers, std::uint32_t wanted,
                                 const std::string& modelPath);

}  // namespace smthgrp
