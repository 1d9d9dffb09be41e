#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "KSmthExport.h"
#include "document/OBJDocument.h"

namespace WavefrontOBJ {

// A part of a document says in comment lines which lines of the document it has, so that the parts can be put
// together again:
//
//   # smthgrp part 1 of 0f3c0a6be1d24c55 lines 982
//   # smthgrp part lines 1-161 170 531-674
//
// The first line has the version of these notes, a checksum of the document's bytes and how many lines the
// document has: its vertex lines of all kinds, its elements and its other statements, in the order of the
// file, but no comments, states and libraries. Numbers count from 1. The lines stay short; there are as many
// of them as it takes.

/// [first, last], from 0.
struct IndexRange {
  std::uint32_t first;
  std::uint32_t last;
};

/// Adds `index`, which is past those added before.
void addIndex(std::vector<IndexRange>& ranges, std::uint32_t index);
std::uint64_t countOf(const std::vector<IndexRange>& ranges);

/// What a part says of the document that it is taken from.
struct PartNotes {
  std::uint64_t document = 0;  ///< checksum
  std::uint32_t total = 0;
  std::vector<IndexRange> lines;
  std::size_t comments = 0;  ///< up to the last of the notes, when they were read
};

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
