#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace WavefrontOBJ {

/// How work on a document or an output ended.
enum class Status : std::uint8_t {
  ok,
  cannotOpen,   ///< the file is not there or may not be opened
  readFailed,   ///< the system could not read
  changed,      ///< the file is not the one any more that was read at first
  notText,      ///< UTF-16, or bytes that are no text
  tooLarge,     ///< past a limit of the document, see OBJDocument
  outOfMemory,  ///< what was made so far stays sound, and is empty where that is said
  cancelled,    ///< by the caller's `Progress`
  writeFailed   ///< the system could not write, or the target cannot be written
};

/// A status with one line of text for people, without a line feed; the text is empty when all went well.
struct Result {
  Status status = Status::ok;
  std::string text;

  Result() = default;
  Result(Status s, std::string t) : status(s), text(std::move(t)) {}
  explicit operator bool() const { return status == Status::ok; }
};

/// Called now and then during long work with the part that is done, 0 to 1. Work stops, and answers
/// `Status::cancelled`, when it answers false. An empty one is not called.
using Progress = std::function<bool(double done)>;

}  // namespace WavefrontOBJ
