#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "KSmthExport.h"
#include "document/OBJDocument.h"
#include "document/Result.h"

namespace WavefrontOBJ {

/// Where the topology of two documents first differs. They have the same one when they have as many vertices,
/// and the same faces, lines and points in the same order, each with the same vertices in the same order.
struct KSMTH_API TopologyDifference {
  enum class Kind : std::uint8_t {
    vertexCount,
    elementCount,  ///< all that both have are alike
    cornerCount,   ///< of the element
    corner         ///< another vertex
  };
  Kind kind;
  ElementKind element = ElementKind::face;
  std::uint32_t index = 0;                ///< of the element, from 0
  std::uint32_t corner = 0;               ///< from 0
  std::array<std::uint64_t, 2> values{};  ///< counts, or vertices from 0
  std::array<std::uint64_t, 2> lines{};   ///< where the element stands, from 1; 0 where there is none

  /// "face 12: 3 corners in a.obj (line 40), 4 in b.obj (line 41)" and the like.
  std::string text(const OBJDocument& a, const OBJDocument& b) const;
};

/// Finds it. `first` is empty when the topology is the same. Fails when a source does.
KSMTH_API Result compareTopology(const OBJDocument& a, const OBJDocument& b,
                                 std::optional<TopologyDifference>& first);

/// A group, smoothing group, material or object that is not alike in both documents.
struct MembershipDifference {
  Division division;
  std::string name;  ///< the number of a smoothing group; empty for the elements without material or object
  std::array<bool, 2> present{};             ///< in which of the documents it is
  std::array<std::uint64_t, 2> faces{};      ///< that it has
  std::array<std::uint64_t, 2> facesOnly{};  ///< that it has there and not in the other, by index
};

struct DocumentDifference {
  std::array<std::array<std::uint64_t, kVectorKinds>, 2> vectors{};
  std::array<std::array<std::uint64_t, kElementKinds>, 2> elements{};
  std::optional<TopologyDifference> topology;  ///< empty when it is the same
  std::vector<MembershipDifference> memberships;
  std::uint64_t facesWithOtherTextures = 0;  ///< indices of texture coordinates; 0 with another topology
  std::uint64_t facesWithOtherNormals = 0;

  // Positions, as double precision; only with as many vertices.
  bool positionsCompared = false;
  std::uint64_t moved = 0;
  double greatestMove = 0;           ///< distance; infinite to or from what is no number
  double meanMove = 0;               ///< of the vertices that moved
  std::uint32_t greatestVertex = 0;  ///< from 0
  std::array<std::uint64_t, 2> greatestLines{};
  std::array<std::array<double, 3>, 2> greatestPositions{};
};

/// Compares two documents in time linear in both. Fails when a source does.
KSMTH_API Result diff(const OBJDocument& a, const OBJDocument& b, DocumentDifference& difference,
                      const Progress& progress = {});

}  // namespace WavefrontOBJ
