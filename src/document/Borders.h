#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "KSmthExport.h"
#include "document/OBJDocument.h"

namespace WavefrontOBJ {

// What groups mean on the mesh itself: the vertices that they have, and the edges where they end.
//
// An edge joins the vertices of two corners that follow one another in a face, the last and the first
// included; it is the same edge for all faces that join these vertices, in whichever direction. Two corners
// at one vertex make no edge. Lists of faces are of indices below the document's face count; their order and
// repeats do not matter. All functions take time linear in what they are given, but for one bit a vertex or
// edge of the document, and may throw std::bad_alloc.

/// The vertices of these faces, ascending, each once.
KSMTH_API std::vector<std::int32_t> verticesOf(const OBJDocument& document,
                                               std::span<const std::uint32_t> faces);

/// One byte a vertex of the document: `value` for those of these faces, 0 for the others.
KSMTH_API std::vector<std::uint8_t> maskOf(const OBJDocument& document, std::span<const std::uint32_t> faces,
                                           std::uint8_t value);

/// The edges of a document's faces, in the order of their vertices, and the faces at each. Made in time
/// linear in the corners; 8 bytes a corner and 12 an edge.
class KSMTH_API FaceEdges {
 public:
  static constexpr std::uint32_t kNoEdge = 0xFFFFFFFFU;

  /// `document` must outlive it.
  explicit FaceEdges(const OBJDocument& document);

  const OBJDocument& document() const { return document_; }
  std::uint32_t size() const { return static_cast<std::uint32_t>(vertices_.size()); }
  /// The smaller index first.
  const std::array<std::int32_t, 2>& vertices(std::uint32_t edge) const { return vertices_[edge]; }
  /// The faces that have it, ascending; one that has it twice comes twice.
  std::span<const std::uint32_t> faces(std::uint32_t edge) const {
    return {faces_.data() + begins_[edge], begins_[edge + 1] - begins_[edge]};
  }
  /// The edge from a corner, an index into the columns of `OBJDocument::faces`, to the next one of its face;
  /// `kNoEdge` for none.
  std::uint32_t edgeFrom(std::uint32_t corner) const { return edgeOfCorner_[corner]; }

 private:
  const OBJDocument& document_;
  std::vector<std::array<std::int32_t, 2>> vertices_;
  std::vector<std::uint32_t> begins_;
  std::vector<std::uint32_t> faces_;
  std::vector<std::uint32_t> edgeOfCorner_;
};

/// Edges where something ends.
struct Border {
  std::vector<std::array<std::int32_t, 2>> edges;  ///< ascending, the smaller vertex first
  /// Where these edges begin in the faces that see the border: indices into the columns of
  /// `OBJDocument::faces`, ascending.
  std::vector<std::uint32_t> corners;
};

/// The edges that a face of the list and a face outside share; corners are those of the list's faces. An edge
/// at the rim of the mesh, which has no second face, is none, as in the host's creasing, unless `open` asks
/// for edges of one face alone as well.
KSMTH_API Border borderOf(const FaceEdges& edges, std::span<const std::uint32_t> faces, bool open = false);

/// The edges whose faces are not all in one smoothing group ("off", 0 and none are one); corners are those of
/// all their faces.
KSMTH_API Border smoothingBorders(const FaceEdges& edges);

}  // namespace WavefrontOBJ
