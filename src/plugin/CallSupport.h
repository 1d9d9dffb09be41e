#pragma once

#include <cstring>
#include <string_view>

// What the plug-in calls have in common.

/// Copies the text into the host's buffer, which has room for it. Nothing for a null buffer.
inline void answer(char* block1, std::string_view text) {
  if (block1 == nullptr) return;
  std::memcpy(block1, text.data(), text.size());
  block1[text.size()] = '\0';
}

/// The work of a call; -1 for an exception.
template <class Work>
float guarded(Work work) {
  try {
    return work();
  } catch (...) {
    return -1.0F;
  }
}

constexpr float status(bool success) {
  return success ? 0.0F : -1.0F;
}
