#pragma once

#include <optional>
#include <string_view>

#include "obj/OBJAssert.h"

// What the plug-in calls have in common.

/// Copies the text into the host's buffer, as much of it as the text limit lets through. Nothing for a null
/// buffer.
void answer(char* block1, std::string_view text);

/// Assertions that fail meanwhile are answered, where the program has asked for it.
class AssertionsAsAsked {
 public:
  AssertionsAsAsked();

 private:
  std::optional<WavefrontOBJ::OBJAnsweredAssertions> answered_;
};

/// Frees the current model and writes to `block1` why.
void giveUpModel(char* block1, const WavefrontOBJ::OBJFailedAssertion& failed) noexcept;

/// The work of a call; -1 for an exception, and for a failed assertion where such are answered.
template <class Work>
float guarded(char* block1, Work work) {
  try {
    const AssertionsAsAsked assertions;
    return work();
  } catch (const WavefrontOBJ::OBJFailedAssertion& failed) {
    giveUpModel(block1, failed);
    return -1.0F;
  } catch (...) {
    return -1.0F;
  }
}

constexpr float status(bool success) {
  return success ? 0.0F : -1.0F;
}
