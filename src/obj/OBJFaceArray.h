#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "KSmthExport.h"
#include "obj/OBJBlockArray.h"
#include "obj/OBJElementList.h"
#include "obj/OBJFaceBlock.h"

namespace WavefrontOBJ {

/// Faces in blocks that never move: face i lives in block i / blockSize at slot i mod blockSize.
///
/// A block is kept packed until `operator[]` asks for one of its records to be written. Readers that only
/// look at faces use a const array, `view` or `forEachFace`, which work on either form and never unpack.
class KSMTH_API OBJFaceArray : public OBJBlocks<std::unique_ptr<OBJFaceBlock>, OBJFaceBlocks> {
 public:
  explicit OBJFaceArray(std::uint32_t blockSize_) : OBJBlocks(blockSize_) {}

  /// Appends a copy, all fields included. False, with nothing changed, when memory runs out or the public
  /// fields name a block that is not there. The face may be one of this array.
  bool push_back(const OBJFace& face) { return append(face); }
  /// The same for a face that is not a flat record.
  bool push_back(const OBJFaceView& face, const OBJFaceGeometry& geometry) { return append(face, geometry); }

  /// The same for a face whose corners stand in memory that `addMemory` gave.
  bool push_back(const OBJFaceView& face, const OBJFaceGeometry& geometry, const OBJPlacedCorners& corners) {
    return append(face, geometry, corners);
  }
  /// Memory beside that of `cornerRoom`, for a thread that puts corners in their place. It lives as long as
  /// the faces. Throws std::bad_alloc.
  OBJFaceMemory& addMemory() {
    return *maker_.allMemory().others.emplace_back(std::make_unique<OBJFaceMemory>());
  }

  /// Where the corners of the next face can be written before `commitCorners`, see
  /// `OBJFaceBlock::cornerRoom`. Null when there is no such place: the next face begins a block, the block is
  /// flat, or there is no memory.
  std::uint32_t* cornerRoom() {
    const std::uint32_t slot = slotInUsedBlock();
    return slot != kNoSlot ? blocks[static_cast<std::size_t>(lastBlock)]->cornerRoom(slot) : nullptr;
  }
  /// Appends the face whose corners stand in `cornerRoom`.
  void commitCorners(const OBJFaceView& face, const OBJFaceGeometry& geometry) {
    blocks[static_cast<std::size_t>(lastBlock)]->commitCorners(face, geometry);
    ++count;
  }

  /// The flat record of face `index`, for writing. The first use in a block unpacks the block (1.1 KB a
  /// face); the reference stays valid while the array grows. Only the block is checked: an index past `count`
  /// inside the last block answers the unwritten record, so compare with `count`. An index in a block that
  /// does not exist fails the assertion. Throws std::bad_alloc.
  OBJFace& operator[](std::uint32_t index);
  /// A copy of face `index`, every field. The same checks.
  OBJFace operator[](std::uint32_t index) const;

  /// Face `index` for reading, whichever form it is in. The same checks as `operator[]`.
  OBJFaceView view(std::uint32_t index) const;
  /// Stored normal and centre of face `index`. The same checks as `operator[]`.
  OBJFaceGeometry geometry(std::uint32_t index) const;

  /// Calls `visit(index, view)` for every face in index order.
  template <class Visitor>
  void forEachFace(Visitor visit) const {
    std::uint32_t index = 0;
    for (const auto& block : blocks) {
      const std::uint32_t used = blockSize < count - index ? blockSize : count - index;
      for (std::uint32_t slot = 0; slot < used; ++slot) visit(index++, block->view(slot));
    }
  }

  /// Calls `visit(index, view)` for the faces of a list, in its order. The same checks as `operator[]`.
  template <class Visitor>
  void forEachFaceOf(const OBJElementList& list, Visitor visit) const {
    // Faces that are not brought along would each be waited for.
    constexpr std::size_t kAhead = 12;
    const std::size_t ahead = list.isScattered() ? kAhead : list.size();
    for (std::size_t i = 0; i < list.size(); ++i) {
      if (ahead < list.size() - i) prefetch(list[i + ahead]);
      const std::uint32_t index = list[i];
      visit(index, view(index));
    }
  }

  /// Computes and stores normal and centre of every face, in index order.
  void ComputeNormalsAndCenters(const OBJVectorArray& vertices);

  /// Number of faces with exactly `n` corners.
  std::uint32_t FaceTypeCount(std::uint32_t n) const;
  /// Zero-based vertex indices of every face with exactly `n` corners, in face order: a buffer of
  /// n x `faceCount` words that the caller releases with `free`. Null, for no such face (`faceCount` is 0)
  /// or for want of memory.
  std::uint32_t* ExtractFaceIndices(std::uint32_t n, std::uint32_t& faceCount) const;

 private:
  template <class... Face>
  bool append(const Face&... face) {
    const std::uint32_t slot = nextSlot();
    if (slot == kNoSlot) return false;
    if (!blocks[static_cast<std::size_t>(lastBlock)]->store(slot, face...)) {
      if (slot == 0) dropNewBlock();
      return false;
    }
    ++count;
    return true;
  }
  OBJFaceBlock& blockOf(std::uint32_t index, std::uint32_t& slot) const;
  /// Has what a view of face `index`, if there is one, reads brought close.
  void prefetch(std::uint32_t index) const {
    const std::uint32_t block = index_.block(index);
    if (block < blocks.size()) blocks[block]->prefetch(index_.slot(index, block));
  }
};

}  // namespace WavefrontOBJ
