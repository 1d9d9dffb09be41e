#pragma once

#include "KSmthExport.h"
#include "obj/OBJBasic.h"
#include "obj/OBJBlockArray.h"

namespace WavefrontOBJ {

/// One list of using faces per vertex, in blocks that never move. Owns the overflow nodes of its lists.
class KSMTH_API OBJLinkArray : public OBJBlockArray<OBJLinks> {
 public:
  explicit OBJLinkArray(std::uint32_t blockSize_) : OBJBlockArray(blockSize_) {}
  ~OBJLinkArray();

  /// Appends a copy. The array takes over the overflow nodes of `element`, which is pushed once for that
  /// reason; a list of this array gets nodes of its own. Answers false in every case, success included: fixed
  /// by the host's contract. Throws std::bad_alloc.
  bool push_back(const OBJLinks& element);

  /// The list at `index`. Only the block is checked, see `OBJVectorArray::operator[]`.
  OBJLinks& operator[](std::uint32_t index) { return slot(index); }
  const OBJLinks& operator[](std::uint32_t index) const { return slot(index); }

  /// Makes `n` empty lists in one step. False when the array is not empty (nothing changes) or when memory
  /// runs out (blocks obtained so far stay).
  bool reserve(std::uint32_t n);

 private:
  OBJLinks& slot(std::uint32_t index) const;
  bool holds(const OBJLinks& element) const;
};

}  // namespace WavefrontOBJ
