// Elements that name what comes later in the file, or never.
#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "document/DocumentReader.h"

namespace WavefrontOBJ {
namespace {

/// The rows of a table that are in use, in the order in which `keep` first has them.
template <class Row>
class KeptRows {
 public:
  explicit KeptRows(const std::vector<Row>& rows) : rows_(rows), newIndex_(rows.size(), kNoIndex) {}

  /// The new index of a row.
  std::int32_t keep(std::int32_t row) {
    if (row == kNoIndex) return kNoIndex;
    std::int32_t& index = newIndex_[static_cast<std::size_t>(row)];
    if (index == kNoIndex) {
      index = static_cast<std::int32_t>(kept_.size());
      kept_.push_back(rows_[static_cast<std::size_t>(row)]);
    }
    return index;
  }
  std::vector<Row>& kept() { return kept_; }

 private:
  const std::vector<Row>& rows_;
  std::vector<std::int32_t> newIndex_;
  std::vector<Row> kept_;
};

/// A column in which no corner has anything becomes none.
void dropEmptyColumn(PlainArray<std::int32_t>& column) {
  if (std::all_of(column.begin(), column.end(), [](std::int32_t index) { return index == kNoIndex; }))
    column.truncate(0);
}

}  // namespace

/// Looks, at the file's end, at the elements that name what came later: drops those that name what did not
/// come. Answers whether there were any.
bool DocumentReader::checkForwardReferences(ElementKind kind) {
  ElementTable& table = document_.elements_[static_cast<std::size_t>(kind)];
  const std::uint32_t first = firstForward_[static_cast<std::size_t>(kind)];
  if (first >= table.size()) return false;
  const auto doubt = [&](FindingKind finding, std::uint64_t offset, std::int64_t index,
                         std::string_view what) {
    if (!document_.findings_.keepsNext(finding)) {
      document_.findings_.addUncounted(finding, 1);
      return;
    }
    std::uint64_t number = 0;
    // Without a line where the file cannot be read any more.
    static_cast<void>(document_.lineNumber(offset, number));
    document_.findings_.add(finding, number, 0, offset, std::string(what) + " " + std::to_string(index + 1));
  };
  /// 0: all there before the element; 1: some behind it; 2: some nowhere.
  const auto lookAt = [&](std::span<const std::int32_t> indices, VectorKind vector, std::uint64_t offset,
                          std::string_view what) {
    const auto offsets = document_.vectorOffsets(vector);
    std::int32_t ahead = kNoIndex;
    for (const std::int32_t index : indices) {
      if (index == kNoIndex) continue;
      if (static_cast<std::size_t>(index) >= offsets.size()) {
        doubt(FindingKind::indexOutOfRange, offset, index, what);
        return 2;
      }
      if (ahead == kNoIndex && offsets[static_cast<std::size_t>(index)] > offset) ahead = index;
    }
    if (ahead == kNoIndex) return 0;
    doubt(FindingKind::forwardReference, offset, ahead, what);
    return 1;
  };
  std::uint32_t kept = first;
  std::uint32_t keptCorners = table.begin(first);
  std::size_t keptRuns = 0;
  while (keptRuns < table.runs_.size() && table.runs_[keptRuns].first < first) ++keptRuns;
  std::size_t run = keptRuns;
  // The state of the element before the first, and of the one last kept.
  std::uint32_t state = keptRuns > 0 ? table.runs_[keptRuns - 1].state : 0;
  std::uint32_t keptState = state;
  bool anyKept = keptRuns > 0;
  for (std::uint32_t i = first; i < table.size(); ++i) {
    if (run < table.runs_.size() && table.runs_[run].first == i) state = table.runs_[run++].state;
    const std::uint64_t offset = table.offset(i);
    const std::uint32_t begin = table.begins_[i];
    const std::uint32_t count = table.begins_[i + 1] - begin;
    if (lookAt(table.vertices(i), VectorKind::position, offset, "vertex") == 2) continue;
    const bool noTextures = lookAt(table.textures(i), VectorKind::texture, offset, "texture coordinate") == 2;
    const bool noNormals = lookAt(table.normals(i), VectorKind::normal, offset, "normal") == 2;
    for (std::uint32_t c = 0; c < count; ++c) {
      table.vertices_[keptCorners + c] = table.vertices_[begin + c];
      if (!table.textures_.empty()) {
        table.textures_[keptCorners + c] = noTextures ? kNoIndex : table.textures_[begin + c];
      }
      if (!table.normals_.empty()) {
        table.normals_[keptCorners + c] = noNormals ? kNoIndex : table.normals_[begin + c];
      }
    }
    if (!anyKept || state != keptState) table.runs_[keptRuns++] = {kept, state};
    anyKept = true;
    keptState = state;
    table.offsets_[kept++] = offset;
    keptCorners += count;
    table.begins_[kept] = keptCorners;
  }
  const bool dropped = kept < table.size();
  table.offsets_.truncate(kept);
  table.begins_.truncate(kept == 0 ? 0 : kept + 1);
  table.vertices_.truncate(keptCorners);
  if (!table.textures_.empty()) table.textures_.truncate(keptCorners);
  if (!table.normals_.empty()) table.normals_.truncate(keptCorners);
  table.runs_.truncate(keptRuns);
  dropEmptyColumn(table.textures_);
  dropEmptyColumn(table.normals_);
  return dropped;
}

/// To be called when elements were dropped: what no other has stands as if their lines said nothing. Rows of
/// names, smoothing groups and states go, and "g" lines are empty.
void DocumentReader::forgetUnused() {
  OBJDocument& d = document_;
  std::vector<std::pair<std::uint64_t, StateRun*>> runs;
  for (ElementTable& table : d.elements_) {
    for (StateRun& run : std::span(table.runs_.data(), table.runs_.size()))
      runs.emplace_back(table.offset(run.first), &run);
  }
  std::sort(runs.begin(), runs.end());
  KeptRows<OBJName> groups(d.groups_);
  KeptRows<OBJName> materials(d.materials_);
  KeptRows<OBJName> objects(d.objects_);
  KeptRows<OBJSmoothing> smoothings(d.smoothings_);
  PlainArray<ElementState> states;
  std::unordered_map<std::uint32_t, std::uint32_t> newStates;
  std::unordered_map<std::int32_t, std::int32_t> newSets;
  PlainArray<std::uint32_t> setBegins;
  PlainArray<std::int32_t> setNames;
  std::int32_t defaultGroup = kNoIndex;
  setBegins.push_back(0);
  for (const auto& [offset, run] : runs) {
    const auto [newState, isNew] =
        newStates.try_emplace(run->state, static_cast<std::uint32_t>(states.size()));
    if (isNew) {
      ElementState state = d.states_[run->state];
      if (state.groupSet == kNoIndex) {
        defaultGroup = groups.keep(d.defaultGroup_);
      } else {
        const auto [newSet, isNewSet] =
            newSets.try_emplace(state.groupSet, static_cast<std::int32_t>(setBegins.size() - 1));
        if (isNewSet) {
          for (const std::int32_t group : d.groupSet(state.groupSet)) setNames.push_back(groups.keep(group));
          setBegins.push_back(static_cast<std::uint32_t>(setNames.size()));
        }
        state.groupSet = newSet->second;
      }
      state.smoothing = smoothings.keep(state.smoothing);
      state.material = materials.keep(state.material);
      state.object = objects.keep(state.object);
      states.push_back(state);
    }
    run->state = newState->second;
  }
  d.states_ = std::move(states);
  d.groupSetBegins_ = std::move(setBegins);
  d.groupSetNames_ = std::move(setNames);
  d.defaultGroup_ = defaultGroup;
  d.groups_ = std::move(groups.kept());
  d.materials_ = std::move(materials.kept());
  d.objects_ = std::move(objects.kept());
  d.smoothings_ = std::move(smoothings.kept());
  const auto isFollowed = [&](const GroupLine& line) {
    return std::any_of(d.elements_.begin(), d.elements_.end(), [&](const ElementTable& table) {
      const auto offsets = table.offsets();
      const auto next = std::lower_bound(offsets.begin(), offsets.end(), line.begin);
      return next != offsets.end() && *next < line.end;
    });
  };
  for (const GroupLine& line : forwardGroups_) {
    if (!isFollowed(line)) d.emptyGroups_.push_back(line.begin);
  }
  std::sort(d.emptyGroups_.data(), d.emptyGroups_.data() + d.emptyGroups_.size());
}

}  // namespace WavefrontOBJ
