#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "KSmthExport.h"
#include "obj/OBJBlockMemory.h"
#include "obj/OBJFaceView.h"

namespace WavefrontOBJ {

/// Where the corners of a face stand, for each its vertex index, then its texture index and its normal index,
/// each where the face has them.
struct OBJPlacedCorners {
  const std::uint32_t* piece;  ///< of an `OBJFaceMemory`
  std::uint32_t first;         ///< word of it, below `OBJFaceMemory::kPieceWords`
};

/// The memory of packed faces, shared by the blocks of an array and freed with the last of them.
struct OBJFaceMemory {
  OBJBlockMemory blocks;
  std::uint32_t* corners = nullptr;  ///< the piece that the corners of the next face go to
  std::uint32_t cornersUsed = 0;     ///< words of it
  std::uint32_t cornersLeft = 0;
  /// For threads that place corners beside one another.
  std::vector<std::unique_ptr<OBJFaceMemory>> others;

  /// Makes room for `words`, of `kPieceWords` at most. False without memory for them.
  bool reserveCorners(std::uint32_t words);
  /// Where the corners of the next face belong.
  OBJPlacedCorners next() const { return {corners, cornersUsed}; }
  /// Keeps the next `words` corners.
  void keep(std::uint32_t words) {
    cornersUsed += words;
    cornersLeft -= words;
  }
  static constexpr std::uint32_t kPieceWords = 1U << 16;
};

/// A fixed number of faces in one of two forms that only this class knows.
///
/// Packed, as faces are read: only the corners in use, 36 bytes for each face, and what many faces have in
/// common kept once for each run of them; 84 bytes for a textured quad with normals where the flat record
/// takes 1.1 KB. Flat, from the first `record` on or from the first face that the packed form cannot hold:
/// real `OBJFace` records, which then are the truth and never move. What the packed form has taken stays with
/// the array's memory. Index entries that nobody has given are 0 in both forms, as are slots that were never
/// written.
class KSMTH_API OBJFaceBlock {
 public:
  /// Words of the largest face, and one: four words may be written where the last three belong.
  static constexpr std::uint32_t kCornerRoom = 3 * OBJFace::kMaxVertexCount + 1;

  OBJFaceBlock(std::uint32_t blockSize, std::shared_ptr<OBJFaceMemory> memory)
      : blockSize_(blockSize), memory_(std::move(memory)) {}

  /// Stores a copy in `slot`, below the block size: the record as it stands, all 88 entries. False, with
  /// nothing changed, when there is no memory for it. The face may be one of this block.
  bool store(std::uint32_t slot, const OBJFace& face);
  /// The same for a face that is not a flat record.
  bool store(std::uint32_t slot, const OBJFaceView& face, const OBJFaceGeometry& geometry);
  /// The same for a face whose corners stand in the array's memory already, in the form of
  /// `OBJPlacedCorners`.
  bool store(std::uint32_t slot, const OBJFaceView& face, const OBJFaceGeometry& geometry,
             const OBJPlacedCorners& corners);

  /// Where the corners of the face for `slot` can be written before `commitCorners`, in the form of
  /// `OBJPlacedCorners`. `kCornerRoom` words. Null when the block is flat, when `slot` is not the next one,
  /// or without memory.
  std::uint32_t* cornerRoom(std::uint32_t slot);
  /// Stores the face whose corners stand in `cornerRoom`, which `face` shows.
  void commitCorners(const OBJFaceView& face, const OBJFaceGeometry& geometry);

  /// The face in `slot`.
  OBJFaceView view(std::uint32_t slot) const;
  OBJFaceGeometry geometry(std::uint32_t slot) const;
  /// Has what `view` reads brought close.
  void prefetch(std::uint32_t slot) const;
  /// Every field of the face in `slot`, all entries of its arrays included.
  void load(std::uint32_t slot, OBJFace& face) const;

  /// Throws std::bad_alloc, which takes a slot that was never written or a centre whose w is not 1.
  void setNormalAndCenter(std::uint32_t slot, const OBJVector& normal, const OBJVector& center);

  /// The flat record in `slot`, below the block size. The first call turns the block flat, unused slots
  /// included. Throws std::bad_alloc, the block is then as it was.
  OBJFace& record(std::uint32_t slot);

 private:
  struct Free {
    void operator()(void* memory) const { std::free(memory); }
  };
  template <class T>
  using Buffer = std::unique_ptr<T[], Free>;

  /// What the faces of a run have in common.
  struct Run {
    const std::uint32_t* corners;  ///< the piece that theirs are in
    std::uint32_t smoothingGroup;
    std::int32_t materialIndex;
    bool hasTexture;
    bool hasNormal;
    bool storesTexture;
    bool storesNormal;

    bool operator==(const Run&) const = default;
  };
  // What queries over all faces read, apart from the geometry that they do not. The corners follow one
  // another as `cornerRoom` says.
  struct Header {
    std::uint32_t run;
    std::uint16_t firstCorner;  ///< in the run's piece
    std::uint8_t vertexCount;
  };
  /// An `OBJFaceGeometry` whose centre has w = 1 and whose reserved word is -1.
  struct Geometry {
    OBJVector normal;
    float center[3];
  };

  static bool canBePacked(const OBJFaceGeometry& geometry);
  static bool canBePacked(const OBJFace& face);
  bool takesPacked(std::uint32_t slot) const { return records_ == nullptr && slot == used_; }
  bool reserveRun();
  bool makeFlat();
  void commit(const OBJFaceView& face, const OBJFaceGeometry& geometry, const OBJPlacedCorners& corners);
  void setPacked(std::uint32_t slot, const OBJVector& normal, const OBJVector& center);

  std::uint32_t blockSize_;
  std::uint32_t used_ = 0;  ///< packed faces, in the first slots
  std::uint32_t runCount_ = 0;
  std::uint32_t runCapacity_ = 0;  ///< 0 until there is room for packed faces
  std::shared_ptr<OBJFaceMemory> memory_;
  Header* headers_ = nullptr;
  Geometry* geometries_ = nullptr;
  Buffer<Run> runs_;
  Buffer<OBJFace> records_;  ///< set once the block is flat
};

/// Makes the blocks of one array.
struct OBJFaceBlocks {
  std::shared_ptr<OBJFaceMemory> memory;

  /// Made with the first use. Throws std::bad_alloc.
  KSMTH_API OBJFaceMemory& allMemory();
  /// Null when there is no memory, or can be none, for a block of `blockSize` faces.
  KSMTH_API std::unique_ptr<OBJFaceBlock> operator()(std::uint32_t blockSize);
};

}  // namespace WavefrontOBJ
