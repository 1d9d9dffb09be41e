#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "document/OBJDocument.h"

namespace WavefrontOBJ {

/// Smoothing numbers, of more than 32 bits or too many for the host's table, made numbers that it takes.
struct SmoothingNumbers {
  enum class Outcome : std::uint8_t {
    kept,        ///< all as they are, but for those of more than 32 bits
    renumbered,  ///< faces of one number still have one number
    parted       ///< only the faces of one patch do
  };
  Outcome outcome = Outcome::kept;
  /// The number of each row of `OBJDocument::smoothings`, 0 for none. Of rows that no face has, 0 unless they
  /// are kept.
  std::vector<std::uint32_t> byRow;
  /// The number of each face where they are parted; else empty.
  std::vector<std::uint32_t> byFace;
  bool zeroSaved = false;         ///< "s 0" has to be written as "off"
  std::uint64_t bordersLost = 0;  ///< edges between faces of different numbers that have one number now
};

/// Numbers for the faces of a document: its own where fewer than `most` + 1 are in use, else from 1 to
/// `most`, given so that faces that meet have different numbers where they had. At first, meeting is to have
/// a vertex in common, as programs smooth across vertices; where that is not possible, to have an edge. If
/// the numbers do not suffice for the neighbourhood of whole numbers, each patch of connected faces has its
/// own. May throw std::bad_alloc.
SmoothingNumbers smoothingNumbers(const OBJDocument& document, std::size_t most = 255);

}  // namespace WavefrontOBJ
