#include "smthgrp/plugin/ReadNotes.h"

namespace smthgrp {

NoteText noteText(WavefrontOBJ::OBJReadNote::Kind kind) {
  using Kind = WavefrontOBJ::OBJReadNote::Kind;
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

}  // namespace smthgrp
