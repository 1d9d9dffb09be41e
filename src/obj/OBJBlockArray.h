#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <vector>

namespace WavefrontOBJ {

/// Splits an element index into block and slot without a division on 64-bit machines: the block is the upper
/// half of index * (2^64 / blockSize), rounded up, which is exact for every 32-bit index and block size.
class OBJBlockIndex {
 public:
  explicit OBJBlockIndex(std::uint32_t blockSize)
      : blockSize_(blockSize), reciprocal_(UINT64_MAX / blockSize + 1) {}

  std::uint32_t block(std::uint32_t index) const {
#if defined(__SIZEOF_INT128__)
    // The reciprocal of 1 is 2^64, which does not fit and is held as 0.
    if (reciprocal_ == 0) return index;
    __extension__ using Wide = unsigned __int128;
    return static_cast<std::uint32_t>(static_cast<Wide>(reciprocal_) * index >> 64);
#else
    return index / blockSize_;
#endif
  }
  std::uint32_t slot(std::uint32_t index, std::uint32_t block) const {
    return index - block * blockSize_;
  }

 private:
  std::uint32_t blockSize_;
  std::uint64_t reciprocal_;
};

/// Elements in blocks of a fixed size from the system allocator. Storage grows by whole blocks and never
/// moves, so references to elements stay valid while the array grows. Element i lives in block
/// i / blockSize at slot i mod blockSize. Slots are raw memory, zero until they are written.
template <class Element>
class OBJBlockArray {
  static_assert(std::is_trivially_copyable_v<Element>, "slots are written by plain copy, never constructed");

 public:
  const std::uint32_t blockSize;  ///< elements per block
  std::uint32_t count = 0;        ///< elements stored
  std::int32_t lastBlock = -1;    ///< index of the last block in use, -1 while there is none
  std::vector<Element*> blocks;   ///< one pointer per block, owned

  OBJBlockArray(const OBJBlockArray&) = delete;
  OBJBlockArray& operator=(const OBJBlockArray&) = delete;

 protected:
  /// A block size of 0 is taken as 1.
  explicit OBJBlockArray(std::uint32_t blockSize_)
      : blockSize(std::max<std::uint32_t>(blockSize_, 1)), index_(blockSize) {}
  ~OBJBlockArray() {
    for (Element* block : blocks) std::free(block);
  }

  /// Gets one block more. False, with nothing changed, when there is no memory for it.
  bool addBlock() {
    // Room for the pointer first: nothing may throw between obtaining the block and owning it.
    if (blocks.size() == blocks.capacity()) blocks.reserve(blocks.size() * 2 + 1);
    // calloc rather than malloc: an unwritten slot that is read (more normals than texture coordinates in a
    // whole-model write) then holds zeros and not what the process had in that memory before.
    auto* block = static_cast<Element*>(std::calloc(blockSize, sizeof(Element)));
    if (block == nullptr) return false;
    blocks.push_back(block);
    ++lastBlock;
    freeSlots_ = blockSize;
    nextSlot_ = block;
    return true;
  }

  bool append(const Element& element) {
    if (freeSlots_ == 0 && !addBlock()) return false;
    *nextSlot_++ = element;
    --freeSlots_;
    ++count;
    return true;
  }
  /// Makes the first `n` slots, which are zero, stored elements. The next one goes behind them.
  void countStored(std::uint32_t n) {
    count = n;
    const std::uint32_t used = n % blockSize;
    freeSlots_ = used == 0 ? 0 : blockSize - used;
    nextSlot_ = used == 0 ? nullptr : blocks.back() + used;
  }

  /// The element at an index below `count`.
  Element& stored(std::uint32_t index) const {
    const std::uint32_t block = index_.block(index);
    return blocks[block][index_.slot(index, block)];
  }

  /// Null when the block does not exist.
  Element* find(std::uint32_t index) const {
    const std::uint32_t block = index_.block(index);
    return block < blocks.size() ? blocks[block] + index_.slot(index, block) : nullptr;
  }

 private:
  std::uint32_t freeSlots_ = 0;  ///< of the last block
  Element* nextSlot_ = nullptr;  ///< the first free one
  OBJBlockIndex index_;
};

}  // namespace WavefrontOBJ
