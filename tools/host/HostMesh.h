#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/Arena.h"

namespace host {

/// A mesh as the host has imported it.
struct MeshDescription {
  std::vector<std::array<float, 3>> vertices;
  std::vector<std::vector<std::uint32_t>> faces;  ///< vertex indices from 0
  std::vector<std::string> groupNames;            ///< the host's own groups
};

// Byte offsets in the host's records. Numbers are in the machine's byte order.

namespace mesh_offset {
constexpr std::size_t kImportScaleX = 584;  ///< the first of six floats: scale x, y, z, offset x, y, z
constexpr std::size_t kImportOffsetX = 596;
}  // namespace mesh_offset

namespace array_offset {
constexpr std::size_t kBlock = 40;        ///< pointer field
constexpr std::size_t kCount = 44;        ///< signed, 32 bits
constexpr std::size_t kElementSize = 92;  ///< signed, 32 bits
}  // namespace array_offset

namespace block_offset {
constexpr std::size_t kStateFlags = 32;    ///< unsigned, 16 bits; 0x0008 for compressed or swapped out
constexpr std::size_t kData = 40;          ///< pointer field
constexpr std::size_t kOfflineCount = 74;  ///< signed, 16 bits
}  // namespace block_offset

/// The arrays of a mesh: each value is the offset of the pointer field in the mesh's record.
enum class Array : std::uint16_t {
  kPoints = 100,
  kVertexAttributes = 112,
  kGroupNames = 116,
  kSubdivision = 408,
  kFaceAttributes = 532,
  kSecondPoints = 536,
  kSecondAttributes = 552
};

/// The host's current mesh, laid out in memory as the host does it: an `AMash3DDXF` record, for each array an
/// `AMemArray` and an `AMem` record, and their data, all in one arena. Written byte by byte from the offsets
/// above. Bytes that mean nothing to the plug-in hold `Arena::kPattern`, mask and crease bytes start at 0.
class HostMesh {
 public:
  /// With points, vertex attributes and face attributes, and with group names where there are any; the other
  /// arrays are null. Throws std::bad_alloc.
  explicit HostMesh(const MeshDescription& description);
  /// The same for a mesh of which only the counts matter; it has no points.
  HostMesh(std::uint32_t vertexCount, std::uint32_t faceCount,
           const std::vector<std::string>& groupNames = {});

  /// Adds an array that the mesh does not have, small enough for 4096 bytes of data. Throws std::bad_alloc.
  void addArray(Array array, std::uint32_t count, std::uint32_t elementSize);

  /// The `AMash3DDXF` record.
  void* record() const { return mesh_; }
  /// The host's table of object pointers, with the mesh in entry 4; the other entries are null. May be
  /// changed.
  void** hostData() { return hostData_.data(); }

  std::uint32_t vertexCount() const { return vertexCount_; }
  std::uint32_t faceCount() const { return faceCount_; }
  /// The mask byte of a vertex.
  std::uint8_t mask(std::uint32_t vertex) const;
  /// The crease byte of a face: two bits for each of its first four edges, from the lowest up.
  std::uint8_t creases(std::uint32_t face) const;

  void setMask(std::uint32_t vertex, std::uint8_t value);
  void setCreases(std::uint32_t face, std::uint8_t bits);

  /// Eight bytes for each vertex, of which byte 2 is the mask.
  std::uint8_t* vertexAttributes() const { return data(Array::kVertexAttributes); }
  /// Four bytes for each face, of which byte 2 has the creases.
  std::uint8_t* faceAttributes() const { return data(Array::kFaceAttributes); }

  /// The records and data of an array, null for one that the mesh does not have, whatever the pointer fields
  /// hold meanwhile.
  void* arrayRecord(Array array) const { return parts(array).record; }
  void* blockRecord(Array array) const { return parts(array).block; }
  std::uint8_t* data(Array array) const { return parts(array).data; }

  /// Reads and changes the fields of a record. What is set here counts as the host's own doing.
  std::uint32_t word(const void* record, std::size_t offset) const;
  void setWord(void* record, std::size_t offset, std::uint32_t value);
  void setHalf(void* record, std::size_t offset, std::uint16_t value);
  /// What a pointer field holds for a record or data of this mesh, 0 for null.
  static std::uint32_t pointerField(const void* address) { return Arena::pointerField(address); }
  /// Sets the pointer field of an array in the mesh's record.
  void setArray(Array array, const void* record);

  /// Whether all bytes of records, data and the gaps between them are as the host has left them, but for mask
  /// and crease bytes.
  bool onlyMarksChanged() const;

 private:
  struct Parts {
    std::uint8_t* record = nullptr;
    std::uint8_t* block = nullptr;
    std::uint8_t* data = nullptr;
  };

  HostMesh(std::uint32_t vertexCount, std::uint32_t faceCount, const std::vector<std::string>& groupNames,
           const std::vector<std::array<float, 3>>* points);

  Parts& parts(Array array);
  const Parts& parts(Array array) const { return const_cast<HostMesh*>(this)->parts(array); }
  Parts& makeArray(Array array, std::size_t count, std::size_t elementSize);
  void fillGroupNames(const std::vector<std::string>& names);
  void remember(const void* changed, std::size_t bytes);

  std::uint32_t vertexCount_;
  std::uint32_t faceCount_;
  Arena arena_;
  std::uint8_t* mesh_ = nullptr;
  std::array<Parts, 7> arrays_;
  std::array<void*, 8> hostData_{};
  std::vector<std::uint8_t> known_;  ///< the arena as the host has left it
};

}  // namespace host
