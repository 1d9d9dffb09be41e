#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/BitMap.h"
#include "image/WordKernels.h"

namespace {

// Keeps w x h stored pixels from column `skipLeft` and row `skipTop` on, at the start of the buffer.
void keepPart(ABitMap& map, std::int64_t skipLeft, std::int64_t skipTop, std::int32_t w, std::int32_t h) {
  const std::int64_t bytesPerPixel = map.BytesPerPixel();
  const auto keptBytes = static_cast<std::size_t>(w * bytesPerPixel);
  for (std::int64_t y = 0; y < h; ++y) {
    const unsigned char* const from =
        map.buffer + static_cast<std::ptrdiff_t>(((y + skipTop) * map.width + skipLeft) * bytesPerPixel);
    std::memmove(map.buffer + static_cast<std::size_t>(y) * keptBytes, from, keptBytes);
  }
  map.width = w;
  map.height = h;
}

// Whether the low-order byte of a pixel, as it lies in memory, exceeds a threshold.
bool lowByteAbove(const unsigned char* pixel, std::int32_t threshold) {
  return pixel[3] > threshold;
}

void widenLeft(const StoredRows& rows, std::int32_t threshold, std::int64_t& least) {
  const PixelRect all = rows.rect();
  for (std::int64_t y = 0; y < all.h && least > 0; ++y) {
    const unsigned char* const row = rows.at(all.x, all.y + y);
    const unsigned char* const end = row + 4 * least;
    const unsigned char* at = row;
    while (at != end && !lowByteAbove(at, threshold)) at += 4;
    least = (at - row) / 4;
  }
}

void widenRight(const StoredRows& rows, std::int32_t threshold, std::int64_t& greatest) {
  const PixelRect all = rows.rect();
  for (std::int64_t y = 0; y < all.h && greatest < all.w - 1; ++y) {
    const unsigned char* const row = rows.at(all.x, all.y + y);
    const unsigned char* const end = row + 4 * greatest;
    const unsigned char* at = row + 4 * (all.w - 1);
    while (at != end && !lowByteAbove(at, threshold)) at -= 4;
    greatest = (at - row) / 4;
  }
}

// Gives up margins until the full size is `n` or the stored size, in turn from `first` and `second`, which
// are not touched where negative.
void dropMargins(std::int32_t n, std::int32_t stored, std::int32_t& full, std::int32_t& first,
                 std::int32_t& second) {
  const std::int64_t most = std::int64_t{std::max(first, 0)} + std::max(second, 0);
  const std::int64_t dropped =
      std::min({most, std::int64_t{full} - n, std::max<std::int64_t>(std::int64_t{full} - stored, 0)});
  if (dropped < 1) return;
  const std::int64_t fromFirst =
      std::min<std::int64_t>(std::max(first, 0), std::max((dropped + 1) / 2, dropped - std::max(second, 0)));
  first -= static_cast<std::int32_t>(fromFirst);
  second -= static_cast<std::int32_t>(dropped - fromFirst);
  full -= static_cast<std::int32_t>(dropped);
}

// keep(from, to) for the `n` of `all` places that stay, evenly spread.
template <class Keep>
void thin(std::int64_t n, std::int64_t all, Keep keep) {
  std::int64_t sum = 0;
  std::int64_t to = 0;
  for (std::int64_t from = 0; from < all; ++from) {
    sum += n;
    if (sum < all) continue;
    sum -= all;
    keep(from, to++);
  }
}

bool canThin(const ABitMap& map, std::int32_t n, std::int32_t full, std::int32_t stored) {
  if (map.buffer == nullptr || map.depth != 32 || n < 1 || n >= full) return false;
  if (full != stored) Sys_BreakToDebugger();
  return true;
}

}  // namespace

void ABitMap::CropOversized() {
  if (left >= 0 && right >= 0 && top >= 0 && bottom >= 0) return;
  const auto cut = [](std::int32_t margin) { return std::max<std::int64_t>(-std::int64_t{margin}, 0); };
  const auto w = static_cast<std::int32_t>(std::max<std::int64_t>(width - cut(left) - cut(right), 0));
  const auto h = static_cast<std::int32_t>(std::max<std::int64_t>(height - cut(top) - cut(bottom), 0));
  if (BufferBytes() > 0 && w > 0 && h > 0) keepPart(*this, cut(left), cut(top), w, h);
  width = w;
  height = h;
  left = std::max(left, 0);
  right = std::max(right, 0);
  top = std::max(top, 0);
  bottom = std::max(bottom, 0);
}

std::int32_t ABitMap::CropRGBASides(std::int32_t threshold) {
  if (depth != 32) return 0;
  const StoredRows rows(*this, 4);
  std::int64_t least = rows.rect().w;
  widenLeft(rows, threshold, least);
  if (least >= rows.rect().w) return 0;
  std::int64_t greatest = least;
  widenRight(rows, threshold, greatest);
  const auto cutLeft = static_cast<std::int32_t>(least);
  const auto cutRight = static_cast<std::int32_t>(rows.rect().w - 1 - greatest);
  if (cutLeft + cutRight == 0) return 0;
  keepPart(*this, cutLeft, 0, width - cutLeft - cutRight, height);
  left = static_cast<std::int32_t>(std::int64_t{left} + cutLeft);  // absurd ones wrap
  right = static_cast<std::int32_t>(std::int64_t{right} + cutRight);
  return cutLeft + cutRight;
}

std::int32_t ABitMap::GetLeftCropRGBA() const {
  if (depth != 32) return 0;
  std::int64_t least = std::max(width, 0);
  widenLeft(StoredRows(*this, 4), 0, least);
  return static_cast<std::int32_t>(least);
}

std::int32_t ABitMap::GetRightCropRGBA() const {
  if (depth != 32) return 0;
  std::int64_t greatest = 0;
  widenRight(StoredRows(*this, 4), 0, greatest);
  return static_cast<std::int32_t>(std::int64_t{width} - 1 - greatest);
}

void ABitMap::DownsizeWidth(std::int32_t n) {
  if (n < 1) return;
  dropMargins(n, width, fullWidth, left, right);
  if (!canThin(*this, n, fullWidth, width)) return;
  const std::int32_t kept = std::min(n, width);
  const StoredRows rows(*this, 4);
  unsigned char* to = buffer;
  for (std::int64_t y = 0; y < rows.rect().h; ++y) {
    const unsigned char* const row = rows.at(rows.rect().x, rows.rect().y + y);
    thin(kept, width, [to, row](std::int64_t from, std::int64_t place) {
      std::memmove(to + 4 * place, row + 4 * from, 4);
    });
    to += static_cast<std::ptrdiff_t>(kept) * 4;
  }
  fullWidth = width = kept;
  left = right = 0;
}

void ABitMap::DownsizeHeight(std::int32_t n) {
  if (n < 1) return;
  dropMargins(n, height, fullHeight, top, bottom);
  if (!canThin(*this, n, fullHeight, height)) return;
  const std::int32_t kept = std::min(n, height);
  const std::int64_t rowBytes = std::int64_t{std::max(width, 0)} * 4;
  thin(kept, height, [this, rowBytes](std::int64_t from, std::int64_t place) {
    std::memmove(buffer + static_cast<std::ptrdiff_t>(place * rowBytes),
                 buffer + static_cast<std::ptrdiff_t>(from * rowBytes), static_cast<std::size_t>(rowBytes));
  });
  fullHeight = height = kept;
  top = bottom = 0;
}
