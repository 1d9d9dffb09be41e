#include "obj/OBJBasic.h"

#include <algorithm>
#include <cstring>

#include "obj/OBJAssert.h"
#include "obj/OBJFaceBlock.h"

namespace WavefrontOBJ {

const OBJVector gZeroVector;
const OBJFace gNullFace;
const OBJLinks gZeroLinks{};

// The index arrays are left unset on purpose: filling 1 KB per face would dominate building one.
OBJFace::OBJFace()
    : vertexCount(0), hasTexture(0), hasNormal(0), smoothingGroup(0), materialIndex(-1), reserved(-1.0F) {}

OBJFace::OBJFace(const OBJFace& other)
    : vertexCount(other.vertexCount),
      hasTexture(other.hasTexture),
      hasNormal(other.hasNormal),
      smoothingGroup(other.smoothingGroup),
      materialIndex(other.materialIndex) {
  std::memcpy(vertexIndex, other.vertexIndex, sizeof vertexIndex);
  std::memcpy(textureIndex, other.textureIndex, sizeof textureIndex);
  std::memcpy(normalIndex, other.normalIndex, sizeof normalIndex);
}

OBJFace::OBJFace(const OBJFaceBlock& block, std::uint32_t slot) {
  block.load(slot, *this);
}

bool OBJFace::addVertex(std::uint32_t vertex, std::uint32_t texture, std::uint32_t normalIdx,
                        bool withTexture, bool withNormal) {
  const std::uint32_t* const end = vertexIndex + std::min(vertexCount, kMaxVertexCount);
  if (std::find(static_cast<const std::uint32_t*>(vertexIndex), end, vertex) != end) return true;
  if (vertexCount >= kMaxVertexCount) OBJAssertionFailed("addVertex", "OBJBasic", 324, "0");
  hasTexture = withTexture ? 1 : 0;
  hasNormal = withNormal ? 1 : 0;
  vertexIndex[vertexCount] = vertex;
  textureIndex[vertexCount] = texture;
  normalIndex[vertexCount] = normalIdx;
  ++vertexCount;
  return true;
}

void OBJFace::ReverseFace() {
  std::reverse(vertexIndex, vertexIndex + std::min(vertexCount, kMaxVertexCount));
}

bool OBJLinks::push_back(std::uint32_t face) {
  OBJLinks* node = this;
  while (node->count >= kFacesPerNode) {
    if (node->next == nullptr) node->next = new OBJLinks;
    node = node->next;
  }
  node->faces[node->count++] = face;
  return true;
}

std::uint32_t OBJLinks::operator[](std::uint32_t i) const {
  for (const OBJLinks* node = this; node != nullptr; node = node->next) {
    if (i < node->count) return node->faces[i];
    i -= node->count;
  }
  return 0;
}

std::uint32_t OBJLinks::size() const {
  std::uint32_t total = 0;
  for (const OBJLinks* node = this; node != nullptr; node = node->next) total += node->count;
  return total;
}

}  // namespace WavefrontOBJ
