#include "document/Selection.h"

#include <algorithm>
#include <cstddef>

namespace WavefrontOBJ {
namespace {

/// Whether each state is chosen.
class ChosenStates {
 public:
  ChosenStates(const OBJDocument& document, const Selection& selection) {
    const auto names = [&](const std::vector<std::int32_t>& chosen, Division division) {
      // A last row stands for "none".
      std::vector<char> rows(document.rowCount(division) + 1, chosen.empty() ? 1 : 0);
      for (const std::int32_t i : chosen) {
        if (i < kNoIndex || i >= static_cast<std::int32_t>(rows.size() - 1)) continue;
        rows[i == kNoIndex ? rows.size() - 1 : static_cast<std::size_t>(i)] = 1;
      }
      return rows;
    };
    const std::vector<char> groups = names(selection.groups, Division::group);
    const std::vector<char> materials = names(selection.materials, Division::material);
    const std::vector<char> objects = names(selection.objects, Division::object);
    std::vector<std::uint64_t> numbers = selection.smoothing;
    std::sort(numbers.begin(), numbers.end());
    const auto smoothingChosen = [&](std::int32_t i) {
      if (numbers.empty()) return true;
      const std::uint64_t number =
          i == kNoIndex ? 0 : document.smoothings()[static_cast<std::size_t>(i)].number;
      return std::binary_search(numbers.begin(), numbers.end(), number);
    };
    const auto row = [](const std::vector<char>& rows, std::int32_t i) {
      return rows[i == kNoIndex ? rows.size() - 1 : static_cast<std::size_t>(i)] != 0;
    };
    for (const ElementState& state : document.states()) {
      const auto set = document.groupSet(state.groupSet);
      const bool inGroup =
          std::any_of(set.begin(), set.end(), [&](std::int32_t group) { return row(groups, group); });
      chosen_.push_back(inGroup && smoothingChosen(state.smoothing) && row(materials, state.material) &&
                        row(objects, state.object));
    }
  }

  std::vector<std::uint32_t> elements(const ElementTable& table) const {
    std::vector<std::uint32_t> list;
    const auto runs = table.runs();
    for (std::size_t r = 0; r < runs.size(); ++r) {
      if (!chosen_[runs[r].state]) continue;
      const std::uint32_t end = r + 1 < runs.size() ? runs[r + 1].first : table.size();
      for (std::uint32_t i = runs[r].first; i < end; ++i) list.push_back(i);
    }
    return list;
  }

 private:
  std::vector<bool> chosen_;
};

}  // namespace

ElementLists select(const OBJDocument& document, const Selection& selection) {
  if (selection.groups.empty() && selection.smoothing.empty() && selection.materials.empty() &&
      selection.objects.empty()) {
    return ElementLists::all();
  }
  const ChosenStates chosen(document, selection);
  ElementLists lists;
  lists.faces = chosen.elements(document.faces());
  lists.lines = chosen.elements(document.lines());
  lists.points = chosen.elements(document.points());
  return lists;
}

}  // namespace WavefrontOBJ
