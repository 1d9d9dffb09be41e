#include "obj/OBJElementList.h"

#include <numeric>

namespace WavefrontOBJ {

void OBJElementList::addEntry(std::uint32_t faceIndex) {
  // By half: twice the room would be memory that long lists touch and never fill.
  if (size_ >= entries_.capacity()) entries_.reserve(size_ + size_ / 2 + 4);
  if (entries_.empty()) {
    entries_.resize(size_);
    std::iota(entries_.begin(), entries_.end(), first_);
  }
  entries_.push_back(faceIndex);
  ++size_;
}

}  // namespace WavefrontOBJ
