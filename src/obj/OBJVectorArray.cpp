#include "obj/OBJVectorArray.h"

#include <algorithm>
#include <cstring>

#include "obj/OBJAssert.h"

namespace WavefrontOBJ {

OBJVector& OBJVectorArray::slot(std::uint32_t index) const {
  OBJVector* element = find(index);
  if (element == nullptr) OBJAssertionFailed("operator[]", "OBJVectorArray", 61, "0");
  return *element;
}

bool OBJVectorArray::push_back(const OBJVector* elements, std::size_t size) {
  while (size != 0) {
    const std::uint32_t slot = nextSlot();
    if (slot == kNoSlot) return false;
    const auto added = static_cast<std::uint32_t>(std::min<std::size_t>(size, blockSize - slot));
    std::memcpy(blocks[static_cast<std::size_t>(lastBlock)] + slot, elements, added * sizeof(OBJVector));
    count += added;
    elements += added;
    size -= added;
  }
  return true;
}

bool OBJVectorArray::Contains(const OBJVector& vector) const {
  std::uint32_t left = count;
  for (const OBJVector* block : blocks) {
    const OBJVector* end = block + std::min(left, blockSize);
    const auto equals = [&vector](const OBJVector& v) {
      return v.x == vector.x && v.y == vector.y && v.z == vector.z && v.w == vector.w;
    };
    if (std::find_if(block, end, equals) != end) return true;
    left -= static_cast<std::uint32_t>(end - block);
  }
  return false;
}

bool OBJVectorArray::IsSubsetOf(const OBJVectorArray& other) const {
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!other.Contains(elementOrZero(i))) return false;
  }
  return count > 0;
}

void OBJVectorArray::ExtractVertices(void* destination) const {
  auto* out = static_cast<unsigned char*>(destination);
  std::uint32_t left = count;
  for (const OBJVector* block : blocks) {
    const std::uint32_t used = std::min(left, blockSize);
    std::memcpy(out, block, std::size_t{used} * sizeof(OBJVector));
    out += std::size_t{used} * sizeof(OBJVector);
    left -= used;
  }
}

}  // namespace WavefrontOBJ
