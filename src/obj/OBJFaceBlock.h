#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "KSmthExport.h"
#include "obj/OBJFaceView.h"

namespace WavefrontOBJ {

/// A fixed number of faces in one of two forms that only this class knows.
///
/// Packed, as faces are read: per face a header and only the corners in use, about 100 bytes for a textured
/// quad with normals where the flat record takes 1.1 KB. Flat, from the first `record` on or from the first
/// face that the packed form cannot hold: real `OBJFace` records, which then are the truth and never move.
/// Index entries that nobody has given are 0 in both forms, as are slots that were never written.
class KSMTH_API OBJFaceBlock {
 public:
  /// Words of the largest face, and one: four words may be written where the last three belong.
  static constexpr std::uint32_t kCornerRoom = 3 * OBJFace::kMaxVertexCount + 1;

  /// Null when there is no memory for a packed block of `blockSize` faces.
  static std::unique_ptr<OBJFaceBlock> create(std::uint32_t blockSize);

  /// Stores a copy in `slot`, below the block size: the record as it stands, all 88 entries. False, with
  /// nothing changed, when there is no memory for it. The face may be one of this block.
  bool store(std::uint32_t slot, const OBJFace& face);
  /// The same for a face that is not a flat record.
  bool store(std::uint32_t slot, const OBJFaceView& face, const OBJFaceGeometry& geometry);

  /// Where the corners of the face for `slot` can be written before `commitCorners`: for each corner its
  /// vertex index, then its texture index and its normal index, each where the face has them. `kCornerRoom`
  /// words. Null when the block is flat, when `slot` is not the next one, or without memory.
  std::uint32_t* cornerRoom(std::uint32_t slot);
  /// Stores the face whose corners stand in `cornerRoom`, which `face` shows.
  void commitCorners(const OBJFaceView& face, const OBJFaceGeometry& geometry);

  /// The face in `slot`.
  OBJFaceView view(std::uint32_t slot) const;
  OBJFaceGeometry geometry(std::uint32_t slot) const;
  /// Every field of the face in `slot`, all entries of its arrays included.
  void load(std::uint32_t slot, OBJFace& face) const;

  /// Throws std::bad_alloc, which takes a slot that was never written.
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

  // What queries over all faces read, apart from the geometry that they do not. The corners follow one
  // another as `cornerRoom` says.
  struct Header {
    std::uint32_t firstCorner;
    std::uint32_t smoothingGroup;
    std::int32_t materialIndex;
    std::uint8_t vertexCount;
    bool hasTexture : 1;
    bool hasNormal : 1;
    bool storesTexture : 1;
    bool storesNormal : 1;
  };
  struct Packed {
    Buffer<Header> headers;
    Buffer<OBJFaceGeometry> geometries;
    Buffer<std::uint32_t> corners;
  };

  explicit OBJFaceBlock(std::uint32_t blockSize) : blockSize_(blockSize) {}
  bool reserveCorners(std::uint32_t wanted, Buffer<std::uint32_t>& replaced);
  bool makeFlat(Packed& replaced);

  std::uint32_t blockSize_;
  std::uint32_t used_ = 0;  ///< packed faces, in the first slots
  std::uint32_t cornerCount_ = 0;
  std::uint32_t cornerCapacity_ = 0;
  Packed packed_;
  Buffer<OBJFace> records_;  ///< set once the block is flat; the packed buffers are then empty
};

}  // namespace WavefrontOBJ
