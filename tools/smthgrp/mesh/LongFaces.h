#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "host/HostMesh.h"

namespace smthgrp {

/// Finds the faces with more than four edges whose crease bits, one pair for each of the first four, do not
/// tell all that a crease call has counted.
class LongFaces {
 public:
  /// `mesh` must outlive this.
  explicit LongFaces(const host::MeshDescription& mesh);

  /// Takes in a creased group by its faces.
  void addCreased(const std::vector<std::uint32_t>& members);

  /// The number of faces of the groups taken in that have an edge beyond the fourth, both ends of which a
  /// face outside of the group uses.
  std::size_t creasedInPart() const;

 private:
  /// An edge that is beyond the fourth of some face.
  struct Edge {
    std::vector<std::uint32_t> users{};  ///< the faces that have both ends
    std::uint32_t group = 0;             ///< the last one that `border` was found for, from 1
    bool border = false;
  };

  std::unordered_map<std::uint64_t, Edge> edges_;
  const host::MeshDescription& mesh_;
  std::vector<bool> inPart_;  ///< by face
  std::uint32_t groups_ = 0;
};

}  // namespace smthgrp
