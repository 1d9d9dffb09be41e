#include "smthgrp/model/GroupChoice.h"

#include <algorithm>
#include <charconv>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/SimilarNames.h"
#include "smthgrp/common/TerminalText.h"

namespace smthgrp {
namespace {

std::string listed(const std::vector<std::uint32_t>& numbers) {
  constexpr std::size_t kMost = 12;
  std::string text;
  for (std::size_t i = 0; i < std::min(numbers.size(), kMost); ++i) {
    text += (i == 0 ? "" : ", ") + std::to_string(numbers[i]);
  }
  return numbers.size() > kMost ? text + ", ..." : text;
}

}  // namespace

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
  throw Failure(modelPath + ": no group " + quoted(wanted, 60) + suggestion(names, wanted));
}

std::size_t chooseSmoothingGroup(const std::vector<std::uint32_t>& numbers, std::uint32_t wanted,
                                 const std::string& modelPath) {
  const auto found = std::find(numbers.begin(), numbers.end(), wanted);
  if (found != numbers.end()) return static_cast<std::size_t>(found - numbers.begin()) + 1;
  throw Failure(modelPath + ": no smoothing group " + std::to_string(wanted) +
                (numbers.empty() ? ", the model has none" : ", the model has " + listed(numbers)));
}

}  // namespace smthgrp
