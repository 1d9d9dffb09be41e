#include "smthgrp/GroupChoice.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <utility>

#include "smthgrp/Failure.h"
#include "smthgrp/TerminalText.h"

namespace smthgrp {
namespace {

std::string lowerCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

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

std::string listed(const std::vector<std::uint32_t>& numbers) {
  constexpr std::size_t kMost = 12;
  std::string text;
  for (std::size_t i = 0; i < std::min(numbers.size(), kMost); ++i) {
    text += (i == 0 ? "" : ", ") + std::to_string(numbers[i]);
  }
  return numbers.size() > kMost ? text + ", ..." : text;
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

std::size_t chooseGroup(const std::vector<std::string>& names, std::string_view wanted,
                        const std::string& modelPath) {
  const auto exact = std::find(names.begin(), names.end(), wanted);
  if (exact != names.end()) return static_cast<std::size_t>(exact - names.begin()) + 1;

  if (names.empty()) throw Failure(modelPath + ": the model has no groups");
  const bool digits = !wanted.empty() && wanted.find_first_not_of("0123456789") == std::string_view::npos;
  if (digits) {
    std::size_t index = 0;
    const auto end = wanted.data() + wanted.size();
    if (std::from_chars(wanted.data(), end, index).ec == std::errc() && index >= 1 && index <= names.size()) {
      return index;
    }
    throw Failure(modelPath + ": no group " + std::string(wanted) + ", the model has " +
                  counted(names.size(), "group"));
  }
  std::string message = modelPath + ": no group " + quoted(wanted, 60);
  const std::vector<std::string> similar = similarNames(names, wanted, 3);
  if (!similar.empty()) message += "; did you mean " + joined(similar) + "?";
  throw Failure(message);
}

std::size_t chooseSmoothingGroup(const std::vector<std::uint32_t>& numbers, std::uint32_t wanted,
                                 const std::string& modelPath) {
  const auto found = std::find(numbers.begin(), numbers.end(), wanted);
  if (found != numbers.end()) return static_cast<std::size_t>(found - numbers.begin()) + 1;
  throw Failure(modelPath + ": no smoothing group " + std::to_string(wanted) +
                (numbers.empty() ? ", the model has none" : ", the model has " + listed(numbers)));
}

}  // namespace smthgrp
