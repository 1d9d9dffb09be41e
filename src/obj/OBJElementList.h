#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <vector>

#include "KSmthExport.h"

namespace WavefrontOBJ {

/// The face list of one group or one material: face indices from 0, in the order of addition.
///
/// Room grows by 1,024 entries at a time and entries never move, so a list of millions of faces is built
/// without copying. Up to its first 1,024 entries a list takes only about the memory that it fills: a file
/// may name a group for every face.
class KSMTH_API OBJElementList {
 public:
  OBJElementList() = default;
  OBJElementList(const OBJElementList& other);
  OBJElementList& operator=(const OBJElementList& other);
  OBJElementList(OBJElementList&& other) noexcept;
  OBJElementList& operator=(OBJElementList&& other) noexcept;

  /// Appends one face index. Throws std::bad_alloc.
  void addFace(std::uint32_t faceIndex) {
    if (size_ == capacity_) grow();
    chunks_[size_ / kChunkEntries][size_ % kChunkEntries] = faceIndex;
    ++size_;
  }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  /// The i-th entry, i below `size()`.
  std::uint32_t operator[](std::size_t i) const { return chunks_[i / kChunkEntries][i % kChunkEntries]; }

  /// Reads the entries in order; valid until the list changes.
  class const_iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = std::uint32_t;
    using difference_type = std::ptrdiff_t;
    using pointer = const std::uint32_t*;
    using reference = std::uint32_t;

    const_iterator(const OBJElementList& list, std::size_t position) : list_(&list), position_(position) {}
    std::uint32_t operator*() const { return (*list_)[position_]; }
    const_iterator& operator++() {
      ++position_;
      return *this;
    }
    const_iterator operator++(int) { return {*list_, position_++}; }
    bool operator==(const const_iterator& other) const { return position_ == other.position_; }

   private:
    const OBJElementList* list_;
    std::size_t position_;
  };
  const_iterator begin() const { return {*this, 0}; }
  const_iterator end() const { return {*this, size_}; }

 private:
  static constexpr std::size_t kChunkEntries = 1024;

  void grow();

  std::vector<std::unique_ptr<std::uint32_t[]>> chunks_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace WavefrontOBJ
