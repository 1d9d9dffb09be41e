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

OBJFaceGeometry geometryOf(const OBJFace& face) {
  return {face.normal, face.center, face.reserved};
}

}  // namespace

bool OBJFaceMemory::reserveCorners(std::uint32_t words) {
  if (words <= cornersLeft) return true;
  void* const piece = blocks.take(kPieceWords, sizeof(std::uint32_t));
  if (piece == nullptr) return false;
  corners = static_cast<std::uint32_t*>(piece);
  cornersUsed = 0;
  cornersLeft = kPieceWords;
  return true;
}

OBJFaceMemory& OBJFaceBlocks::allMemory() {
  if (memory == nullptr) memory = std::make_shared<OBJFaceMemory>();
  return *memory;
}

std::unique_ptr<OBJFaceBlock> OBJFaceBlocks::operator()(std::uint32_t blockSize) try {
  if (blockSize > kMaxBlockSize) return nullptr;
  allMemory();
  return std::make_unique<OBJFaceBlock>(blockSize, memory);
} catch (const std::bad_alloc&) {
  return nullptr;
}

/// The packed form has no place for other values.
bool OBJFaceBlock::canBePacked(const OBJFaceGeometry& geometry) {
  return geometry.center.w == 1.0F && geometry.reserved == -1.0F;
}

/// Nor for other counts and flags, and for entries behind the corners in use.
bool OBJFaceBlock::canBePacked(const OBJFace& face) {
  if (face.vertexCount > OBJFace::kMaxVertexCount || face.hasTexture > 1 || face.hasNormal > 1) return false;
  const auto endsInZeros = [&face](const std::uint32_t* indices) {
    return std::all_of(indices + face.vertexCount, indices + OBJFace::kMaxVertexCount,
                       [](std::uint32_t index) { return index == 0; });
  };
  return endsInZeros(face.vertexIndex) && endsInZeros(face.textureIndex) && endsInZeros(face.normalIndex);
}

/// Makes room for one more run of packed faces, and with the first for all of them but their corners. False
/// without memory; what has been had by then serves the next try.
bool OBJFaceBlock::reserveRun() {
  static_assert(std::is_trivially_copyable_v<Header> && sizeof(Header) == 8);
  static_assert(std::is_trivially_copyable_v<Geometry> && sizeof(Geometry) == 28);
  static_assert(std::is_trivially_copyable_v<Run>);
  if (runCount_ < runCapacity_) return true;
  if (headers_ == nullptr) {
    // Not zeroed: only slots in use are read, and memory that is touched twice costs twice.
    void* const faces = memory_->blocks.take(blockSize_, sizeof(Geometry) + sizeof(Header));
    if (faces == nullptr) return false;
    geometries_ = static_cast<Geometry*>(faces);
    headers_ = reinterpret_cast<Header*>(geometries_ + blockSize_);
  }
  const std::uint32_t capacity = runCapacity_ * 2 + 4;
  void* const larger = std::realloc(runs_.get(), capacity * sizeof(Run));
  if (larger == nullptr) return false;
  static_cast<void>(runs_.release());
  runs_.reset(static_cast<Run*>(larger));
  runCapacity_ = capacity;
  return true;
}

/// Turns the block flat.
bool OBJFaceBlock::makeFlat() {
  if (records_ != nullptr) return true;
  Buffer<OBJFace> records(static_cast<OBJFace*>(std::calloc(blockSize_, sizeof(OBJFace))));
  if (records == nullptr) return false;
  for (std::uint32_t i = 0; i < used_; ++i) fill(records[i], view(i), geometry(i));
  records_ = std::move(records);
  return true;
}

std::uint32_t* OBJFaceBlock::cornerRoom(std::uint32_t slot) {
  if (!takesPacked(slot)) return nullptr;
  const bool ready = memory_->cornersLeft >= kCornerRoom && runCount_ < runCapacity_;
  if (!ready && !(memory_->reserveCorners(kCornerRoom) && reserveRun())) return nullptr;
  return memory_->corners + memory_->cornersUsed;
}

void OBJFaceBlock::commitCorners(const OBJFaceView& face, const OBJFaceGeometry& geometry) {
  commit(face, geometry, memory_->next());
  const std::uint32_t stride =
      OBJFaceView::strideOf(face.textureIndex.isStored(), face.normalIndex.isStored());
  memory_->keep(face.vertexCount * stride);
}

