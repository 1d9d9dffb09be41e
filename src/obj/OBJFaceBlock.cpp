#include "obj/OBJFaceBlock.h"

#include <algorithm>
#include <new>
#include <type_traits>

namespace WavefrontOBJ {
namespace {

/// No block of more faces fits in 32 bits of corners, or in the memory of a 32-bit machine.
constexpr std::uint32_t kMaxBlockSize = UINT32_MAX / sizeof(OBJFaceGeometry) / 2;

void fill(OBJFace& face, const OBJFaceView& view, const OBJFaceGeometry& geometry) {
  face.vertexCount = view.vertexCount;
  for (std::uint32_t i = 0; i < view.vertexCount; ++i) {
    face.vertexIndex[i] = view.vertexIndex[i];
    face.textureIndex[i] = view.textureIndex[i];
    face.normalIndex[i] = view.normalIndex[i];
  }
  face.hasTexture = view.hasTexture ? 1 : 0;
  face.hasNormal = view.hasNormal ? 1 : 0;
  face.smoothingGroup = view.smoothingGroup;
  face.materialIndex = view.materialIndex;
  face.normal = geometry.normal;
  face.center = geometry.center;
  face.reserved = geometry.reserved;
}

}  // namespace

std::unique_ptr<OBJFaceBlock> OBJFaceBlock::create(std::uint32_t blockSize) {
  static_assert(std::is_trivially_copyable_v<Header> && sizeof(Header) == 16);
  static_assert(std::is_trivially_copyable_v<OBJFaceGeometry> && sizeof(OBJFaceGeometry) == 36);
  std::unique_ptr<OBJFaceBlock> block(new (std::nothrow) OBJFaceBlock(blockSize));
  if (block == nullptr) return nullptr;
  if (blockSize > kMaxBlockSize) return nullptr;
  // Not zeroed: only slots in use are read, and memory that is touched twice costs twice.
  block->headers_.reset(static_cast<Header*>(std::malloc(std::size_t{blockSize} * sizeof(Header))));
  block->geometries_.reset(
      static_cast<OBJFaceGeometry*>(std::malloc(std::size_t{blockSize} * sizeof(OBJFaceGeometry))));
  // Room for a block of textured quads with normals. What stays unused is never touched.
  const bool complete = block->headers_ != nullptr && block->geometries_ != nullptr &&
                        block->reserveCorners(blockSize * 12 + kCornerRoom);
  if (!complete) return nullptr;
  return block;
}

bool OBJFaceBlock::reserveCorners(std::uint32_t wanted) {
  if (wanted <= cornerCapacity_) return true;
  const std::uint64_t capacity = std::max<std::uint64_t>(wanted, std::uint64_t{cornerCapacity_} * 2);
  if (capacity > SIZE_MAX / sizeof(std::uint32_t) || capacity > UINT32_MAX) return false;
  void* larger = std::realloc(corners_.get(), static_cast<std::size_t>(capacity) * sizeof(std::uint32_t));
  if (larger == nullptr) return false;
  static_cast<void>(corners_.release());
  corners_.reset(static_cast<std::uint32_t*>(larger));
  cornerCapacity_ = static_cast<std::uint32_t>(capacity);
  return true;
}

std::uint32_t* OBJFaceBlock::cornerRoom() {
  if (records_ != nullptr || !reserveCorners(cornerCount_ + kCornerRoom)) return nullptr;
  return corners_.get() + cornerCount_;
}

bool OBJFaceBlock::append(const OBJFaceView& face, const OBJFaceGeometry& geometry) {
  if (records_ != nullptr) {
    fill(records_[used_++], face, geometry);
    return true;
  }
  const bool storesTexture = face.textureIndex.isStored();
  const bool storesNormal = face.normalIndex.isStored();
  const std::uint32_t stride = 1U + (storesTexture ? 1U : 0U) + (storesNormal ? 1U : 0U);
  std::uint32_t* out = cornerRoom();
  if (out == nullptr) return false;
  if (face.vertexIndex.data() != out) {
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      *out++ = face.vertexIndex[i];
      if (storesTexture) *out++ = face.textureIndex[i];
      if (storesNormal) *out++ = face.normalIndex[i];
    }
  }
  Header& header = headers_[used_];
  header.firstCorner = cornerCount_;
  header.smoothingGroup = face.smoothingGroup;
  header.materialIndex = face.materialIndex;
  header.vertexCount = static_cast<std::uint8_t>(face.vertexCount);
  header.hasTexture = face.hasTexture;
  header.hasNormal = face.hasNormal;
  header.storesTexture = storesTexture;
  header.storesNormal = storesNormal;
  geometries_[used_] = geometry;
  cornerCount_ += face.vertexCount * stride;
  ++used_;
  return true;
}

OBJFaceView OBJFaceBlock::view(std::uint32_t slot) const {
  if (records_ != nullptr) return OBJFaceView::of(records_[slot]);
  if (slot >= used_) return {};
  const Header& header = headers_[slot];
  const std::uint32_t stride = 1U + (header.storesTexture ? 1U : 0U) + (header.storesNormal ? 1U : 0U);
  const std::uint32_t* corners = corners_.get() + header.firstCorner;
  OBJFaceView view;
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
  if (records_ != nullptr) {
    const OBJFace& face = records_[slot];
    return {face.normal, face.center, face.reserved};
  }
  return slot < used_ ? geometries_[slot] : OBJFaceGeometry{};
}

void OBJFaceBlock::setNormalAndCenter(std::uint32_t slot, const OBJVector& normal, const OBJVector& center) {
  if (records_ != nullptr) {
    records_[slot].normal = normal;
    records_[slot].center = center;
  } else if (slot < used_) {
    geometries_[slot].normal = normal;
    geometries_[slot].center = center;
  }
}

OBJFace& OBJFaceBlock::record(std::uint32_t slot) {
  if (records_ == nullptr) {
    auto records = std::make_unique<OBJFace[]>(blockSize_);
    for (std::uint32_t i = 0; i < used_; ++i) fill(records[i], view(i), geometry(i));
    records_ = std::move(records);
    headers_.reset();
    geometries_.reset();
    corners_.reset();
  }
  return records_[slot];
}

}  // namespace WavefrontOBJ
