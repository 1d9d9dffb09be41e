#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace WavefrontOBJ {

/// Indices below a count, one bit each.
class IndexSet {
 public:
  /// None of them. Throws std::bad_alloc.
  explicit IndexSet(std::size_t count) : words_(count / kBits + 1) {}

  /// `index` is below the count.
  void add(std::uint32_t index) { words_[index / kBits] |= std::uint64_t{1} << index % kBits; }
  bool contains(std::uint32_t index) const { return (words_[index / kBits] >> index % kBits & 1) != 0; }

  std::size_t size() const {
    std::size_t size = 0;
    for (const std::uint64_t word : words_) size += static_cast<std::size_t>(std::popcount(word));
    return size;
  }
  /// Calls `visit(index)` for each, ascending.
  template <class Visit>
  void forEach(Visit visit) const {
    for (std::size_t i = 0; i < words_.size(); ++i) {
      for (std::uint64_t word = words_[i]; word != 0; word &= word - 1) {
        visit(static_cast<std::uint32_t>(i * kBits + static_cast<std::size_t>(std::countr_zero(word))));
      }
    }
  }

 private:
  static constexpr std::size_t kBits = 64;

  std::vector<std::uint64_t> words_;
};

}  // namespace WavefrontOBJ
