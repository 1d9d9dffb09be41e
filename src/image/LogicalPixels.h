#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/BitMapRegion.h"
#include "image/PixelFill.h"

/// Pixels of the whole logical image of a bitmap, stored or not, a run at a time.
class LogicalPixels {
 public:
  /// Pixels asked for at a time at most, unless all of them are stored.
  static constexpr std::int64_t kMaxRun = 1024;

  /// `elementBytes`: 1 or 4.
  LogicalPixels(const ABitMap& map, std::int32_t elementBytes)
      : rows_(map, elementBytes), elementBytes_(elementBytes), fillValue_(map.fillValue) {}

  const PixelRect& image() const { return rows_.image(); }
  /// Where the stored rows lie in it, which may be outside.
  const PixelRect& stored() const { return rows_.rect(); }

  /// `count` pixels from (x, y) on: a pointer to them, in the buffer or, where some are not stored, in a
  /// block of this object's that the next call writes over.
  const unsigned char* run(std::int64_t x, std::int64_t y, std::int64_t count) {
    const PixelRect& all = rows_.rect();
    if (x >= all.x && x + count <= all.x + all.w && y >= all.y && y < all.y + all.h) return rows_.at(x, y);
    const PixelRect stored = intersection({x, y, count, 1}, all);
    fillPattern(block_, pixelPattern(fillValue_, elementBytes_ * 8),
                static_cast<std::size_t>(count * elementBytes_));
    if (!stored.empty()) {
      std::memcpy(block_ + static_cast<std::ptrdiff_t>((stored.x - x) * elementBytes_), rows_.at(stored.x, y),
                  static_cast<std::size_t>(stored.w * elementBytes_));
    }
    return block_;
  }
  /// The value of one 32-bit pixel.
  std::uint32_t at(std::int64_t x, std::int64_t y) { return pixelbytes::load<std::uint32_t>(run(x, y, 1)); }

 private:
  StoredRows rows_;
  std::int64_t elementBytes_;
  std::uint32_t fillValue_;
  unsigned char block_[kMaxRun * 4];
};
