#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <span>

#include "KSmthExport.h"
#include "document/PlainArray.h"
#include "document/Prefetch.h"

namespace WavefrontOBJ {

/// Stands for "none" in columns of indices.
inline constexpr std::int32_t kNoIndex = -1;

/// What is in force for a run of elements. Indices into the document's lists.
struct ElementState {
  std::int32_t groupSet = kNoIndex;   ///< into `OBJDocument::groupSet`; none before the first "g"
  std::int32_t smoothing = kNoIndex;  ///< into `OBJDocument::smoothings`; none before the first "s"
  std::int32_t material = kNoIndex;   ///< into `OBJDocument::materials`; none before the first "usemtl"
  std::int32_t object = kNoIndex;     ///< into `OBJDocument::objects`; none before the first "o"

  bool operator==(const ElementState&) const = default;
};

/// The elements from `first` on, up to the next run, have state `state` of `OBJDocument::states`.
struct StateRun {
  std::uint32_t first;
  std::uint32_t state;
};

/// All elements of one kind (faces, lines or points) in the file's order, as compressed rows: element i has
/// the corners `begin(i)` up to `begin(i + 1)` of the columns. Indices count from 0; `kNoIndex` stands where
/// a corner has no texture coordinate or normal.
class KSMTH_API ElementTable {
 public:
  std::uint32_t size() const { return static_cast<std::uint32_t>(offsets_.size()); }
  std::uint32_t cornerTotal() const { return static_cast<std::uint32_t>(vertices_.size()); }
  std::uint32_t begin(std::uint32_t i) const { return begins_.empty() ? 0 : begins_[i]; }
  std::uint32_t cornerCount(std::uint32_t i) const { return begins_[i + 1] - begins_[i]; }

  /// The corners of element i. Of texture coordinates and normals: empty when no element at all has any.
  std::span<const std::int32_t> vertices(std::uint32_t i) const { return row(vertices_, i); }
  std::span<const std::int32_t> textures(std::uint32_t i) const { return row(textures_, i); }
  std::span<const std::int32_t> normals(std::uint32_t i) const { return row(normals_, i); }

  /// Whole columns, for all elements one after the other; `size() + 1` row starts (none in an empty table).
  std::span<const std::int32_t> vertexColumn() const { return vertices_.span(); }
  std::span<const std::int32_t> textureColumn() const { return textures_.span(); }
  std::span<const std::int32_t> normalColumn() const { return normals_.span(); }
  std::span<const std::uint32_t> rowStarts() const { return begins_.span(); }

  /// Where the line of element i begins, in bytes from the file's begin. Ascending.
  std::uint64_t offset(std::uint32_t i) const { return offsets_[i]; }
  std::span<const std::uint64_t> offsets() const { return offsets_.span(); }

  /// Tells the processor that element i is wanted soon.
  void prefetch(std::uint32_t i) const {
    WavefrontOBJ::prefetch(&offsets_[i]);
    const std::uint32_t first = begins_[i];
    for (const auto* const column : {&vertices_, &textures_, &normals_}) {
      if (!column->empty()) WavefrontOBJ::prefetch(&(*column)[first]);
    }
  }

  /// Runs in order; the first one begins at 0 when there is any element.
  std::span<const StateRun> runs() const { return runs_.span(); }
  /// Index of element i's state. Looks for it: walk along `runs` where all are wanted.
  std::uint32_t stateOf(std::uint32_t i) const;

  /// Bytes of memory in use.
  std::size_t memoryBytes() const;

 private:
  friend class DocumentPiece;
  friend class DocumentReader;
  friend class OBJDocument;
  friend class PlainLines;

  /// Adds the row of an element with `count` corners, whose columns are the caller's work.
  void addRow(std::uint64_t offset, std::uint32_t count) {
    const std::size_t before = vertices_.size();
    requireRoom(before, count);
    if (begins_.empty()) begins_.push_back(0);
    begins_.push_back(static_cast<std::uint32_t>(before + count));
    offsets_.push_back(offset);
  }
  /// Adds the elements [first, end) of `other` without their states.
  void append(const ElementTable& other, std::uint32_t first, std::uint32_t end);
  /// Leaves none; memory is kept.
  void clear();
  void shrink();
  /// Too many corners for their counts is too much memory for most machines.
  static void requireRoom(std::size_t corners, std::size_t more) {
    if (corners > std::numeric_limits<std::uint32_t>::max() - more) throw std::bad_alloc();
  }

  std::span<const std::int32_t> row(const PlainArray<std::int32_t>& column, std::uint32_t i) const {
    if (column.empty()) return {};
    return {column.data() + begins_[i], begins_[i + 1] - begins_[i]};
  }

  PlainArray<std::uint64_t> offsets_;
  PlainArray<std::uint32_t> begins_;
  PlainArray<std::int32_t> vertices_;
  PlainArray<std::int32_t> textures_;
  PlainArray<std::int32_t> normals_;
  PlainArray<StateRun> runs_;
};

}  // namespace WavefrontOBJ
