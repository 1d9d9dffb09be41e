#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// What a sheet consists of: `side` x `side` textured quads with normals.
struct SheetShape {
  std::uint32_t side = 1000;
  std::uint32_t groups = 50;
  std::uint32_t smoothingGroups = 20;
  /// A "g" line before every face, cycling through the groups; otherwise both kinds of group are bands of
  /// rows.
  bool interleaved = false;

  std::uint64_t faceCount() const { return std::uint64_t{side} * side; }
  std::uint64_t vertexCount() const { return (std::uint64_t{side} + 1) * (side + 1); }
  std::uint32_t groupOfFace(std::uint32_t row, std::uint32_t column) const {
    return interleaved ? static_cast<std::uint32_t>((std::uint64_t{row} * side + column) % groups)
                       : static_cast<std::uint32_t>(std::uint64_t{row} * groups / side);
  }
  std::uint32_t smoothingGroupOfRow(std::uint32_t row) const {
    return static_cast<std::uint32_t>(std::uint64_t{row} * smoothingGroups / side);
  }
  /// Number of faces in `group`.
  std::uint64_t facesInGroup(std::uint32_t group) const;
};

inline std::string groupName(std::uint32_t group) {
  return "part_" + std::to_string(group);
}

/// The numbers of a sheet, as the floats that a reader makes of the file's six decimals.
struct SheetData {
  std::vector<float> positions;  ///< x, y, z of each vertex
  std::vector<float> textures;   ///< u, v of each vertex
  std::vector<float> normals;    ///< x, y, z of each vertex
};

SheetData makeSheetData(const SheetShape& shape);

/// Index, from 0, of the four corners of a face in the file's order.
inline void sheetFaceCorners(const SheetShape& shape, std::uint32_t row, std::uint32_t column,
                             std::uint32_t (&corners)[4]) {
  const std::uint32_t first = row * (shape.side + 1) + column;
  corners[0] = first;
  corners[1] = first + 1;
  corners[2] = first + shape.side + 2;
  corners[3] = first + shape.side + 1;
}

/// Writes the sheet as modelling programs export one: all "v", "vt" and "vn" lines with six decimals, then
/// the faces. The same bytes for the same shape, always. Throws std::runtime_error.
void writeSheet(const SheetShape& shape, const std::string& path);

}  // namespace bench
