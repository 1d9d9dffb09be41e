#include "document/Findings.h"

#include <algorithm>

namespace WavefrontOBJ {

void Findings::add(FindingKind kind, std::uint64_t line, std::uint64_t column, std::uint64_t offset,
                   std::string_view text) {
  if (keepsNext(kind)) kept_.push_back({kind, line, column, offset, std::string(text.substr(0, kMaxText))});
  ++counts_[static_cast<std::size_t>(kind)];
}

void Findings::add(const Findings& other) {
  for (std::size_t i = 0; i < kFindingKindCount; ++i) {
    const auto kind = static_cast<FindingKind>(i);
    std::size_t room =
        counts_[i] < placesPerKind_ ? placesPerKind_ - static_cast<std::size_t>(counts_[i]) : 0;
    for (const Finding& finding : other.kept_) {
      if (finding.kind != kind) continue;
      if (room == 0) break;
      kept_.push_back(finding);
      --room;
    }
    counts_[i] += other.counts_[i];
  }
  sortByPlace();
}

void Findings::sortByPlace() {
  std::stable_sort(kept_.begin(), kept_.end(), [](const Finding& a, const Finding& b) {
    return a.offset != b.offset ? a.offset < b.offset : a.kind < b.kind;
  });
}

std::uint64_t Findings::count(Severity severity, bool withHost) const {
  std::uint64_t sum = 0;
  for (const FindingRow& row : kFindingKinds) {
    if (row.severity == severity && (withHost || !row.hostOnly)) sum += count(row.kind);
  }
  return sum;
}

}  // namespace WavefrontOBJ
