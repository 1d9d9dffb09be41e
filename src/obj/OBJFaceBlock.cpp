#include "obj/OBJFaceBlock.h"

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>

namespace WavefrontOBJ {
namespace {

/// No block of more faces fits in 32 bits of corners, or in the memory of a 32-bit machine.
constexpr std::uint32_t kMaxBlockSize = UINT32_MAX / sizeof(OBJFaceGeometry) / 2;

void fill(OBJFace& face, const OBJFaceView& view, const OBJFaceGeometry& geometry) {
  const auto fillIndices = [&view](std::uint32_t* to, const OBJCornerIndices& from) {
    for (std::uint32_t i = 0; i < view.vertexCount; ++i) to[i] = from[i];
    std::fill(to + view.vertexCount, to + OBJFace::kMaxVertexCount, 0);
  };
  face.vertexCount = view.vertexCount;
  fillIndices(face.vertexIndex, view.vertexIndex);
  fillIndices(face.textureIndex, view.textureIndex);
  fillIndices(face.normalIndex, view.normalIndex);
  face.hasTexture = view.hasTexture ? 1 : 0;
  face.hasNormal = view.hasNormal ? 1 : 0;
  face.smoothingGroup = view.smoothingGroup;
  face.materialIndex = view.materialIndex;
  face.normal = geometry.normal;
  face.center = geometry.center;
  face.reserved = geometry.reserved;
}

/// The packed form has no place for other counts and flags, nor for entries behind the corners in use.
bool canBePacked(const OBJFace& face) {
  if (face.vertexCount > OBJFace::kMaxVertexCount || face.hasTexture > 1 || face.hasNormal > 1) return false;
  const auto endsInZeros = [&face](const std::uint32_t* indices) {
    return std::all_of(indices + face.vertexCount, indices + OBJFace::kMaxVertexCount,
                       [](std::uint32_t index) { return index == 0; });
  };
  return endsInZeros(face.vertexIndex) && endsInZeros(face.textureIndex) && endsInZeros(face.normalIndex);
}

OBJFaceGeometry geometryOf(const OBJFace& face) {
  return {face.normal, face.center, face.reserved};
}

}  // namespace

std::unique_ptr<OBJFaceBlock> OBJFaceBlock::create(std::uint32_t blockSize) {
  static_assert(std::is_trivially_copyable_v<Header> && sizeof(Header) == 16);
  static_assert(std::is_trivially_copyable_v<OBJFaceGeometry> && sizeof(OBJFaceGeometry) == 36);
  std::unique_ptr<OBJFaceBlock> block(new (std::nothrow) OBJFaceBlock(blockSize));
  if (block == nullptr) return nullptr;
  if (blockSize > kMaxBlockSize) return nullptr;
  // Not zeroed: only slots in use are read, and memory that is touched twice costs twice.
  Packed& packed = block->packed_;
  packed.headers.reset(static_cast<Header*>(std::malloc(std::size_t{blockSize} * sizeof(Header))));
  packed.geometries.reset(
      static_cast<OBJFaceGeometry*>(std::malloc(std::size_t{blockSize} * sizeof(OBJFaceGeometry))));
  // Room for a block of textured quads with normals. What stays unused is never touched.
  Buffer<std::uint32_t> none;
  const bool complete = packed.headers != nullptr && packed.geometries != nullptr &&
                        block->reserveCorners(blockSize * 12 + kCornerRoom, none);
  if (!complete) return nullptr;
  return block;
}

/// Makes room for `wanted` words of corners. Where they move, the place that they leave goes to `replaced`.
bool OBJFaceBlock::reserveCorners(std::uint32_t wanted, Buffer<std::uint32_t>& replaced) {
  if (wanted <= cornerCapacity_) return true;
  const std::uint64_t capacity = std::max<std::uint64_t>(wanted, std::uint64_t{cornerCapacity_} * 2);
  if (capacity > SIZE_MAX / sizeof(std::uint32_t) || capacity > UINT32_MAX) return false;
  Buffer<std::uint32_t> larger(
      static_cast<std::uint32_t*>(std::malloc(static_cast<std::size_t>(capacity) * sizeof(std::uint32_t))));
  if (larger == nullptr) return false;
  std::copy_n(packed_.corners.get(), cornerCount_, larger.get());
  replaced = std::exchange(packed_.corners, std::move(larger));
  cornerCapacity_ = static_cast<std::uint32_t>(capacity);
  return true;
}

/// Turns the block flat. The packed buffers, if it had any, go to `replaced`.
bool OBJFaceBlock::makeFlat(Packed& replaced) {
  if (records_ != nullptr) return true;
  Buffer<OBJFace> records(static_cast<OBJFace*>(std::calloc(blockSize_, sizeof(OBJFace))));
  if (records == nullptr) return false;
  for (std::uint32_t i = 0; i < used_; ++i) fill(records[i], view(i), geometry(i));
  records_ = std::move(records);
  replaced = std::move(packed_);
  return true;
}

std::uint32_t* OBJFaceBlock::cornerRoom(std::uint32_t slot) {
  if (records_ != nullptr || slot != used_) return nullptr;
  if (cornerCount_ + kCornerRoom > cornerCapacity_) {
    Buffer<std::uint32_t> replaced;
    if (!reserveCorners(cornerCount_ + kCornerRoom, replaced)) return nullptr;
  }
  return packed_.corners.get() + cornerCount_;
}

void OBJFaceBlock::commitCorners(const OBJFaceView& face, const OBJFaceGeometry& geometry) {
  const bool storesTexture = face.textureIndex.isStored();
  const bool storesNormal = face.normalIndex.isStored();
  Header& header = packed_.headers[used_];
  header.firstCorner = cornerCount_;
  header.smoothingGroup = face.smoothingGroup;
  header.materialIndex = face.materialIndex;
  header.vertexCount = static_cast<std::uint8_t>(face.vertexCount);
  header.hasTexture = face.hasTexture;
  header.hasNormal = face.hasNormal;
  header.storesTexture = storesTexture;
  header.storesNormal = storesNormal;
  packed_.geometries[used_] = geometry;
  cornerCount_ += face.vertexCount * (1U + (storesTexture ? 1U : 0U) + (storesNormal ? 1U : 0U));
  ++used_;
}

bool OBJFaceBlock::store(std::uint32_t slot, const OBJFaceView& face, const OBJFaceGeometry& geometry) {
  // The face may be shown from buffers of this block: they go when it has been copied.
  Packed replaced;
  if (records_ != nullptr || slot != used_) {
    if (!makeFlat(replaced)) return false;
    fill(records_[slot], face, geometry);
    return true;
  }
  if (!reserveCorners(cornerCount_ + kCornerRoom, replaced.corners)) return false;
  std::uint32_t* out = packed_.corners.get() + cornerCount_;
  for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
    *out++ = face.vertexIndex[i];
    if (face.textureIndex.isStored()) *out++ = face.textureIndex[i];
    if (face.normalIndex.isStored()) *out++ = face.normalIndex[i];
  }
  commitCorners(face, geometry);
  return true;
}

