#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include "image/BitMap.h"
#include "image/PixelBytes.h"
#include "system/Host.h"

namespace {

// The values of an image that the contrast operations treat: all of depths 8 and 16, the colours of 32
// and 64.
class Values {
 public:
  // None, after a debugging stop, at other depths.
  explicit Values(const ABitMap& map) : buffer_(map.buffer), colored_(map.depth > 16) {
    const bool known = map.depth == 8 || map.depth == 16 || map.depth == 32 || map.depth == 64;
    if (!known) {
      Sys_BreakToDebugger();
      return;
    }
    bytes_ = map.depth == 8 || map.depth == 32 ? 1 : 2;
    count_ = static_cast<std::size_t>(map.BufferBytes()) / bytes_;
  }

  // The greatest that a value may be.
  std::int32_t most() const { return bytes_ == 1 ? UINT8_MAX : UINT16_MAX; }
  // change(value) answers what a value becomes, or nothing.
  template <class Change>
  void forEach(Change change) const {
    bytes_ == 1 ? forEachOf<std::uint8_t>(change) : forEachOf<std::uint16_t>(change);
  }

 private:
  template <class T, class Change>
  void forEachOf(Change change) const {
    for (std::size_t i = 0; i < count_; ++i) {
      if (colored_ && i % 4 == 0) continue;
      unsigned char* const at = buffer_ + i * sizeof(T);
      const std::int32_t value = pixelbytes::load<T>(at);
      if constexpr (std::is_void_v<decltype(change(value))>) {
        change(value);
      } else {
        pixelbytes::store(at, static_cast<T>(change(value)));
      }
    }
  }

  unsigned char* buffer_;
  bool colored_;
  std::size_t bytes_ = 1;
  std::size_t count_ = 0;
};

struct Range {
  std::int32_t least = INT32_MAX;
  std::int32_t greatest = 0;

  explicit Range(const Values& values) {
    values.forEach([this](std::int32_t value) {
      least = std::min(least, value);
      greatest = std::max(greatest, value);
    });
  }
};

}  // namespace

void ABitMap::Normalize() {
  const Values values(*this);
  const Range range(values);
  if (range.least >= range.greatest) return;
  // Twice 65535 squared needs more than 32 bits.
  const std::int64_t span = range.greatest - range.least;
  values.forEach([&](std::int32_t value) {
    return (std::int64_t{value - range.least} * values.most() * 2 + span) / (span * 2);
  });
}

void ABitMap::NormalizeCavityShade() {
  const Values values(*this);
  const Range range(values);
  const std::int32_t flat = values.most() / 2 + 1;
  if (range.least > range.greatest) return;
  const std::int32_t farthest = std::max(std::abs(range.least - flat), std::abs(range.greatest - flat));
  if (farthest == 0) return;
  values.forEach(
      [&](std::int32_t value) { return flat + std::int64_t{value - flat} * (flat - 1) / farthest; });
}
