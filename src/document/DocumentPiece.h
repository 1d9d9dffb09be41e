#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "document/ElementTable.h"
#include "document/PlainLines.h"
#include "document/Result.h"
#include "document/Source.h"

namespace WavefrontOBJ {

/// A piece of a source, of whole lines, with what its plain lines say and where the others stand. It is read
/// without knowing what stands before.
class DocumentPiece {
 public:
  /// Plain lines before some place: vertex lines of each kind that has them, and faces.
  struct Counts {
    std::array<std::uint32_t, PlainLines::kKinds> vectors{};
    std::uint32_t faces = 0;
  };
  /// A line that is left to who joins the pieces.
  struct LeftLine {
    const char* begin;
    const char* end;
    const char* next;    ///< behind its line end
    bool isGroup;        ///< a "g" line of one name in plain letters
    std::uint64_t line;  ///< from 0, in the piece
    Counts before;
  };
  enum class Outcome : std::uint8_t {
    read,
    uncut,       ///< it is not known where its last line ends, which is long
    failed,      ///< see `failure`
    outOfMemory  ///< no memory for it
  };

  DocumentPiece(const Source& source, std::size_t bytes, std::size_t placesKept)
      : source_(source), bytes_(bytes), plain_(vectors_, faces_, PlainLines::Before::unknown, placesKept) {}

  /// Reads the piece of the lines that begin in [number * bytes, (number + 1) * bytes), the first piece from
  /// `first` on. A line that others may continue, or that may continue others, goes with the one before. No
  /// exception leaves it.
  void read(std::uint64_t number, std::uint64_t first);

  Outcome outcome() const { return outcome_; }
  const Result& failure() const { return failure_; }
  /// The text, and where it stands in the source.
  const char* begin() const { return begin_; }
  const char* end() const { return end_; }
  std::uint64_t offset() const { return offset_; }

  const PlainLines& plain() const { return plain_; }
  const PlainLines::Vectors& vectors() const { return vectors_; }
  const ElementTable& faces() const { return faces_; }
  const std::vector<LeftLine>& leftLines() const { return leftLines_; }
  /// Of all lines.
  Counts counts() const;
  std::uint64_t lineCount() const { return lineCount_; }

 private:
  Outcome loadText(std::uint64_t number, std::uint64_t first);
  void takeLines();

  const Source& source_;
  std::size_t bytes_;
  std::vector<char> buffer_;
  const char* begin_ = nullptr;
  const char* end_ = nullptr;
  std::uint64_t offset_ = 0;  ///< of `begin_`
  Outcome outcome_ = Outcome::read;
  Result failure_;
  PlainLines::Vectors vectors_;
  ElementTable faces_;
  PlainLines plain_;
  std::vector<LeftLine> leftLines_;
  std::uint64_t lineCount_ = 0;
};

}  // namespace WavefrontOBJ
