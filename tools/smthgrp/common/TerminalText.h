#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace smthgrp {

inline constexpr std::size_t kAnyWidth = static_cast<std::size_t>(-1);

/// The text with everything escaped that would garble a terminal: control characters (\r, \t, \x1b), bytes
/// that are not UTF-8 and marks that turn the writing direction. Text past `maxWidth` columns is cut off and
/// ends in "...".
std::string printable(std::string_view text, std::size_t maxWidth = kAnyWidth);

/// The same in double quotes, with " and \ escaped as well.
std::string quoted(std::string_view text, std::size_t maxWidth = kAnyWidth);

/// "1 face", "2 faces"; an empty `plural` stands for the noun with an "s".
std::string counted(std::size_t count, std::string_view noun, std::string_view plural = "");

}  // namespace smthgrp
