#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <utility>
#include <vector>

#include "obj/OBJBlockMemory.h"

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

/// The bookkeeping of elements in blocks of a fixed size. Storage grows by whole blocks and never moves, so
/// references to elements stay valid while the array grows. Element i lives in block i / blockSize at slot
/// i mod blockSize.
///
/// The fields are public by the host's contract and may be set to anything: a push goes where they say, and
/// nowhere if there is no such block.
///
/// A `Maker` is called with the block size and answers a block, or null where there is no memory for it.
template <class Block, class Maker>
class OBJBlocks {
 public:
  const std::uint32_t blockSize;  ///< elements per block
  std::uint32_t count = 0;        ///< elements stored
  std::int32_t lastBlock = -1;    ///< index of the last block in use, -1 while there is none
  std::vector<Block> blocks;      ///< one entry per block, owned

  OBJBlocks(const OBJBlocks&) = delete;
  OBJBlocks& operator=(const OBJBlocks&) = delete;

  /// The block of element `index` exists: `operator[]` does not fail its assertion.
  bool hasBlock(std::uint32_t index) const { return index_.block(index) < blocks.size(); }

 protected:
  static constexpr std::uint32_t kNoSlot = UINT32_MAX;

  const OBJBlockIndex index_;
  [[no_unique_address]] Maker maker_;

  /// A block size of 0 is taken as 1.
  explicit OBJBlocks(std::uint32_t blockSize_)
      : blockSize(std::max<std::uint32_t>(blockSize_, 1)), index_(blockSize) {}
  ~OBJBlocks() = default;

  /// Gets one block more. False, with nothing changed, when there is no memory for it.
  bool addBlock() {
    // Room for the pointer first: nothing may throw between obtaining the block and owning it.
    if (blocks.size() == blocks.capacity()) blocks.reserve(blocks.size() * 2 + 1);
    Block block = maker_(blockSize);
    if (block == nullptr) return false;
    blocks.push_back(std::move(block));
    ++lastBlock;
    return true;
  }

  /// Takes back what `nextSlot` answering 0 has brought.
  void dropNewBlock() {
    blocks.pop_back();
    --lastBlock;
  }

  /// The slot of block `lastBlock` that the next element goes to, `count` mod `blockSize`, if it is one
  /// behind the first and `count` is as the last push left it; `kNoSlot` otherwise.
  std::uint32_t slotInUsedBlock() const {
    const std::uint64_t behindFirst = count - countAtSecondSlot_;
    const bool used = behindFirst < slotsBehindFirst_ && static_cast<std::size_t>(lastBlock) < blocks.size();
    return used ? static_cast<std::uint32_t>(behindFirst + 1) : kNoSlot;
  }

  /// The slot of block `lastBlock` that the next element goes to, in a new block where it is the first.
  /// `kNoSlot`, with nothing changed, when there is no such block or no memory for it.
  std::uint32_t nextSlot() {
    const std::uint32_t slot = slotInUsedBlock();
    return slot != kNoSlot ? slot : findNextSlot();
  }

 private:
  [[gnu::noinline]] std::uint32_t findNextSlot() {
    const std::uint32_t slot = count % blockSize;
    const std::int64_t last = std::int64_t{lastBlock} + (slot == 0 ? 1 : 0);
    const auto present = static_cast<std::int64_t>(blocks.size()) + (slot == 0 ? 1 : 0);
    if (last < 0 || last >= present || (slot == 0 && !addBlock())) return kNoSlot;
    countAtSecondSlot_ = std::uint64_t{count} - slot + 1;
    slotsBehindFirst_ = blockSize - 1;
    return slot;
  }

  // Of the block that the last push went to: what the next one compares `count` with.
  std::uint64_t countAtSecondSlot_ = 0;
  std::uint64_t slotsBehindFirst_ = 0;
};

/// Makes blocks of zeros, each from the system allocator. Zeros rather than what the process had in that
/// memory before: an unwritten slot may be read (more normals than texture coordinates in a whole-model
/// write).
template <class Element>
class OBJZeroedBlocks {
 public:
  Element* operator()(std::uint32_t blockSize) {
    // Arrays of a few blocks are not worth it.
    constexpr std::size_t kSmall = std::size_t{2} << 20;
    const std::size_t bytes = blockSize * sizeof(Element);
    if (taken_ >= kSmall) expectBlock(bytes);
    taken_ += bytes;
    return static_cast<Element*>(std::calloc(blockSize, sizeof(Element)));
  }

 private:
  std::size_t taken_ = 0;  ///< bytes of all blocks
};

/// Elements in blocks from the system allocator. Slots are raw memory, zero until they are written.
template <class Element>
class OBJBlockArray : public OBJBlocks<Element*, OBJZeroedBlocks<Element>> {
  static_assert(std::is_trivially_copyable_v<Element>, "slots are written by plain copy, never constructed");
  using Base = OBJBlocks<Element*, OBJZeroedBlocks<Element>>;

 protected:
  using Base::Base;
  ~OBJBlockArray() {
    for (Element* block : this->blocks) std::free(block);
  }

  bool append(const Element& element) {
    const std::uint32_t slot = this->nextSlot();
    if (slot == Base::kNoSlot) return false;
    this->blocks[static_cast<std::size_t>(this->lastBlock)][slot] = element;
    ++this->count;
    return true;
  }

  /// Null when the block does not exist.
  Element* find(std::uint32_t index) const {
    const std::uint32_t block = this->index_.block(index);
    return block < this->blocks.size() ? this->blocks[block] + this->index_.slot(index, block) : nullptr;
  }
};

}  // namespace WavefrontOBJ
