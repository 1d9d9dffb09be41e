#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "KSmthExport.h"
#include "obj/OBJBasic.h"
#include "obj/OBJBlockArray.h"

namespace WavefrontOBJ {

/// Positions, normals or texture coordinates in blocks that never move.
class KSMTH_API OBJVectorArray : public OBJBlockArray<OBJVector> {
 public:
  explicit OBJVectorArray(std::uint32_t blockSize_) : OBJBlockArray(blockSize_) {}

  /// Appends a copy. False, with nothing changed, when a new block cannot be obtained or the public fields
  /// name a block that is not there.
  bool push_back(const OBJVector& element) { return append(element); }
  /// The same for each of `size` elements, in their order; false with the first for which it would be.
  bool push_back(const OBJVector* elements, std::size_t size);

  /// The element at `index`. Only the block is checked: an index past `count` inside the last block answers
  /// the unwritten slot, so compare with `count`. An index in a block that does not exist fails the
  /// assertion.
  OBJVector& operator[](std::uint32_t index) { return slot(index); }
  const OBJVector& operator[](std::uint32_t index) const { return slot(index); }

  /// The element at `index`, or `gZeroVector` when `index` is at or past `count`. Faces may name positions
  /// that the file never gave.
  const OBJVector& elementOrZero(std::uint32_t index) const {
    const std::uint32_t block = index_.block(index);
    return index < count && block < blocks.size() ? blocks[block][index_.slot(index, block)] : gZeroVector;
  }

  /// `elementOrZero` for indices that are mostly in the same block, which then is not looked for. The array
  /// must not change meanwhile.
  class Reader {
   public:
    explicit Reader(const OBJVectorArray& array) : array_(array) {}
    const OBJVector& elementOrZero(std::uint32_t index) {
      if (index - first_ >= used_) find(index);
      return elements_[index - first_];
    }

   private:
    void find(std::uint32_t index) {
      const std::uint32_t block = array_.index_.block(index);
      const bool there = index < array_.count && block < array_.blocks.size();
      first_ = there ? block * array_.blockSize : index;
      used_ = there ? std::min(array_.blockSize, array_.count - first_) : 1;
      elements_ = there ? array_.blocks[block] : &gZeroVector;
    }

    const OBJVectorArray& array_;
    std::uint32_t first_ = 0;  ///< index of the first of `elements_`
    std::uint32_t used_ = 0;
    const OBJVector* elements_ = nullptr;
  };

  /// True if an element equals `vector` in all four components (exact comparison). Scans in index order.
  bool Contains(const OBJVector& vector) const;
  /// True if this array holds at least one element and each of its elements occurs in `other`.
  /// Costs this count x the other count comparisons at worst.
  bool IsSubsetOf(const OBJVectorArray& other) const;
  /// Copies every element in index order, 16 bytes (four floats) each. `destination` has room for
  /// count x 16 bytes; its size is not tested.
  void ExtractVertices(void* destination) const;

 private:
  OBJVector& slot(std::uint32_t index) const;
};

}  // namespace WavefrontOBJ
