#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "KSmthExport.h"
#include "obj/OBJBlockArray.h"
#include "obj/OBJFaceBlock.h"

namespace WavefrontOBJ {

/// Faces in blocks that never move: face i lives in block i / blockSize at slot i mod blockSize.
///
/// A block is kept packed until `operator[]` asks for one of its records. Readers that only look at faces use
/// `view` or `forEachFace`, which work on either form and never unpack.
class KSMTH_API OBJFaceArray {
 public:
  const std::uint32_t blockSize;                      ///< faces per block
  std::uint32_t count = 0;                            ///< faces stored
  std::int32_t lastBlock = -1;                        ///< last block in use, -1 while there is none
  std::vector<std::unique_ptr<OBJFaceBlock>> blocks;  ///< one entry per block

  /// A block size of 0 is taken as 1.
  explicit OBJFaceArray(std::uint32_t blockSize_);
  OBJFaceArray(const OBJFaceArray&) = delete;
  OBJFaceArray& operator=(const OBJFaceArray&) = delete;

  /// Appends a copy, all fields included; of the index arrays the corners in use.
  /// False, with nothing changed, when memory runs out.
  bool push_back(const OBJFace& face);
  /// The same for a face that is not a flat record.
  bool push_back(const OBJFaceView& face, const OBJFaceGeometry& geometry);

  /// Where the corners of the next face can be written before it is pushed, see `OBJFaceBlock::cornerRoom`.
  /// Null when there is no such place: the next face begins a block, the block is flat, or there is no
  /// memory.
  std::uint32_t* cornerRoom() { return freeSlots_ > 0 ? blocks.back()->cornerRoom() : nullptr; }

  /// The flat record of face `index`, for writing. The first use in a block unpacks the block (1.1 KB a
  /// face); the reference stays valid while the array grows. Only the block is checked: an index past `count`
  /// inside the last block answers the unwritten record, callers compare with `count`. An index in a block
  /// that does not exist fails the assertion. Throws std::bad_alloc.
  OBJFace& operator[](std::uint32_t index);

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

  /// Computes and stores normal and centre of every face, in index order.
  void ComputeNormalsAndCenters(const OBJVectorArray& vertices);

  /// Number of faces with exactly `n` corners.
  std::uint32_t FaceTypeCount(std::uint32_t n) const;
  /// Zero-based vertex indices of every face with exactly `n` corners, in face order: a buffer of
  /// n x `faceCount` words that the caller releases with `free`. Null, for no such face (`faceCount` is 0)
  /// or for want of memory.
  std::uint32_t* ExtractFaceIndices(std::uint32_t n, std::uint32_t& faceCount) const;

 private:
  bool addBlock();
  OBJFaceBlock& blockOf(std::uint32_t index, std::uint32_t& slot) const;

  OBJBlockIndex index_;
  std::uint32_t freeSlots_ = 0;
};

}  // namespace WavefrontOBJ
