#include "obj/OBJLinkArray.h"

#include "obj/OBJAssert.h"

namespace WavefrontOBJ {

OBJLinkArray::~OBJLinkArray() {
  for (std::uint32_t i = 0; i < count; ++i) {
    const OBJLinks* node = find(i)->next;
    while (node != nullptr) {
      const OBJLinks* next = node->next;
      delete node;
      node = next;
    }
  }
}

bool OBJLinkArray::push_back(const OBJLinks& element) {
  append(element);
  return false;
}

bool OBJLinkArray::reserve(std::uint32_t n) {
  if (count != 0) return false;
  const std::uint64_t wanted = (std::uint64_t{n} + blockSize - 1) / blockSize;
  for (std::uint64_t i = 0; i < wanted; ++i) {
    if (addBlock()) continue;
    countStored(0);
    return false;
  }
  countStored(n);
  return true;
}

OBJLinks& OBJLinkArray::slot(std::uint32_t index) const {
  OBJLinks* links = find(index);
  if (links == nullptr) OBJAssertionFailed("operator[]", "OBJLinkArray", 140, "0");
  return *links;
}

}  // namespace WavefrontOBJ
