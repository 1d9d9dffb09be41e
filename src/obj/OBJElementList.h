#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "KSmthExport.h"

namespace WavefrontOBJ {

/// The face list of one group or one material: face indices from 0, in the order of addition.
///
/// Faces that follow one another, as those of most groups do, are kept as a run, which takes no memory; the
/// first that does not follow has all of them written out.
class KSMTH_API OBJElementList {
 public:
  /// Appends one face index. Throws std::bad_alloc.
  void addFace(std::uint32_t faceIndex) {
    if (size_ == 0) first_ = faceIndex;
    if (entries_.empty() && faceIndex == first_ + static_cast<std::uint32_t>(size_)) {
      ++size_;
      return;
    }
    addEntry(faceIndex);
  }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  /// Most entries are far from the one before: what is read for them does not come with it.
  bool isScattered() const {
    constexpr std::size_t kFar = 8;
    return !entries_.empty() && entries_.back() > entries_.front() &&
           entries_.back() - entries_.front() > kFar * size_;
  }
  /// The i-th entry, i below `size()`.
  std::uint32_t operator[](std::size_t i) const {
    return entries_.empty() ? first_ + static_cast<std::uint32_t>(i) : entries_[i];
  }

  /// Reads the entries in order; valid until the list changes.
  class const_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::uint32_t;
    using difference_type = std::ptrdiff_t;
    using pointer = const std::uint32_t*;
    using reference = std::uint32_t;

    const_iterator() = default;
    const_iterator(const OBJElementList& list, std::size_t position) : list_(&list), position_(position) {}
    std::uint32_t operator*() const { return (*list_)[position_]; }
    const_iterator& operator++() {
      ++position_;
      return *this;
    }
    const_iterator operator++(int) { return {*list_, position_++}; }
    bool operator==(const const_iterator& other) const { return position_ == other.position_; }

   private:
    const OBJElementList* list_ = nullptr;
    std::size_t position_ = 0;
  };
  const_iterator begin() const { return {*this, 0}; }
  const_iterator end() const { return {*this, size_}; }

 private:
  void addEntry(std::uint32_t faceIndex);

  std::uint32_t first_ = 0;             ///< of the run, where there are no entries
  std::size_t size_ = 0;                ///< in all
  std::vector<std::uint32_t> entries_;  ///< empty, or all
};

}  // namespace WavefrontOBJ
