#pragma once

#include <cstdint>
#include <vector>

/// Faces of one model, one bit each.
class FaceSet {
 public:
  /// No face of `faceCount`. Throws std::bad_alloc.
  explicit FaceSet(std::uint32_t faceCount)
      : faceCount_(faceCount), words_(std::size_t{faceCount} / kBits + 1) {}

  /// Nothing for a face at or past the count.
  void add(std::uint32_t face) {
    if (face < faceCount_) words_[face / kBits] |= std::uint32_t{1} << face % kBits;
  }
  /// `face` is below the count.
  bool contains(std::uint32_t face) const { return (words_[face / kBits] >> face % kBits & 1) != 0; }
  /// True for a face below the count that is not in the set.
  bool lacks(std::uint32_t face) const { return face < faceCount_ && !contains(face); }

 private:
  static constexpr std::uint32_t kBits = 32;

  std::uint32_t faceCount_;
  std::vector<std::uint32_t> words_;
};
