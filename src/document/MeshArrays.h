#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "KSmthExport.h"
#include "document/DocumentWriter.h"
#include "document/Result.h"
#include "document/Sink.h"

namespace WavefrontOBJ {

/// Numbers in rows, one behind the other; empty for none.
using NumberRows = std::variant<std::span<const double>, std::span<const float>>;

/// A mesh as a program has it, in arrays that stay the program's. Indices count from 0. Everything but the
/// positions may be empty.
struct MeshArrays {
  NumberRows positions;  ///< x, y, z of each vertex
  NumberRows colours;    ///< red, green, blue of each vertex, 0 to 1
  NumberRows textures;   ///< u, v of each texture coordinate
  NumberRows normals;    ///< x, y, z of each normal

  /// Face i has the corners `faceStarts[i]` up to `faceStarts[i + 1]`, three at least, of the columns; one
  /// start more than faces, the first of them 0. Textures and normals have `kNoIndex` where a corner has
  /// none.
  std::span<const std::int32_t> faceStarts;
  std::span<const std::int32_t> faceVertices;
  std::span<const std::int32_t> faceTextures;
  std::span<const std::int32_t> faceNormals;
  std::span<const std::int32_t> lines;  ///< the two vertices of each line element

  struct Group {
    std::string name;
    std::span<const std::int32_t> faces;  ///< in any order; a face may be in several groups
  };
  std::vector<Group> groups;
  std::span<const std::int64_t> faceSmoothing;  ///< number of each face, 0 for none
  std::vector<std::string> materials;
  std::span<const std::int32_t> faceMaterial;  ///< into `materials`, `kNoIndex` for none
  std::vector<std::string> objects;
  std::span<const std::int32_t> faceObject;  ///< into `objects`, `kNoIndex` for none
  std::vector<std::string> libraries;        ///< names for "mtllib" lines
  std::vector<std::string> comments;         ///< lines for the head, without "#"
};

/// Says what is wrong with the arrays (a length, an index, a number that is not finite) and where; empty when
/// nothing is.
KSMTH_API std::string problemOf(const MeshArrays& mesh);

/// The group names as they are written: a name on a "g" line is one word of text, so that blanks and control
/// characters become "_"; what would then be the same name, or no name, gets a number behind it. May throw
/// std::bad_alloc.
KSMTH_API std::vector<std::string> writtenGroupNames(const MeshArrays& mesh);

/// Writes the mesh as an OBJ file: vertices and faces in their order, "o", "g", "s" and "usemtl" lines where
/// what they say changes, numbers with the fewest digits that read back as the same number of their type.
/// Faces of no group are put into "default" where there are groups at all. Material and object names are
/// written without line ends. Takes time linear in the arrays. Arrays with a problem are refused with
/// `Status::writeFailed` and its text; otherwise it fails as the sink does, and with `Status::cancelled`.
KSMTH_API Result writeArrays(const MeshArrays& mesh, Sink& sink, WriteCounts* counts = nullptr,
                             const Progress& progress = {});

}  // namespace WavefrontOBJ
