#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "image/BitMap.h"
#include "image/RowKernels.h"

// Which pixels an operation touches: everything about edges, margins and the ends of buffers is decided here,
// once, and the loops behind it run over rows that are all there.

/// Bytes of w x h pixels; -1, which no allocation gives memory for, where a size is negative or they do not
/// fit into 31 bits.
inline std::int32_t imageBytes(std::int32_t w, std::int32_t h, std::int32_t depth) {
  const std::int64_t bytesPerPixel = depth >> 3;
  if (w < 0 || h < 0 || bytesPerPixel < 0) return -1;
  const std::int64_t pixels = std::int64_t{w} * h;
  if (pixels > INT32_MAX || pixels * bytesPerPixel > INT32_MAX) return -1;
  return static_cast<std::int32_t>(pixels * bytesPerPixel);
}

/// Sets sizes, margins and depth of a bitmap as `ABitMap::AllocateCropped` does; absurd ones wrap.
inline void setCropping(ABitMap& map, std::int32_t fullW, std::int32_t fullH, std::int32_t t, std::int32_t l,
                        std::int32_t b, std::int32_t r, std::int32_t d) {
  const auto difference = [](std::int64_t to, std::int64_t from) {
    return static_cast<std::int32_t>(to - from);
  };
  map.height = difference(b, t);
  map.width = difference(r, l);
  map.left = l;
  map.right = difference(fullW, r);
  map.top = t;
  map.bottom = difference(fullH, b);
  map.fullWidth = fullW;
  map.fullHeight = fullH;
  map.depth = d;
}

/// A rectangle of pixels. 64-bit, so that sums of the sizes and positions that callers give cannot overflow.
struct PixelRect {
  std::int64_t x = 0;
  std::int64_t y = 0;
  std::int64_t w = 0;
  std::int64_t h = 0;

  bool empty() const { return w < 1 || h < 1; }
};

/// The part of `a` inside `b`; empty, with sizes below 1, where they have nothing in common.
inline PixelRect intersection(const PixelRect& a, const PixelRect& b) {
  const std::int64_t x = std::max(a.x, b.x);
  const std::int64_t y = std::max(a.y, b.y);
  return {x, y, std::min(a.x + a.w, b.x + b.w) - x, std::min(a.y + a.h, b.y + b.h) - y};
}

/// The pixels of a bitmap seen as elements of `elementBytes`, whatever its depth: the rows that its buffer
/// holds in full.
class StoredRows {
 public:
  StoredRows(const ABitMap& map, std::int32_t elementBytes)
      : buffer_(map.buffer), elementBytes_(elementBytes) {
    // Margins that do not add up are left over from a cropped bitmap that `Allocate` made whole.
    const bool columnsAddUp = std::int64_t{map.left} + map.width + map.right == map.fullWidth;
    const bool rowsAddUp = std::int64_t{map.top} + map.height + map.bottom == map.fullHeight;
    rect_ = {columnsAddUp ? map.left : 0, rowsAddUp ? map.top : 0, std::max(map.width, 0), 0};
    if (rect_.w > 0) {
      rect_.h = std::min<std::int64_t>(map.height, map.BufferBytes() / (rect_.w * elementBytes));
    }
    image_ = {0, 0, std::max(map.fullWidth, 0), std::max(map.fullHeight, 0)};
  }

  /// Where the rows lie in the logical image; no row without a buffer.
  const PixelRect& rect() const { return rect_; }
  /// The part of them inside the logical image.
  PixelRect visible() const { return intersection(rect_, image_); }
  const PixelRect& image() const { return image_; }
  /// Elements in all rows.
  std::size_t count() const { return static_cast<std::size_t>(rect_.w * std::max<std::int64_t>(rect_.h, 0)); }

  /// The element at a position of the logical image, which must be inside `rect()`.
  unsigned char* at(std::int64_t x, std::int64_t y) const {
    return buffer_ + static_cast<std::ptrdiff_t>(((y - rect_.y) * rect_.w + (x - rect_.x)) * elementBytes_);
  }
  unsigned char* data() const { return buffer_; }
  /// The rows of a part of it; none for an empty one.
  rowkernels::Rows rowsOf(const PixelRect& part) const {
    const auto bytes = [this](std::int64_t elements) {
      return static_cast<std::size_t>(elements * elementBytes_);
    };
    if (part.empty()) return {};
    return {at(part.x, part.y), bytes(part.w), static_cast<std::size_t>(part.h), bytes(rect_.w)};
  }

 private:
  unsigned char* buffer_;
  std::int64_t elementBytes_;
  PixelRect rect_;
  PixelRect image_;
};
