#include "document/SelectionPatterns.h"

#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

namespace WavefrontOBJ {
namespace {

struct NumberRange {
  std::uint64_t first;
  std::uint64_t last;
};

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// Past 64 bits it is the largest, as for the numbers of the file.
std::uint64_t number(std::string_view digits) {
  std::uint64_t value = 0;
  const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return parsed.ec == std::errc() ? value : std::numeric_limits<std::uint64_t>::max();
}

/// "3", "2-5", "7-".
std::optional<NumberRange> numberRange(std::string_view word) {
  const std::size_t dash = word.find('-');
  const std::string_view first = word.substr(0, dash);
  if (!isDigits(first)) return std::nullopt;
  if (dash == std::string_view::npos) return NumberRange{number(first), number(first)};
  const std::string_view last = word.substr(dash + 1);
  if (last.empty()) return NumberRange{number(first), std::numeric_limits<std::uint64_t>::max()};
  if (!isDigits(last)) return std::nullopt;
  return NumberRange{number(first), number(last)};
}

const std::vector<OBJName>& namesOf(const OBJDocument& document, Division division) {
  if (division == Division::group) return document.groups();
  return division == Division::material ? document.materials() : document.objects();
}

/// Adds what `word` means to `chosen`. False when that is nothing.
bool addNames(const OBJDocument& document, Division division, const std::string& word,
              std::vector<std::int32_t>& chosen) {
  const std::int32_t exact = document.find(division, word);
  if (exact != kNoIndex) chosen.push_back(exact);
  if (exact != kNoIndex && !word.empty()) return true;
  if (word.empty() && division != Division::group) {
    const auto states = document.states();
    const bool any = std::any_of(states.begin(), states.end(), [division](const ElementState& state) {
      return (division == Division::material ? state.material : state.object) == kNoIndex;
    });
    if (any) chosen.push_back(kNoIndex);
    return any || exact != kNoIndex;
  }
  const std::vector<OBJName>& names = namesOf(document, division);
  const std::size_t before = chosen.size();
  if (word.find_first_of("*?[") != std::string::npos) {
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (fnmatch(word.c_str(), names[i].text.c_str(), 0) == 0)
        chosen.push_back(static_cast<std::int32_t>(i));
    }
  }
  const auto range = numberRange(word);
  if (division == Division::group && range && range->first > 0) {
    const std::uint64_t last = std::min<std::uint64_t>(range->last, names.size());
    for (std::uint64_t i = range->first; i <= last; ++i) chosen.push_back(static_cast<std::int32_t>(i - 1));
  }
  return chosen.size() > before;
}

bool addNumbers(const std::vector<std::uint64_t>& numbers, std::string_view word,
                std::vector<std::uint64_t>& chosen) {
  const auto range = word == "off" ? NumberRange{0, 0} : numberRange(word);
  if (!range) return false;
  const std::size_t before = chosen.size();
  std::copy_if(numbers.begin(), numbers.end(), std::back_inserter(chosen),
               [&range](std::uint64_t n) { return n >= range->first && n <= range->last; });
  return chosen.size() > before;
}

}  // namespace

std::vector<std::uint64_t> smoothingNumbers(const OBJDocument& document) {
  std::vector<std::uint64_t> numbers;
  for (const ElementState& state : document.states()) {
    const std::int32_t i = state.smoothing;
    numbers.push_back(i == kNoIndex ? 0 : document.smoothings()[static_cast<std::size_t>(i)].number);
  }
  std::sort(numbers.begin(), numbers.end());
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  return numbers;
}

std::optional<UnmatchedPattern> resolve(const OBJDocument& document, const SelectionPatterns& patterns,
                                        Selection& selection) {
  for (const std::string& word : patterns.groups) {
    if (!addNames(document, Division::group, word, selection.groups)) return {{Division::group, word}};
  }
  const std::vector<std::uint64_t> numbers = smoothingNumbers(document);
  for (const std::string& word : patterns.smoothing) {
    if (!addNumbers(numbers, word, selection.smoothing)) return {{Division::smoothing, word}};
  }
  for (const std::string& word : patterns.materials) {
    if (!addNames(document, Division::material, word, selection.materials))
      return {{Division::material, word}};
  }
  for (const std::string& word : patterns.objects) {
    if (!addNames(document, Division::object, word, selection.objects)) return {{Division::object, word}};
  }
  return std::nullopt;
}

}  // namespace WavefrontOBJ
