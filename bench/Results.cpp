#include "Results.h"

namespace bench {

std::optional<Result> Results::find(const std::string& name) const {
  const auto found = results_.find(name);
  if (found == results_.end()) return std::nullopt;
  return found->second;
}

}  // namespace bench