/// Stores a packed face whose corners are in their place.
void OBJFaceBlock::commit(const OBJFaceView& face, const OBJFaceGeometry& geometry,
                          const OBJPlacedCorners& corners) {
  const Run run{corners.piece,  face.smoothingGroup,          face.materialIndex,         face.hasTexture,
                face.hasNormal, face.textureIndex.isStored(), face.normalIndex.isStored()};
  if (runCount_ == 0 || !(runs_[runCount_ - 1] == run)) runs_[runCount_++] = run;
  headers_[used_] = {runCount_ - 1, static_cast<std::uint16_t>(corners.first),
                     static_cast<std::uint8_t>(face.vertexCount)};
  setPacked(used_, geometry.normal, geometry.center);
  ++used_;
}

/// Stores what the packed form keeps of a face's geometry.
void OBJFaceBlock::setPacked(std::uint32_t slot, const OBJVector& normal, const OBJVector& center) {
  geometries_[slot] = {normal, {center.x, center.y, center.z}};
}

bool OBJFaceBlock::store(std::uint32_t slot, const OBJFaceView& face, const OBJFaceGeometry& geometry) {
  std::uint32_t* out = canBePacked(geometry) ? cornerRoom(slot) : nullptr;
  if (out == nullptr) {
    if (!makeFlat()) return false;
    fill(records_[slot], face, geometry);
    return true;
  }
  for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
    *out++ = face.vertexIndex[i];
    if (face.textureIndex.isStored()) *out++ = face.textureIndex[i];
    if (face.normalIndex.isStored()) *out++ = face.normalIndex[i];
  }
  commitCorners(face, geometry);
  return true;
}

bool OBJFaceBlock::store(std::uint32_t slot, const OBJFaceView& face, const OBJFaceGeometry& geometry,
                         const OBJPlacedCorners& corners) {
  if (!canBePacked(geometry) || !takesPacked(slot) || !reserveRun()) return store(slot, face, geometry);
  commit(face, geometry, corners);
  return true;
}

bool OBJFaceBlock::store(std::uint32_t slot, const OBJFace& face) {
  if (takesPacked(slot) && canBePacked(face)) {
    return store(slot, OBJFaceView::of(face), geometryOf(face));
  }
  if (!makeFlat()) return false;
  records_[slot] = face;
  return true;
}

OBJFaceView OBJFaceBlock::view(std::uint32_t slot) const {
  if (records_ != nullptr) return OBJFaceView::of(records_[slot]);
  if (slot >= used_) {
    OBJFaceView view;
    view.materialIndex = 0;
    return view;
  }
  const Header& header = headers_[slot];
  const Run& run = runs_[header.run];
  OBJFaceView view = OBJFaceView::ofCorners(run.corners + header.firstCorner, header.vertexCount,
                                            run.storesTexture, run.storesNormal);
  view.smoothingGroup = run.smoothingGroup;
  view.materialIndex = run.materialIndex;
  view.hasTexture = run.hasTexture;
  view.hasNormal = run.hasNormal;
  return view;
}

void OBJFaceBlock::prefetch(std::uint32_t slot) const {
  if (records_ != nullptr || slot >= used_) return;
  const Header& header = headers_[slot];
  const std::uint32_t* const corners = runs_[header.run].corners + header.firstCorner;
  // A quad's corners lie in two lines of the cache, mostly.
  __builtin_prefetch(corners);
  __builtin_prefetch(corners + 10);
}

OBJFaceGeometry OBJFaceBlock::geometry(std::uint32_t slot) const {
  if (records_ != nullptr) return geometryOf(records_[slot]);
  if (slot >= used_) return {{0, 0, 0, 0}, {0, 0, 0, 0}, 0};
  const Geometry& packed = geometries_[slot];
  return {packed.normal, {packed.center[0], packed.center[1], packed.center[2]}, -1.0F};
}

void OBJFaceBlock::load(std::uint32_t slot, OBJFace& face) const {
  if (records_ != nullptr) {
    face = records_[slot];
  } else {
    fill(face, view(slot), geometry(slot));
  }
}

void OBJFaceBlock::setNormalAndCenter(std::uint32_t slot, const OBJVector& normal, const OBJVector& center) {
  if (records_ == nullptr && slot < used_ && center.w == 1.0F) {
    setPacked(slot, normal, center);
    return;
  }
  OBJFace& face = record(slot);
  face.normal = normal;
  face.center = center;
}

OBJFace& OBJFaceBlock::record(std::uint32_t slot) {
  if (!makeFlat()) throw std::bad_alloc();
  return records_[slot];
}

}  // namespace WavefrontOBJ
