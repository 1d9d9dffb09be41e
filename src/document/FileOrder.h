#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "document/OBJDocument.h"

namespace WavefrontOBJ {

inline constexpr std::uint64_t kNoOffset = std::numeric_limits<std::uint64_t>::max();

// A document's lines, as they are counted here, are its vertex lines, elements and other statements. By kind:
inline constexpr std::size_t kFirstElementLine = kVectorKinds;                    ///< behind the vector kinds
inline constexpr std::size_t kStatementLine = kFirstElementLine + kElementKinds;  ///< behind the elements
inline constexpr std::size_t kLineKinds = kStatementLine + 1;

/// One line.
struct DocumentLine {
  std::uint8_t kind;  ///< of the kinds above
  std::uint32_t index;
};

std::uint32_t lineCount(const OBJDocument& document, std::size_t kind);
/// Of all kinds.
std::uint32_t lineCount(const OBJDocument& document);
/// Where a line begins.
std::uint64_t lineOffset(const OBJDocument& document, std::size_t kind, std::uint32_t index);
std::vector<DocumentLine> linesInOrder(const OBJDocument& document);

/// The lines of one kind that are wanted, and how far that has come.
class LineStream {
 public:
  LineStream() = default;
  /// All lines of a kind, or those of `list`, which is ascending and stays the caller's.
  LineStream(const OBJDocument& document, std::size_t kind, const std::vector<std::uint32_t>* list = nullptr)
      : document_(&document),
        list_(list),
        kind_(kind),
        size_(list != nullptr ? static_cast<std::uint32_t>(list->size()) : lineCount(document, kind)) {
    if (kind < kFirstElementLine) offsets_ = document.vectorOffsets(static_cast<VectorKind>(kind)).data();
    if (kind >= kFirstElementLine && kind < kStatementLine)
      offsets_ = document.elements(static_cast<ElementKind>(kind - kFirstElementLine)).offsets().data();
  }

  std::size_t kind() const { return kind_; }
  std::uint32_t index() const { return list_ != nullptr ? (*list_)[position_] : position_; }
  /// Where the line begins; `kNoOffset` behind the last.
  std::uint64_t offset() const {
    if (position_ == size_) return kNoOffset;
    return offsets_ != nullptr ? offsets_[index()] : lineOffset(*document_, kind_, index());
  }
  void advance() { ++position_; }
  std::uint32_t left() const { return size_ - position_; }
  /// The index that comes `ahead` lines later; there have to be as many.
  std::uint32_t indexAhead(std::uint32_t ahead) const { return (*list_)[position_ + ahead]; }
  bool hasList() const { return list_ != nullptr; }

 private:
  const OBJDocument* document_ = nullptr;
  const std::uint64_t* offsets_ = nullptr;  ///< none for statements
  const std::vector<std::uint32_t>* list_ = nullptr;
  std::size_t kind_ = 0;
  std::uint32_t size_ = 0;
  std::uint32_t position_ = 0;
};

/// The stream whose next line stands first in the file, up to where that of another one does; null at the
/// end.
LineStream* nextStream(std::span<LineStream> streams, std::uint64_t& limit);

/// What stands between the lines and says nothing of them: a comment, or a "g" line that no element follows
/// before the next.
struct Aside {
  std::uint64_t anchor;  ///< where the next line begins, to which it belongs; `kNoOffset` behind the last
  std::uint64_t offset;
  bool group;
};

/// All of them from comment `firstComment` on, in the file's order.
std::vector<Aside> asidesOf(const OBJDocument& document, std::size_t firstComment);

}  // namespace WavefrontOBJ
