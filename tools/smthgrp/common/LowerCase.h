#pragma once

#include <string>
#include <string_view>

namespace smthgrp {

/// The text with A to Z as a to z, whatever the locale.
inline std::string lowerCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

}  // namespace smthgrp
