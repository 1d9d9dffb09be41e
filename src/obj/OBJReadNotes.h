#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace WavefrontOBJ {

/// What a lenient read passed over, for a person to look at. `_errorMessage` stays the host's text; it is
/// emptied when a material library fails and names no lines.
struct OBJReadNote {
  enum class Kind : std::uint8_t {
    unknownLine,       ///< a keyword that the reader does not know
    malformedCorner,   ///< a face dropped for a corner that is not v, v/vt, v//vn or v/vt/vn
    unknownMaterial,   ///< "usemtl" with a name that no library read so far has
    failedLibrary,     ///< a material library that cannot be read, or does not begin with "newmtl"
    unknownMtlKeyword  ///< a line of a material library that the reader does not know
  };
  Kind kind;
  std::size_t lineNumber;  ///< from 1, in the OBJ file; of `unknownMtlKeyword` in its library
  std::string text;        ///< the line, or the name that is missing
};

/// The first notes of a read and the number of all: a file of noise must not fill the memory with them.
struct OBJReadNotes {
  static constexpr std::size_t kMaxKept = 200;

  std::vector<OBJReadNote> kept;
  std::size_t total = 0;

  void add(OBJReadNote::Kind kind, std::size_t lineNumber, std::string_view text) {
    if (total++ < kMaxKept) kept.push_back({kind, lineNumber, std::string(text.substr(0, 1024))});
  }
};

}  // namespace WavefrontOBJ
