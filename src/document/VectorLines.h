#pragma once

#include <cstdint>
#include <string_view>

#include "document/LineText.h"
#include "document/LogicalLine.h"
#include "document/OBJDocument.h"

namespace WavefrontOBJ {

/// Work on a document reports its progress once in so many lines.
inline constexpr std::uint32_t kProgressLines = 1U << 14;

/// The progress of one piece of work that takes [from, to] of the whole.
class ProgressRange {
 public:
  ProgressRange(const Progress& progress, double from, double to)
      : progress_(progress), from_(from), to_(to) {}
  /// False when the work has to stop.
  bool at(std::uint32_t done, std::uint32_t total) const {
    if (!progress_ || done % kProgressLines != 0) return true;
    return progress_(from_ + (to_ - from_) * done / total);
  }

 private:
  const Progress& progress_;
  double from_;
  double to_;
};

/// Calls `visit(index, line, words)` for the vertex lines [first, end) of `kind`, in order, with the words
/// behind the keyword.
template <class Visit>
Result forEachVector(const OBJDocument& document, VectorKind kind, std::uint32_t first, std::uint32_t end,
                     const ProgressRange& progress, Visit visit) {
  LineText lines(document.source());
  const auto offsets = document.vectorOffsets(kind);
  for (std::uint32_t i = first; i < end; ++i) {
    if (!progress.at(i, end)) return {Status::cancelled, document.source().name() + ": cancelled"};
    std::string_view line;
    Result result = lines.fetch(offsets[i], line);
    if (!result) return result;
    LineWords words(line);
    words.next();
    visit(i, line, words);
  }
  return {};
}
template <class Visit>
Result forEachVector(const OBJDocument& document, VectorKind kind, const ProgressRange& progress,
                     Visit visit) {
  return forEachVector(document, kind, 0, document.vectorCount(kind), progress, visit);
}

}  // namespace WavefrontOBJ
