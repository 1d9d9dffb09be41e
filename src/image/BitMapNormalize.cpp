#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "image/BitMap.h"
#include "image/BitMapRegion.h"
#include "image/PixelBytes.h"
#include "system/Host.h"

namespace {

// work(at) for each value of type T that the contrast operations treat: `values` of each pixel, from number
// `first` of its parts on.
template <class T, class Work>
void forValuesOf(const ABitMap& map, std::size_t first, std::size_t parts, Work work) {
  const auto pixels = static_cast<std::size_t>(map.BufferBytes()) / (parts * sizeof(T));
  for (std::size_t i = 0; i < pixels; ++i) {
    for (std::size_t k = first; k < parts; ++k) work(map.buffer + (i * parts + k) * sizeof(T));
  }
}

// Measures all values with measure(value), then replaces each by change(value). Values reach up to
// `greatest`, which prepare(greatest) learns in between; where that answers false, nothing changes.
template <class T, class Measure, class Prepare, class Change>
void treat(const ABitMap& map, std::size_t first, std::size_t parts, Measure measure, Prepare prepare,
           Change change) {
  forValuesOf<T>(map, first, parts, [&](const unsigned char* at) { measure(pixelbytes::load<T>(at)); });
  if (!prepare(static_cast<T>(~T{0}))) return;
  forValuesOf<T>(map, first, parts, [&](unsigned char* at) {
    pixelbytes::store<T>(at, static_cast<T>(change(pixelbytes::load<T>(at))));
  });
}

template <class Measure, class Prepare, class Change>
void treatByDepth(const ABitMap& map, Measure measure, Prepare prepare, Change change) {
  switch (map.depth) {
    case 8:
      return treat<std::uint8_t>(map, 0, 1, measure, prepare, change);
    case 16:
      return treat<std::uint16_t>(map, 0, 1, measure, prepare, change);
    case 32:
      return treat<std::uint8_t>(map, 1, 4, measure, prepare, change);
    case 64:
      return treat<std::uint16_t>(map, 1, 4, measure, prepare, change);
    default:
      Sys_BreakToDebugger();
  }
}

}  // namespace

void ABitMap::Normalize() {
  std::uint32_t least = UINT32_MAX;
  std::uint32_t greatest = 0;
  std::uint32_t full = 0;
  treatByDepth(
      *this,
      [&](std::uint32_t value) {
        least = std::min(least, value);
        greatest = std::max(greatest, value);
      },
      [&](std::uint32_t most) {
        full = most;
        return least < greatest;
      },
      [&](std::uint32_t value) {
        // Twice 65535 squared needs more than 32 bits.
        const std::uint64_t range = greatest - least;
        return (std::uint64_t{value - least} * full * 2 + range) / (range * 2);
      });
}

void ABitMap::NormalizeCavityShade() {
  std::int32_t leastValue = INT32_MAX;
  std::int32_t greatestValue = 0;
  std::int32_t flat = 0;
  std::int32_t farthest = 0;
  treatByDepth(
      *this,
      [&](std::int32_t value) {
        leastValue = std::min(leastValue, value);
        greatestValue = std::max(greatestValue, value);
      },
      [&](std::int32_t most) {
        flat = most / 2 + 1;
        if (leastValue > greatestValue) return false;
        farthest = std::max(std::abs(leastValue - flat), std::abs(greatestValue - flat));
        return farthest > 0;
      },
      [&](std::int32_t value) {
        return flat + static_cast<std::int32_t>(std::int64_t{value - flat} * (flat - 1) / farthest);
      });
}
