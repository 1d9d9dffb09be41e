#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "obj/text/FormatNumber.h"

namespace WavefrontOBJ {

/// A text file being written through one buffer. Errors of writing are ignored: fixed by the host's contract.
class OBJTextSink {
 public:
  /// Opens the file for writing and empties it; `isOpen` tells whether that went well.
  explicit OBJTextSink(const std::string& path);
  OBJTextSink(const OBJTextSink&) = delete;
  OBJTextSink& operator=(const OBJTextSink&) = delete;
  /// Writes what is left and closes the file.
  ~OBJTextSink();

  bool isOpen() const { return file_ != nullptr; }

  /// Hands what has been written so far to the file.
  void flush();

  void text(std::string_view text);
  void coordinate(float value) {
    reserve(kMaxNumberText);
    position_ = formatCoordinate(position_, value);
  }
  void number(std::uint32_t value) {
    reserve(kMaxNumberText);
    position_ = formatUnsigned(position_, value);
  }
  void character(char c) {
    reserve(1);
    *position_++ = c;
  }

 private:
  static constexpr std::size_t kBufferBytes = 128U * 1024;

  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  void reserve(std::size_t bytes) {
    if (static_cast<std::size_t>(buffer_.get() + kBufferBytes - position_) < bytes) flush();
  }
  std::unique_ptr<std::FILE, Close> file_;
  std::unique_ptr<char[]> buffer_;
  char* position_;
};

}  // namespace WavefrontOBJ
