#include "smthgrp/common/SafeFileNames.h"

#include <algorithm>

#include "smthgrp/common/LowerCase.h"

namespace smthgrp {
namespace {

/// Leaves room for a number and the ending in the 255 bytes that file systems take.
constexpr std::size_t kMaxBytes = 200;

std::string safe(std::string_view groupName) {
  std::string name(groupName.substr(0, kMaxBytes));
  // Not in the middle of a UTF-8 sequence.
  if (groupName.size() > kMaxBytes) {
    std::size_t end = kMaxBytes;
    while (end > 0 && (static_cast<unsigned char>(groupName[end]) & 0xC0U) == 0x80U) --end;
    if (end > 0) name.resize(end);
  }
  std::replace_if(
      name.begin(), name.end(),
      [](char c) {
        return c == '/' || c == '\\' || static_cast<unsigned char>(c) < 0x20 ||
               static_cast<unsigned char>(c) == 0x7F;
      },
      '_');
  // No hidden files, and no way out of the folder.
  const auto firstOther = std::find_if(name.begin(), name.end(), [](char c) { return c != '.'; });
  std::fill(name.begin(), firstOther, '_');
  return name.empty() ? "group" : name;
}

}  // namespace

std::string SafeFileNames::take(std::string_view groupName, std::string_view ending) {
  const std::string base = safe(groupName);
  std::string name = base;
  if (!taken_.insert(lowerCase(name)).second) {
    std::size_t& number = next_.try_emplace(lowerCase(base), 2).first->second;
    do {
      name = base + '_' + std::to_string(number++);
    } while (!taken_.insert(lowerCase(name)).second);
  }
  return name.append(ending);
}

}  // namespace smthgrp
