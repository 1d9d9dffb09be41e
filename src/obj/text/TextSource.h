#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "obj/OBJStreams.h"

namespace WavefrontOBJ {

/// The bytes of a file or of another source, read in large blocks and seen through a window that always
/// reaches far enough ahead for the longest line.
class OBJTextSource {
 public:
  /// `blockBytes`: bytes asked of the file at a time; `lookahead`: bytes that `fill` makes visible.
  OBJTextSource(std::size_t blockBytes, std::size_t lookahead);

  /// Opens the file at `path` for reading. False when it cannot be opened or, like a folder, cannot be read.
  bool open(const std::string& path);
  /// Takes the bytes from `source`, which must outlive this.
  void open(const OBJByteSource& source);

  /// Bytes come from a source of the caller's, not from a file.
  bool isCallers() const { return source_ != nullptr; }

  /// The file could not be read to its end; what was read is all of the text.
  bool isCutShort() const { return file_ != nullptr && std::ferror(file_.get()) != 0; }

  /// First byte not yet read.
  const char* begin() const { return begin_; }
  /// End of the bytes in the window. A line feed and readable bytes for `OBJDigitMap::kOverread` stand behind
  /// it, so that a scan for the end of a line needs no bounds test.
  const char* end() const { return end_; }
  /// Moves `begin` forward to `position`.
  void advanceTo(const char* position) { begin_ = position; }
  /// Fewer bytes than the lookahead are left although the file has more: `fill` is due.
  bool needsFill() const { return static_cast<std::size_t>(end_ - begin_) < lookahead_ && !atFileEnd_; }
  /// The window shows all of a line that begins at `line`, which is at or behind `begin`: its lookahead, or
  /// what is left of the file, if anything.
  bool showsLineAt(const char* line) const {
    return static_cast<std::size_t>(end_ - line) >= (atFileEnd_ ? 1 : lookahead_);
  }
  /// Shows [begin, end) and nothing behind it. What stands around it is as `end` says.
  void show(const char* begin, const char* end) {
    begin_ = begin;
    end_ = end;
    atFileEnd_ = true;
  }
  /// Bytes that `takeLines` may write.
  std::size_t linesRoom() const { return lookahead_ + blockBytes_; }
  /// Writes the next bytes to `text`, about a block of them, up to where a line ends: behind a line feed, or
  /// behind a whole number of lookaheads less 1 without one. Answers how many, 0 at the end of the file.
  std::size_t takeLines(char* text);
  /// Reads on until the window holds the lookahead or the file ends. Moves the window: pointers into it are
  /// void afterwards.
  void fill();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::size_t read(char* buffer, std::size_t bytes);
  std::size_t linesIn(std::string_view text) const;

  std::size_t blockBytes_;
  std::size_t lookahead_;
  std::vector<char> buffer_;
  const char* begin_ = nullptr;
  const char* end_ = nullptr;
  bool atFileEnd_ = false;
  std::unique_ptr<std::FILE, Close> file_;
  const OBJByteSource* source_ = nullptr;  ///< in place of the file
};

}  // namespace WavefrontOBJ
