#include "host/HostMesh.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace host {
namespace {

// The fields that the plug-in knows end before; what the host has behind them is the host's.
constexpr std::size_t kMeshBytes = 640;
constexpr std::size_t kArrayBytes = 96;
constexpr std::size_t kBlockBytes = 80;

constexpr std::size_t kPointBytes = 12;
constexpr std::size_t kVertexAttributeBytes = 8;
constexpr std::size_t kFaceAttributeBytes = 4;
constexpr std::size_t kMarkByte = 2;
constexpr std::size_t kLeastNameBytes = 64;
constexpr std::size_t kAddedDataBytes = 4096;

constexpr std::array kArrays = {Array::kPoints,          Array::kVertexAttributes, Array::kGroupNames,
                                Array::kSubdivision,     Array::kFaceAttributes,   Array::kSecondPoints,
                                Array::kSecondAttributes};

std::size_t nameBytes(const std::vector<std::string>& names) {
  std::size_t bytes = kLeastNameBytes;
  for (const std::string& name : names) bytes = std::max(bytes, (name.size() / 4 + 1) * 4);
  return bytes;
}

std::size_t dataBytes(std::size_t count, std::size_t elementSize) {
  // Counts are signed in the records, and addresses have 32 bits that matter.
  constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
  if (count > kMost || (elementSize != 0 && count > kMost / elementSize)) throw std::bad_alloc();
  return count * elementSize;
}

/// Room for everything that a mesh can have.
std::size_t arenaBytes(std::uint32_t vertexCount, std::uint32_t faceCount,
                       const std::vector<std::string>& names, bool hasPoints) {
  const std::size_t room[] = {Arena::roomFor(kMeshBytes),
                              kArrays.size() * (Arena::roomFor(kArrayBytes) + Arena::roomFor(kBlockBytes) +
                                                Arena::roomFor(kAddedDataBytes)),
                              Arena::roomFor(dataBytes(hasPoints ? vertexCount : 0, kPointBytes)),
                              Arena::roomFor(dataBytes(vertexCount, kVertexAttributeBytes)),
                              Arena::roomFor(dataBytes(faceCount, kFaceAttributeBytes)),
                              Arena::roomFor(dataBytes(names.size(), nameBytes(names)))};
  std::size_t sum = 0;
  for (const std::size_t bytes : room) {
    if (bytes > std::numeric_limits<std::size_t>::max() - sum) throw std::bad_alloc();
    sum += bytes;
  }
  return sum;
}

template <class Number>
void put(void* record, std::size_t offset, Number value) {
  std::memcpy(static_cast<std::uint8_t*>(record) + offset, &value, sizeof value);
}

void clearMarks(std::uint8_t* elements, std::size_t count, std::size_t elementSize) {
  for (std::size_t i = 0; i < count; ++i) elements[i * elementSize + kMarkByte] = 0;
}

}  // namespace

HostMesh::HostMesh(const MeshDescription& description)
    : HostMesh(static_cast<std::uint32_t>(description.vertices.size()),
               static_cast<std::uint32_t>(description.faces.size()), description.groupNames,
               &description.vertices) {}

HostMesh::HostMesh(std::uint32_t vertexCount, std::uint32_t faceCount,
                   const std::vector<std::string>& groupNames)
    : HostMesh(vertexCount, faceCount, groupNames, nullptr) {}

HostMesh::HostMesh(std::uint32_t vertexCount, std::uint32_t faceCount,
                   const std::vector<std::string>& groupNames,
                   const std::vector<std::array<float, 3>>* points)
    : vertexCount_(vertexCount),
      faceCount_(faceCount),
      arena_(arenaBytes(vertexCount, faceCount, groupNames, points != nullptr)) {
  mesh_ = arena_.allocate(kMeshBytes);
  hostData_[4] = mesh_;
  for (const Array array : kArrays) put<std::uint32_t>(mesh_, static_cast<std::size_t>(array), 0);
  for (std::size_t i = 0; i < 3; ++i) {
    put(mesh_, mesh_offset::kImportScaleX + i * sizeof(float), 1.0F);
    put(mesh_, mesh_offset::kImportOffsetX + i * sizeof(float), 0.0F);
  }
  if (points != nullptr) {
    std::uint8_t* to = makeArray(Array::kPoints, vertexCount, kPointBytes).data;
    for (const std::array<float, 3>& point : *points) {
      std::memcpy(to, point.data(), kPointBytes);
      to += kPointBytes;
    }
  }
  clearMarks(makeArray(Array::kVertexAttributes, vertexCount, kVertexAttributeBytes).data, vertexCount,
             kVertexAttributeBytes);
  clearMarks(makeArray(Array::kFaceAttributes, faceCount, kFaceAttributeBytes).data, faceCount,
             kFaceAttributeBytes);
  if (!groupNames.empty()) fillGroupNames(groupNames);
  known_.assign(arena_.begin(), arena_.end());
}

