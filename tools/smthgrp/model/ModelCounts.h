#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "smthgrp/common/TerminalText.h"

namespace smthgrp {

/// How much a model has of what: "texture coordinates", 912.
using ModelCounts = std::vector<std::pair<const char*, std::size_t>>;

/// With "texture coordinates" as a key: textureCoordinates.
inline nlohmann::ordered_json countsJson(const ModelCounts& counts) {
  nlohmann::ordered_json object = nlohmann::ordered_json::object();
  for (const auto& [label, count] : counts) {
    std::string key;
    bool upper = false;
    for (const char* c = label; *c != '\0'; ++c) {
      if (*c != ' ') key += upper ? static_cast<char>(*c - 'a' + 'A') : *c;
      upper = *c == ' ';
    }
    object[key] = count;
  }
  return object;
}

inline void printCounts(const std::string& file, const ModelCounts& counts) {
  std::printf("%s\n", printable(file).c_str());
  std::size_t width = 1;
  for (const auto& row : counts) width = std::max(width, std::to_string(row.second).size());
  for (const auto& [label, count] : counts) {
    std::printf("  %-19s  %*zu\n", label, static_cast<int>(width), count);
  }
}

}  // namespace smthgrp
