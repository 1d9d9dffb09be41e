#pragma once

#include <cstdint>
#include <string>

namespace bench {

/// Triangles around one vertex, all the way round.
struct FanShape {
  std::uint32_t faces = 200'000;
  std::uint32_t groups = 50;
  /// Neighbouring faces in different groups, cycling through them; otherwise each group is a sector.
  bool interleaved = false;

  std::uint32_t groupOfFace(std::uint32_t face) const {
    return interleaved ? face % groups : static_cast<std::uint32_t>(std::uint64_t{face} * groups / faces);
  }
  /// Number of faces in each group, which all have as many.
  std::uint32_t facesInGroup() const { return faces / groups; }
};

/// Writes the fan as an OBJ file. Throws std::runtime_error.
void writeFan(const FanShape& shape, const std::string& path);

}  // namespace bench
