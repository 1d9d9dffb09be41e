#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "KSmthExport.h"

namespace WavefrontOBJ {

/// The face list of one group or one material: face indices from 0, in the order of addition.
class KSMTH_API OBJElementList {
 public:
  /// Appends one face index. Throws std::bad_alloc.
  void addFace(std::uint32_t faceIndex) {
    // By half: twice the room would be memory that long lists touch and never fill.
    if (faces_.size() == faces_.capacity()) faces_.reserve(faces_.size() + faces_.size() / 2 + 4);
    faces_.push_back(faceIndex);
  }

  std::size_t size() const { return faces_.size(); }
  bool empty() const { return faces_.empty(); }
  /// The i-th entry, i below `size()`.
  std::uint32_t operator[](std::size_t i) const { return faces_[i]; }

  /// The entries in order; valid until the list changes.
  const std::uint32_t* begin() const { return faces_.data(); }
  const std::uint32_t* end() const { return faces_.data() + faces_.size(); }

 private:
  std::vector<std::uint32_t> faces_;
};

}  // namespace WavefrontOBJ
