#include "document/ElementTable.h"

#include <algorithm>

namespace WavefrontOBJ {

std::uint32_t ElementTable::stateOf(std::uint32_t i) const {
  const StateRun* const behind =
      std::upper_bound(runs_.begin(), runs_.end(), i,
                       [](std::uint32_t index, const StateRun& run) { return index < run.first; });
  return behind[-1].state;
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
