#pragma once

#include <cstdint>
#include <string>

#include "host/HostMesh.h"

namespace smthgrp {

/// A marked mesh as a file that other programs open.
struct MeshFile {
  std::string content;
  std::uint64_t faces = 0;  ///< those with three corners and more, all of them vertices that the mesh has
  std::uint64_t edges = 0;  ///< the creased ones
};

/// Binary little-endian PLY: each vertex with its mask as a property of its own and as a colour, the faces,
/// and the creased edges with a crease from 0 to 1.
MeshFile plyFile(const host::HostMesh& mesh, const host::MeshDescription& description);

/// OBJ: the vertices with the colour of their mask behind their position, the faces, and the creased edges as
/// lines.
MeshFile objFile(const host::HostMesh& mesh, const host::MeshDescription& description);

}  // namespace smthgrp
