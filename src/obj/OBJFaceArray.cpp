#include "obj/OBJFaceArray.h"

#include <algorithm>
#include <cstdlib>

#include "obj/OBJAssert.h"
#include "obj/OBJVectorArray.h"
#include "obj/internal/OBJFaceGeometry.h"

namespace WavefrontOBJ {

OBJFaceBlock& OBJFaceArray::blockOf(std::uint32_t index, std::uint32_t& slot) const {
  const std::uint32_t block = index_.block(index);
  if (block >= blocks.size()) OBJAssertionFailed("operator[]", "OBJFaceArray", 64, "0");
  slot = index_.slot(index, block);
  return *blocks[block];
}

OBJFace& OBJFaceArray::operator[](std::uint32_t index) {
  std::uint32_t slot = 0;
  OBJFaceBlock& block = blockOf(index, slot);
  return block.record(slot);
}

OBJFace OBJFaceArray::operator[](std::uint32_t index) const {
  std::uint32_t slot = 0;
  const OBJFaceBlock& block = blockOf(index, slot);
  return {block, slot};
}

OBJFaceView OBJFaceArray::view(std::uint32_t index) const {
  std::uint32_t slot = 0;
  const OBJFaceBlock& block = blockOf(index, slot);
  return block.view(slot);
}

OBJFaceGeometry OBJFaceArray::geometry(std::uint32_t index) const {
  std::uint32_t slot = 0;
  const OBJFaceBlock& block = blockOf(index, slot);
  return block.geometry(slot);
}

void OBJFaceArray::ComputeNormalsAndCenters(const OBJVectorArray& vertices) {
  std::uint32_t index = 0;
  for (const auto& block : blocks) {
    for (std::uint32_t slot = 0; slot < blockSize && index < count; ++slot, ++index) {
      const OBJFaceGeometry geometry = faceGeometry(block->view(slot), vertices);
      block->setNormalAndCenter(slot, geometry.normal, geometry.center);
    }
  }
}

std::uint32_t OBJFaceArray::FaceTypeCount(std::uint32_t n) const {
  std::uint32_t faces = 0;
  forEachFace([&](std::uint32_t, const OBJFaceView& face) { faces += face.vertexCount == n ? 1 : 0; });
  return faces;
}

std::uint32_t* OBJFaceArray::ExtractFaceIndices(std::uint32_t n, std::uint32_t& faceCount) const {
  faceCount = FaceTypeCount(n);
  if (faceCount == 0) return nullptr;
  const std::size_t wordCount = std::size_t{n} * faceCount;
  // Never asks for 0 bytes: a face without corners still has a buffer to release.
  auto* words =
      static_cast<std::uint32_t*>(std::calloc(std::max<std::size_t>(wordCount, 1), sizeof(std::uint32_t)));
  if (words == nullptr) return nullptr;
  std::size_t written = 0;
  forEachFace([&](std::uint32_t, const OBJFaceView& face) {
    if (face.vertexCount != n) return;
    for (std::uint32_t i = 0; i < n; ++i) words[written++] = face.vertexIndex[i];
  });
  if (written != wordCount) {
    // For a target that leaves by an exception.
    std::free(words);
    OBJAssertionFailed("ExtractFaceIndices", "OBJFaceArray", 148, "vertexI == vertexICount");
  }
  return words;
}

}  // namespace WavefrontOBJ
