#include "obj/OBJLinkArray.h"

#include <algorithm>
#include <functional>

#include "obj/OBJAssert.h"

namespace WavefrontOBJ {
namespace {

void deleteChain(const OBJLinks* node) {
  while (node != nullptr) {
    const OBJLinks* next = node->next;
    delete node;
    node = next;
  }
}

/// Overflow nodes that nothing owns yet.
struct Chain {
  OBJLinks* first = nullptr;

  explicit Chain(const OBJLinks* nodes) {
    OBJLinks** end = &first;
    try {
      for (; nodes != nullptr; nodes = nodes->next, end = &(*end)->next) {
        *end = new OBJLinks(*nodes);
        (*end)->next = nullptr;
      }
    } catch (...) {
      deleteChain(first);
      throw;
    }
  }
  Chain(const Chain&) = delete;
  Chain& operator=(const Chain&) = delete;
  ~Chain() { deleteChain(first); }
};

}  // namespace

OBJLinkArray::~OBJLinkArray() {
  // Slots that were never written are zero.
  for (const OBJLinks* block : blocks) {
    std::for_each(block, block + blockSize, [](const OBJLinks& list) { deleteChain(list.next); });
  }
}

bool OBJLinkArray::holds(const OBJLinks& element) const {
  const std::less<> before;
  return std::any_of(blocks.begin(), blocks.end(), [&](const OBJLinks* block) {
    return !before(&element, block) && before(&element, block + blockSize);
  });
}

bool OBJLinkArray::push_back(const OBJLinks& element) {
  if (element.next == nullptr || !holds(element)) {
    append(element);
    return false;
  }
  Chain chain(element.next);
  OBJLinks copy = element;
  copy.next = chain.first;
  if (append(copy)) chain.first = nullptr;
  return false;
}

bool OBJLinkArray::reserve(std::uint32_t n) {
  if (count != 0) return false;
  const std::uint64_t wanted = (std::uint64_t{n} + blockSize - 1) / blockSize;
  for (std::uint64_t i = 0; i < wanted; ++i) {
    if (!addBlock()) return false;
  }
  count = n;
  return true;
}

OBJLinks& OBJLinkArray::slot(std::uint32_t index) const {
  OBJLinks* links = find(index);
  if (links == nullptr) OBJAssertionFailed("operator[]", "OBJLinkArray", 140, "0");
  return *links;
}

}  // namespace WavefrontOBJ
