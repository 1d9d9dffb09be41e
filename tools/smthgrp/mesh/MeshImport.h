#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/HostMesh.h"
#include "smthgrp/plugin/PluginLibrary.h"

namespace smthgrp {

/// The model's geometry as the host has imported it: the same vertices and faces, and no groups, which hosts
/// lose.
host::MeshDescription importMesh(const WavefrontOBJ::OBJModel& model);

/// Which faces the groups, or the smoothing groups, of a model have and which vertices these use.
class VertexUse {
 public:
  static VertexUse ofGroups(const WavefrontOBJ::OBJModel& model, const std::vector<std::string>& names,
                            const host::MeshDescription& mesh);
  /// Faces outside every smoothing group, which carry 0, count for no smoothing group.
  static VertexUse ofSmoothingGroups(const WavefrontOBJ::OBJModel& model,
                                     const std::vector<std::uint32_t>& numbers,
                                     const host::MeshDescription& mesh);

  /// The faces of group `index`, from 1.
  const std::vector<std::uint32_t>& faces(std::size_t index) const { return faces_[index - 1]; }
  /// Number of vertices of group `index`, from 1, that another one uses as well.
  std::uint64_t shared(std::size_t index) const { return shared_[index - 1]; }

 private:
  explicit VertexUse(std::vector<std::vector<std::uint32_t>> facesOfGroups,
                     const host::MeshDescription& mesh);

  std::vector<std::vector<std::uint32_t>> faces_;
  std::vector<std::uint64_t> shared_;
};

}  // namespace smthgrp
