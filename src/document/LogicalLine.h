#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "KSmthExport.h"

// How the text of an OBJ or MTL file falls into lines and words. A line ends at a line feed, at a carriage
// return with a line feed, or at a carriage return alone. A backslash that stands last on a line continues
// it: both, with the line's end, count as a blank. Where nothing comes behind it, it ends the line itself.
// Lines that begin with "#" are never continued, those with a comment behind a statement are. A NUL byte ends
// what is read of a line.

namespace WavefrontOBJ {

/// The end of the line that begins at `begin`, which is its first line feed or carriage return, or `end`.
const char* physicalLineEnd(const char* begin, const char* end);
/// The character behind the line end at `lineEnd`, as any of these give it: past one or two, or `end`.
const char* behindLineEnd(const char* lineEnd, const char* end);
/// The end of the whole line that begins at `begin`, with all lines that continue it: a line end, the
/// backslash that stands before `end`, or `end`.
const char* logicalLineEnd(const char* begin, const char* end);
/// Line ends in [begin, end): each line feed, and each carriage return that no line feed follows. One that
/// stands last counts.
std::uint64_t countLineEnds(const char* begin, const char* end);

/// Some byte of [begin, end) is a control character other than a line feed.
bool hasControls(const char* begin, const char* end);

/// Walks through the words of one logical line, [begin, end) as `logicalLineEnd` gives it.
class LineWords {
 public:
  LineWords(const char* begin, const char* end);
  explicit LineWords(std::string_view line) : LineWords(line.data(), line.data() + line.size()) {}

  /// The next word; empty when there is none. A word is never parted by a continuation.
  std::string_view next();
  /// The next word of a statement of numbers or indices, which a word that begins with "#" ends: empty from
  /// there on, where `rest` is the comment.
  std::string_view nextValue();
  /// What is left from the next word on, without blanks behind the last one. May hold continuations.
  std::string_view rest() const;
  /// Where the next word is looked for.
  const char* position() const { return position_; }
  /// The line's end, or its first NUL byte.
  const char* end() const { return end_; }

 private:
  const char* skip(const char* text) const;

  const char* position_;
  const char* end_;
};

/// `text` of one logical line with continuations as blanks, without blanks at either end.
KSMTH_API std::string joinedText(std::string_view text);

}  // namespace WavefrontOBJ
