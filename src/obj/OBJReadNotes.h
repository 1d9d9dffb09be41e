#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace WavefrontOBJ {

/// What a read met, for a person to look at: a line that a lenient one passed over, or a face that ended it.
/// `_errorMessage` stays the host's text; it is emptied when a material library fails and names no lines.
struct OBJReadNote {
  enum class Kind : std::uint8_t {
    unknownLine,        ///< a keyword that the reader does not know
    malformedCorner,    ///< a face dropped for a corner that is not v, v/vt, v//vn or v/vt/vn
    unknownMaterial,    ///< "usemtl" with a name that no library read so far has
    failedLibrary,      ///< a material library that cannot be read, or does not begin with "newmtl"
    unknownMtlKeyword,  ///< a line of a material library that the reader does not know
    // A face with one of these ends every read.
    vertexZero,
    vertexMissing,  ///< an index past the vertices so far
    textureZero,
    textureMissing,
    normalZero,
    normalMissing
  };
  Kind kind;
  std::size_t lineNumber;  ///< from 1, in the OBJ file; of `unknownMtlKeyword` in its library
  std::string text;        ///< the line, or the name that is missing
};

struct OBJReadNoteText {
  const char* key;     ///< stable
  const char* reason;  ///< in words
};

/// What a script and a person call a kind of note.
constexpr OBJReadNoteText noteText(OBJReadNote::Kind kind) {
  using Kind = OBJReadNote::Kind;
  switch (kind) {
    case Kind::unknownLine:
      return {"unknownLine", "unknown line"};
    case Kind::malformedCorner:
      return {"malformedCorner", "face dropped, malformed corner"};
    case Kind::unknownMaterial:
      return {"unknownMaterial", "unknown material"};
    case Kind::failedLibrary:
      return {"failedLibrary", "material library cannot be read"};
    case Kind::unknownMtlKeyword:
      return {"unknownMtlKeyword", "unknown line of a material library"};
    case Kind::vertexZero:
      return {"vertexZero", "a face names vertex 0"};
    case Kind::vertexMissing:
      return {"vertexMissing", "a face names a vertex that the file has not given"};
    case Kind::textureZero:
      return {"textureZero", "a face names texture coordinate 0"};
    case Kind::textureMissing:
      return {"textureMissing", "a face names a texture coordinate that the file has not given"};
    case Kind::normalZero:
      return {"normalZero", "a face names normal 0"};
    case Kind::normalMissing:
      return {"normalMissing", "a face names a normal that the file has not given"};
  }
  return {"other", "passed over"};
}

/// The first notes of a read and the number of all: a file of noise must not fill the memory with them.
struct OBJReadNotes {
  static constexpr std::size_t kMaxKept = 200;

  std::vector<OBJReadNote> kept;
  std::size_t total = 0;
  std::optional<OBJReadNote> end;  ///< the face that ended the read; it counts for nothing above
  bool isCutShort = false;  ///< an error of reading the file ended the text, which the host does not see

  void add(OBJReadNote::Kind kind, std::size_t lineNumber, std::string_view text) {
    if (total++ < kMaxKept) kept.push_back({kind, lineNumber, std::string(text.substr(0, 1024))});
  }
};

}  // namespace WavefrontOBJ
