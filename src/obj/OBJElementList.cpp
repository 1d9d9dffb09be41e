#include "obj/OBJElementList.h"

#include <algorithm>
#include <utility>

namespace WavefrontOBJ {

OBJElementList::OBJElementList(const OBJElementList& other) {
  for (const std::uint32_t face : other) addFace(face);
}

OBJElementList& OBJElementList::operator=(const OBJElementList& other) {
  if (this != &other) *this = OBJElementList(other);
  return *this;
}

OBJElementList::OBJElementList(OBJElementList&& other) noexcept
    : chunks_(std::move(other.chunks_)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {
  other.chunks_.clear();
}

OBJElementList& OBJElementList::operator=(OBJElementList&& other) noexcept {
  std::swap(chunks_, other.chunks_);
  std::swap(size_, other.size_);
  std::swap(capacity_, other.capacity_);
  return *this;
}

void OBJElementList::grow() {
  if (capacity_ >= kChunkEntries) {
    if (chunks_.size() == chunks_.capacity()) chunks_.reserve(chunks_.size() * 2);
    chunks_.push_back(std::make_unique_for_overwrite<std::uint32_t[]>(kChunkEntries));
    capacity_ += kChunkEntries;
    return;
  }
  // Only the first chunk is ever replaced by a larger one.
  const std::size_t wanted = std::max<std::size_t>(4, capacity_ * 4);
  auto larger = std::make_unique_for_overwrite<std::uint32_t[]>(wanted);
  if (chunks_.empty()) {
    chunks_.push_back(std::move(larger));
  } else {
    std::copy_n(chunks_.front().get(), size_, larger.get());
    chunks_.front() = std::move(larger);
  }
  capacity_ = wanted;
}

}  // namespace WavefrontOBJ
