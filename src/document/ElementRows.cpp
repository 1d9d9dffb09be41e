#include "document/ElementRows.h"

#include <algorithm>

namespace WavefrontOBJ {
namespace {

/// Calls `visit(state, first element, element behind the last)` for each run.
template <class Visit>
void forEachRun(const OBJDocument& document, ElementKind kind, Visit visit) {
  const ElementTable& table = document.elements(kind);
  const std::span<const StateRun> runs = table.runs();
  for (std::size_t r = 0; r < runs.size(); ++r) {
    visit(document.states()[runs[r].state], runs[r].first,
          r + 1 < runs.size() ? runs[r + 1].first : table.size());
  }
}

std::uint64_t smoothingOf(const OBJDocument& document, const ElementState& state) {
  return state.smoothing == kNoIndex
             ? 0
             : document.smoothings()[static_cast<std::size_t>(state.smoothing)].number;
}

std::int32_t named(const std::vector<OBJName>& names, std::int32_t row) {
  return row == kNoIndex || names[static_cast<std::size_t>(row)].text.empty() ? kNoIndex : row;
}

template <class Value, class ValueOf>
std::vector<Value> valueOfElements(const OBJDocument& document, ElementKind kind, ValueOf valueOf) {
  std::vector<Value> values(document.elements(kind).size());
  forEachRun(document, kind, [&](const ElementState& state, std::uint32_t first, std::uint32_t end) {
    std::fill(values.begin() + first, values.begin() + end, valueOf(state));
  });
  return values;
}

}  // namespace

std::vector<std::int32_t> rowOfElements(const OBJDocument& document, Division division, ElementKind kind) {
  return valueOfElements<std::int32_t>(document, kind, [&](const ElementState& state) {
    switch (division) {
      case Division::group:
        return document.groupSet(state.groupSet).front();
      case Division::smoothing:
        return state.smoothing;
      case Division::material:
        return named(document.materials(), state.material);
      case Division::object:
        break;
    }
    return named(document.objects(), state.object);
  });
}

std::vector<std::uint64_t> smoothingOfElements(const OBJDocument& document, ElementKind kind) {
  return valueOfElements<std::uint64_t>(
      document, kind, [&](const ElementState& state) { return smoothingOf(document, state); });
}

SmoothingMembers membersBySmoothing(const OBJDocument& document, ElementKind kind) {
  SmoothingMembers by;
  forEachRun(document, kind, [&](const ElementState& state, std::uint32_t, std::uint32_t) {
    const std::uint64_t number = smoothingOf(document, state);
    if (by.numbers.empty() || by.numbers.back() != number) by.numbers.push_back(number);
  });
  std::sort(by.numbers.begin(), by.numbers.end());
  by.numbers.erase(std::unique(by.numbers.begin(), by.numbers.end()), by.numbers.end());
  const auto rowOf = [&](const ElementState& state) {
    return static_cast<std::size_t>(
        std::lower_bound(by.numbers.begin(), by.numbers.end(), smoothingOf(document, state)) -
        by.numbers.begin());
  };
  std::vector<std::uint64_t>& begins = by.members.begins;
  begins.assign(by.numbers.size() + 1, 0);
  forEachRun(document, kind, [&](const ElementState& state, std::uint32_t first, std::uint32_t end) {
    begins[rowOf(state) + 1] += end - first;
  });
  for (std::size_t i = 1; i < begins.size(); ++i) begins[i] += begins[i - 1];
  by.members.indices.resize(document.elements(kind).size());
  std::vector<std::uint64_t> next(begins.begin(), begins.end() - 1);
  forEachRun(document, kind, [&](const ElementState& state, std::uint32_t first, std::uint32_t end) {
    std::uint64_t& at = next[rowOf(state)];
    for (; first < end; ++first) by.members.indices[static_cast<std::size_t>(at++)] = first;
  });
  return by;
}

}  // namespace WavefrontOBJ
