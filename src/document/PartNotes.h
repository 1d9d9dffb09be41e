#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KSmthExport.h"
#include "document/OBJDocument.h"

namespace WavefrontOBJ {

// A part of a document says in comment lines which vertex lines and items of the document it has, so that the
// parts can be put together again:
//
//   # smthgrp part 1 of 0f3c0a6be1d24c55 v 522 vt 0 vn 8 vp 0 items 452
//   # smthgrp part v 1-161 170
//   # smthgrp part vn 2-8
//   # smthgrp part items 1-143
//
// The first line has the version of these notes, a checksum of the document's bytes and what the document has
// in all. Items are its elements of all kinds and its other statements, in the order of the file. Numbers
// count from 1. Lines stay short; there are as many of them as it takes.

/// [first, last], from 0.
struct IndexRange {
  std::uint32_t first;
  std::uint32_t last;
};

/// Adds `index`, which is past those added before.
void addIndex(std::vector<IndexRange>& ranges, std::uint32_t index);
std::uint64_t countOf(const std::vector<IndexRange>& ranges);

inline constexpr std::size_t kItemRow = kVectorKinds;  ///< behind the rows of vector kinds

/// What a part says of the document that it is taken from.
struct PartNotes {
  std::uint64_t document = 0;  ///< checksum
  /// By kind of vertex line, last the items.
  std::array<std::uint32_t, kVectorKinds + 1> totals{};
  std::array<std::vector<IndexRange>, kVectorKinds + 1> ranges;
};

/// One element or other statement.
struct DocumentItem {
  static constexpr std::uint8_t kStatement = kElementKinds;
  std::uint8_t kind;  ///< an `ElementKind`, or `kStatement`
  std::uint32_t index;
};

/// All items in the order of the file.
std::vector<DocumentItem> itemsInOrder(const OBJDocument& document);
/// Place, from 0, of one element among the items.
std::uint32_t itemNumber(const OBJDocument& document, ElementKind kind, std::uint32_t index);
std::uint32_t itemCount(const OBJDocument& document);

/// The document's checksum. Reads all of it.
Result checksum(const OBJDocument& document, std::uint64_t& sum);

/// The comment lines, without "#" and the blank behind it.
std::vector<std::string> noteLines(const PartNotes& notes);
/// True for a comment line, with its "#", that belongs to such notes.
bool isPartNote(std::string_view line);

enum class PartNotesFound : std::uint8_t {
  none,    ///< the file is not a part, or does not say so
  good,    ///<
  damaged  ///< they do not fit what the file holds: it was changed since
};

/// Reads the notes among the comments at the head of `document`. Fails when the source does.
Result readPartNotes(const OBJDocument& document, PartNotes& notes, PartNotesFound& found);

}  // namespace WavefrontOBJ
