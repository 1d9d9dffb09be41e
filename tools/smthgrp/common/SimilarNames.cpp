#include "smthgrp/common/SimilarNames.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "smthgrp/common/LowerCase.h"
#include "smthgrp/common/TerminalText.h"

namespace smthgrp {
namespace {

/// Single-character insertions, removals and changes that turn one text into the other.
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t change = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, change});
    }
  }
  return row[b.size()];
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? " or " : ", ";
    text += quoted(names[i], 60);
  }
  return text;
}

}  // namespace

std::vector<std::string> similarNames(const std::vector<std::string>& names, std::string_view wanted,
                                      std::size_t most) {
  const std::string lower = lowerCase(wanted);
  const std::size_t limit = std::max<std::size_t>(2, lower.size() / 3);
  std::vector<std::pair<std::size_t, std::size_t>> ranked;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string name = lowerCase(names[i]);
    std::size_t distance = limit + 1;
    const std::size_t longer = std::max(name.size(), lower.size());
    if (longer - std::min(name.size(), lower.size()) <= limit) distance = editDistance(name, lower);
    // "arm" means "left_arm", however far that is.
    if (lower.size() > 2 && name.find(lower) != std::string::npos) distance = std::min(distance, limit);
    if (distance <= limit && distance < longer) ranked.emplace_back(distance, i);
  }
  std::sort(ranked.begin(), ranked.end());
  ranked.resize(std::min(ranked.size(), most));
  std::vector<std::string> similar;
  similar.reserve(ranked.size());
  for (const auto& [distance, i] : ranked) similar.push_back(names[i]);
  return similar;
}

std::string suggestion(const std::vector<std::string>& names, std::string_view wanted) {
  const std::vector<std::string> similar = similarNames(names, wanted, 3);
  return similar.empty() ? "" : "; did you mean " + joined(similar) + "?";
}

}  // namespace smthgrp