bool OBJFaceBlock::store(std::uint32_t slot, const OBJFace& face) {
  if (records_ == nullptr && slot == used_ && canBePacked(face)) {
    return store(slot, OBJFaceView::of(face), geometryOf(face));
  }
  Packed replaced;
  if (!makeFlat(replaced)) return false;
  records_[slot] = face;
  return true;
}

OBJFaceView OBJFaceBlock::view(std::uint32_t slot) const {
  if (records_ != nullptr) return OBJFaceView::of(records_[slot]);
  OBJFaceView view;
  if (slot >= used_) {
    view.materialIndex = 0;
    return view;
  }
  const Header& header = packed_.headers[slot];
  const std::uint32_t stride = 1U + (header.storesTexture ? 1U : 0U) + (header.storesNormal ? 1U : 0U);
  const std::uint32_t* corners = packed_.corners.get() + header.firstCorner;
  view.vertexIndex = OBJCornerIndices(corners, stride);
  if (header.storesTexture) view.textureIndex = OBJCornerIndices(corners + 1, stride);
  if (header.storesNormal) view.normalIndex = OBJCornerIndices(corners + stride - 1, stride);
  view.vertexCount = header.vertexCount;
  view.smoothingGroup = header.smoothingGroup;
  view.materialIndex = header.materialIndex;
  view.hasTexture = header.hasTexture;
  view.hasNormal = header.hasNormal;
  return view;
}

OBJFaceGeometry OBJFaceBlock::geometry(std::uint32_t slot) const {
  if (records_ != nullptr) return geometryOf(records_[slot]);
  return slot < used_ ? packed_.geometries[slot] : OBJFaceGeometry{{0, 0, 0, 0}, {0, 0, 0, 0}, 0};
}

void OBJFaceBlock::load(std::uint32_t slot, OBJFace& face) const {
  if (records_ != nullptr) {
    face = records_[slot];
  } else {
    fill(face, view(slot), geometry(slot));
  }
}

void OBJFaceBlock::setNormalAndCenter(std::uint32_t slot, const OBJVector& normal, const OBJVector& center) {
  if (records_ == nullptr && slot < used_) {
    packed_.geometries[slot].normal = normal;
    packed_.geometries[slot].center = center;
    return;
  }
  OBJFace& face = record(slot);
  face.normal = normal;
  face.center = center;
}

OBJFace& OBJFaceBlock::record(std::uint32_t slot) {
  Packed replaced;
  if (!makeFlat(replaced)) throw std::bad_alloc();
  return records_[slot];
}

}  // namespace WavefrontOBJ
