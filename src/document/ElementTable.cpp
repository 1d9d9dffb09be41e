#include "document/ElementTable.h"

#include <algorithm>

namespace WavefrontOBJ {

std::uint32_t ElementTable::stateOf(std::uint32_t i) const {
  const StateRun* const behind =
      std::upper_bound(runs_.begin(), runs_.end(), i,
                       [](std::uint32_t index, const StateRun& run) { return index < run.first; });
  return behind[-1].state;
}

void ElementTable::append(const ElementTable& other, std::uint32_t first, std::uint32_t end) {
  if (first == end) return;
  const std::uint32_t from = other.begins_[first];
  const std::size_t count = other.begins_[end] - from;
  const std::size_t before = vertices_.size();
  requireRoom(before, count);
  offsets_.append(other.offsets_.data() + first, end - first);
  if (begins_.empty()) begins_.push_back(0);
  begins_.reserve(end - first);
  std::uint32_t* const begins = begins_.data() + begins_.size();
  for (std::uint32_t i = 0; i < end - first; ++i) {
    begins[i] = static_cast<std::uint32_t>(before) + (other.begins_[first + 1 + i] - from);
  }
  begins_.extend(end - first);
  vertices_.append(other.vertices_.data() + from, count);
  const auto appendColumn = [&](PlainArray<std::int32_t>& column, const PlainArray<std::int32_t>& others) {
    if (others.empty()) {
      if (!column.empty()) column.resize(before + count, kNoIndex);
      return;
    }
    if (column.size() < before) column.resize(before, kNoIndex);
    column.append(others.data() + from, count);
  };
  appendColumn(textures_, other.textures_);
  appendColumn(normals_, other.normals_);
}

void ElementTable::clear() {
  offsets_.truncate(0);
  begins_.truncate(0);
  for (auto* const column : {&vertices_, &textures_, &normals_}) column->truncate(0);
  runs_.truncate(0);
}

void ElementTable::shrink() {
  offsets_.shrink();
  begins_.shrink();
  for (auto* const column : {&vertices_, &textures_, &normals_}) column->shrink();
  runs_.shrink();
}

std::size_t ElementTable::memoryBytes() const {
  return offsets_.memoryBytes() + begins_.memoryBytes() + vertices_.memoryBytes() + textures_.memoryBytes() +
         normals_.memoryBytes() + runs_.memoryBytes();
}

}  // namespace WavefrontOBJ
