#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "document/FixReport.h"
#include "document/OBJDocument.h"

namespace WavefrontOBJ {

/// Characters of a line, without its line feed, that every reader and the host take whole.
inline constexpr std::size_t kLongestFixedLine = 1023;

/// Kinds of change as bits, 1 << FixKind.
using FixKindBits = std::uint64_t;
static_assert(kFixKindCount <= 64);

constexpr FixKindBits fixBit(FixKind kind) {
  return FixKindBits{1} << static_cast<unsigned>(kind);
}

/// Makes the words behind a "v", "vt" or "vn" numbers that all read alike, at least three of them (two of
/// "vt"), on a line that is not too long. `text` is one line without continuations. Answers what was changed,
/// 0 for nothing.
FixKindBits repairVector(VectorKind kind, std::string& text);

}  // namespace WavefrontOBJ
