#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace WavefrontOBJ {

/// Numbers the vertex lines of a part: of indices below a count, those that were added, in their order. A bit
/// each, in words that know how many were added before theirs: far less memory than a number each, as parts
/// have lines all over the file. Everything but the first of many parts costs what was added. Functions that
/// are not const may throw std::bad_alloc.
class NewIndices {
 public:
  /// How many there are; none of them is added.
  void resize(std::size_t count) { words_.resize(count / kBits + 1); }
  void add(std::uint32_t index) {
    Word& word = words_[index / kBits];
    if (word.bits == 0) touched_.push_back(index / kBits);
    word.bits |= std::uint32_t{1} << index % kBits;
  }
  /// Numbers what was added.
  void number() {
    if (!std::is_sorted(touched_.begin(), touched_.end())) sortTouched();
    std::uint32_t count = 0;
    for (const std::uint32_t i : touched_) {
      words_[i].before = count;
      for (std::uint32_t bits = words_[i].bits; bits != 0; bits &= bits - 1) {
        added_.push_back(i * kBits + static_cast<std::uint32_t>(std::countr_zero(bits)));
      }
      count = static_cast<std::uint32_t>(added_.size());
    }
  }

  /// What was added, ascending; numbered.
  const std::vector<std::uint32_t>& added() const { return added_; }
  /// The number, from 1, of an index that was added.
  std::uint32_t operator[](std::uint32_t index) const {
    const Word& word = words_[index / kBits];
    return word.before + countBits(word.bits << (kBits - 1 - index % kBits));
  }

  /// None is added any more.
  void clear() noexcept {
    for (const std::uint32_t i : touched_) words_[i].bits = 0;
    touched_.clear();
    added_.clear();
  }

 private:
  static constexpr std::uint32_t kBits = 32;

  struct Word {
    std::uint32_t bits;
    std::uint32_t before;
  };

  void sortTouched() {
    // Whichever is less work: a look at every word, or a sort.
    if (touched_.size() * static_cast<std::size_t>(std::bit_width(touched_.size())) <= words_.size()) {
      std::sort(touched_.begin(), touched_.end());
      return;
    }
    touched_.clear();
    for (std::uint32_t i = 0; i < words_.size(); ++i) {
      if (words_[i].bits != 0) touched_.push_back(i);
    }
  }
  /// std::popcount is a call where the processor need not have an instruction for it.
  static std::uint32_t countBits(std::uint32_t bits) {
    bits -= bits >> 1 & 0x55555555U;
    bits = (bits & 0x33333333U) + (bits >> 2 & 0x33333333U);
    return ((bits + (bits >> 4)) & 0x0F0F0F0FU) * 0x01010101U >> 24;
  }

  std::vector<Word> words_;
  std::vector<std::uint32_t> touched_;  ///< words that have bits
  std::vector<std::uint32_t> added_;
};

}  // namespace WavefrontOBJ
