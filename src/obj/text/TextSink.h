#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "obj/OBJStreams.h"

namespace WavefrontOBJ {

/// A text being written through one buffer, to a file or another sink. An error of writing a file is nobody's
/// business: fixed by the host's contract. Nothing is written behind it.
class OBJTextSink {
 public:
  /// What is thrown when the other sink wants no more.
  struct Stopped {};

  /// Opens the file for writing and empties it; `isOpen` tells whether that went well. What is left at the
  /// end is dropped without a `flush`.
  explicit OBJTextSink(const std::string& path);
  /// The same for `sink`, which must outlive this.
  explicit OBJTextSink(const OBJByteSink& sink);
  OBJTextSink(const OBJTextSink&) = delete;
  OBJTextSink& operator=(const OBJTextSink&) = delete;

  /// The file was opened.
  bool isOpen() const { return file_ != nullptr; }

  /// Hands what has been written so far to the file or sink.
  void flush();

  void text(std::string_view text);
  /// A place for up to `bytes` characters, a line's at most; `written` says where they end.
  char* room(std::size_t bytes) {
    if (static_cast<std::size_t>(buffer_.get() + kBufferBytes - position_) < bytes) flush();
    return position_;
  }
  void written(char* end) { position_ = end; }
  void character(char c) {
    *room(1) = c;
    ++position_;
  }

 private:
  static constexpr std::size_t kBufferBytes = 128U * 1024;

  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  void writeFile(std::string_view text);

  std::unique_ptr<std::FILE, Close> file_;
  const OBJByteSink* sink_ = nullptr;  ///< in place of the file
  std::unique_ptr<char[]> buffer_;
  char* position_;
};

}  // namespace WavefrontOBJ
