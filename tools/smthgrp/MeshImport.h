#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/HostMesh.h"
#include "smthgrp/PluginLibrary.h"

namespace smthgrp {

/// The model's geometry as the host has imported it: the same vertices and faces, and no groups, which hosts
/// lose.
host::MeshDescription importMesh(const WavefrontOBJ::OBJModel& model);

/// Which vertices the groups, or the smoothing groups, of a model use.
class VertexUse {
 public:
  static VertexUse ofGroups(const WavefrontOBJ::OBJModel& model, const std::vector<std::string>& names,
                            const host::MeshDescription& mesh);
  /// Faces outside every smoothing group, which carry 0, count for no smoothing group.
  static VertexUse ofSmoothingGroups(const WavefrontOBJ::OBJModel& model,
                                     const std::vector<std::uint32_t>& numbers,
                                     const host::MeshDescription& mesh);

  /// Number of vertices of group `index`, from 1, that another one uses as well.
  std::uint64_t shared(std::size_t index) const { return shared_[index - 1]; }

 private:
  explicit VertexUse(std::vector<std::vector<std::uint32_t>> facesOfGroups,
                     const host::MeshDescription& mesh);

  std::vector<std::uint64_t> shared_;
};

}  // namespace smthgrp
