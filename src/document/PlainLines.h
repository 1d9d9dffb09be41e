#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "document/ElementTable.h"
#include "document/OBJDocument.h"
#include "document/PlainArray.h"
#include "obj/text/DigitScan.h"

namespace WavefrontOBJ {

/// The fast path of the document's reader: takes plain vertex and face lines out of a text into tables. It
/// either takes in the whole line, with the outcome of the exact path, or leaves the tables as they were.
class PlainLines {
 public:
  /// Vector kinds that corners name, and that have plain lines: "v", "vt", "vn".
  static constexpr std::size_t kKinds = 3;
  using Vectors = std::array<PlainArray<std::uint64_t>, kVectorKinds>;
  /// A line: its place in the file, and its number as `take` counts.
  struct Place {
    std::uint64_t offset;
    std::uint64_t line;
  };
  /// What is before the tables' begin: nothing, so that a face that names more than they have is left; or a
  /// part of the file that is not known, so that it is taken and `needs` tells.
  enum class Before : std::uint8_t { nothing, unknown };

  /// Lines are added to `vectors` and `faces`, which must outlive it; faces without their states.
  PlainLines(Vectors& vectors, ElementTable& faces, Before before, std::size_t placesKept)
      : vectors_(vectors),
        faces_(faces),
        before_(before),
        placesKept_(placesKept),
        takeCorners_(&PlainLines::takeCorners<true, true>) {}

  /// Lines are taken out of [begin, end) from now on, which stands at `offset` in the file and has the room
  /// around that `OBJDigitMap` asks for.
  void setText(const char* begin, const char* end, std::uint64_t offset);
  /// Takes lines from `line` on, which begins one, up to the first that is not plain, or that does not end in
  /// the text, and answers where that begins. `number` is that of the line.
  const char* take(const char* line, std::uint64_t& number);
  /// The end of the name where a "g" line of one name in plain letters begins at `line`; else null.
  const char* groupEnd(const char* line) const;

  /// Some line that is not empty was taken.
  bool anyTaken() const { return anyTaken_; }
  /// Vector lines that have to stand before the tables' begin for the faces taken.
  const std::array<std::uint32_t, kKinds>& needs() const { return needs_; }
  /// Lines taken that end with a carriage return: their number, and the first places.
  std::uint64_t returnCount() const { return returnCount_; }
  const std::vector<Place>& returns() const { return returns_; }
  /// Forgets the above.
  void forget();

 private:
  /// Corners of which a face is taken.
  static constexpr std::uint32_t kMostCorners = 16;

  bool takeLine(const char* line, const char* lineFeed, std::uint64_t number);
  bool takeFace(const char* line, const char* end);
  template <bool kTexture, bool kNormal>
  bool takeCorners(const char* line, const char* text, const char* end);
  bool isThere(VectorKind kind, std::uint32_t greatest);
  std::uint64_t offsetOf(const char* text) const {
    return offset_ + static_cast<std::uint64_t>(text - begin_);
  }

  Vectors& vectors_;
  ElementTable& faces_;
  Before before_;
  std::size_t placesKept_;
  std::array<std::uint32_t, kKinds> needs_{};
  std::vector<Place> returns_;
  std::uint64_t returnCount_ = 0;
  bool anyTaken_ = false;

  const char* begin_ = nullptr;
  const char* end_ = nullptr;
  std::uint64_t offset_ = 0;       ///< of `begin_`
  const char* lastEnd_ = nullptr;  ///< behind the last line feed of the text
  bool oddBytes_ = false;          ///< there is a control character other than a line feed before it
  OBJDigitMap digits_;             ///< of the text, or of its end
  bool digitsMade_ = false;
  bool (PlainLines::*takeCorners_)(const char* line, const char* text,
                                   const char* end);  ///< for the form of the last face
};

}  // namespace WavefrontOBJ
