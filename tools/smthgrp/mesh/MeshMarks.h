#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/HostMesh.h"

namespace smthgrp {

/// An edge that a mesh has creased.
struct CreasedEdge {
  std::array<std::uint32_t, 2> vertices;  ///< the smaller index first
  float crease;                           ///< 0 smooth .. 1 sharp
};

/// The creased edges of a mesh, each once however many of its faces say so, in the order of their vertices.
std::vector<CreasedEdge> creasedEdges(const host::HostMesh& mesh, const host::MeshDescription& description);

/// The number of vertices whose mask is not 0.
std::uint64_t maskedVertices(const host::HostMesh& mesh);

/// Takes the masks off a mesh, so that what a call masks can be told from what was masked before. They come
/// back with the end of this, but for those that the call has written.
class MasksAside {
 public:
  /// `value` is what the call will write.
  MasksAside(host::HostMesh& mesh, std::uint8_t value);
  MasksAside(const MasksAside&) = delete;
  MasksAside& operator=(const MasksAside&) = delete;
  ~MasksAside();

  /// The number of vertices masked since.
  std::uint64_t written() const;

 private:
  host::HostMesh& mesh_;
  std::uint8_t value_;
  std::vector<std::uint8_t> before_;
};

/// The same for creases, which only ever add up.
class CreasesAside {
 public:
  explicit CreasesAside(host::HostMesh& mesh);
  CreasesAside(const CreasesAside&) = delete;
  CreasesAside& operator=(const CreasesAside&) = delete;
  ~CreasesAside();

 private:
  host::HostMesh& mesh_;
  std::vector<std::uint8_t> before_;
};

}  // namespace smthgrp
