#include "document/FixReport.h"

namespace WavefrontOBJ {

void FixReport::add(FixKind kind, std::uint64_t line, std::string_view text) {
  if (keepsNext(kind)) places_.push_back({kind, line, std::string(text.substr(0, kMaxText))});
  ++counts_[static_cast<std::size_t>(kind)];
}

std::uint64_t FixReport::count(FixEffect effect) const {
  std::uint64_t sum = 0;
  for (const FixRow& row : kFixKinds) sum += row.effect == effect ? count(row.kind) : 0;
  return sum;
}

}  // namespace WavefrontOBJ