void HostMesh::addArray(Array array, std::uint32_t count, std::uint32_t elementSize) {
  if (parts(array).record != nullptr) throw std::logic_error("the mesh has this array");
  if (dataBytes(count, elementSize) > kAddedDataBytes) throw std::bad_alloc();
  const std::uint8_t* const added = arena_.end();
  makeArray(array, count, elementSize);
  known_.insert(known_.end(), added, static_cast<const std::uint8_t*>(arena_.end()));
  remember(mesh_ + static_cast<std::size_t>(array), sizeof(std::uint32_t));
}

std::uint8_t HostMesh::mask(std::uint32_t vertex) const {
  return vertexAttributes()[vertex * kVertexAttributeBytes + kMarkByte];
}

std::uint8_t HostMesh::creases(std::uint32_t face) const {
  return faceAttributes()[face * kFaceAttributeBytes + kMarkByte];
}

void HostMesh::setMask(std::uint32_t vertex, std::uint8_t value) {
  vertexAttributes()[vertex * kVertexAttributeBytes + kMarkByte] = value;
}

void HostMesh::setCreases(std::uint32_t face, std::uint8_t bits) {
  faceAttributes()[face * kFaceAttributeBytes + kMarkByte] = bits;
}

std::uint32_t HostMesh::word(const void* record, std::size_t offset) const {
  std::uint32_t value = 0;
  std::memcpy(&value, static_cast<const std::uint8_t*>(record) + offset, sizeof value);
  return value;
}

void HostMesh::setWord(void* record, std::size_t offset, std::uint32_t value) {
  put(record, offset, value);
  remember(static_cast<std::uint8_t*>(record) + offset, sizeof value);
}

void HostMesh::setHalf(void* record, std::size_t offset, std::uint16_t value) {
  put(record, offset, value);
  remember(static_cast<std::uint8_t*>(record) + offset, sizeof value);
}

void HostMesh::setArray(Array array, const void* record) {
  setWord(mesh_, static_cast<std::size_t>(array), pointerField(record));
}

bool HostMesh::onlyMarksChanged() const {
  std::vector<std::uint8_t> now(arena_.begin(), arena_.end());
  const auto restoreMarks = [&](const std::uint8_t* elements, std::size_t count, std::size_t elementSize) {
    const auto first = static_cast<std::size_t>(elements - arena_.begin()) + kMarkByte;
    for (std::size_t i = 0; i < count; ++i) now[first + i * elementSize] = known_[first + i * elementSize];
  };
  restoreMarks(vertexAttributes(), vertexCount_, kVertexAttributeBytes);
  restoreMarks(faceAttributes(), faceCount_, kFaceAttributeBytes);
  return now == known_;
}

HostMesh::Parts& HostMesh::parts(Array array) {
  const auto* const found = std::find(kArrays.begin(), kArrays.end(), array);
  return arrays_.at(static_cast<std::size_t>(found - kArrays.begin()));
}

HostMesh::Parts& HostMesh::makeArray(Array array, std::size_t count, std::size_t elementSize) {
  Parts& made = parts(array);
  made.record = arena_.allocate(kArrayBytes);
  made.block = arena_.allocate(kBlockBytes);
  made.data = arena_.allocate(dataBytes(count, elementSize));
  put(mesh_, static_cast<std::size_t>(array), pointerField(made.record));
  put(made.record, array_offset::kBlock, pointerField(made.block));
  put(made.record, array_offset::kCount, static_cast<std::int32_t>(count));
  put(made.record, array_offset::kElementSize, static_cast<std::int32_t>(elementSize));
  put(made.block, block_offset::kStateFlags, std::uint16_t{0});
  put(made.block, block_offset::kData, pointerField(made.data));
  put(made.block, block_offset::kOfflineCount, std::int16_t{0});
  return made;
}

void HostMesh::fillGroupNames(const std::vector<std::string>& names) {
  const std::size_t elementSize = nameBytes(names);
  std::uint8_t* to = makeArray(Array::kGroupNames, names.size(), elementSize).data;
  for (const std::string& name : names) {
    std::memcpy(to, name.c_str(), name.size() + 1);
    to += elementSize;
  }
}

void HostMesh::remember(const void* changed, std::size_t bytes) {
  const auto at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(changed) - arena_.begin());
  std::memcpy(known_.data() + at, changed, bytes);
}

}  // namespace host
