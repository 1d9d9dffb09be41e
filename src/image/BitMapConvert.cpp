#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/BitMap.h"
#include "image/BitMapRegion.h"
#include "image/HostBitMap.h"
#include "image/PixelFill.h"
#include "system/Host.h"
#include "system/Memory.h"

namespace {

// The bitmap that `map` describes, with its pixels; right and bottom margins wrap where the sizes are absurd.
ABitMap attached(const ABMap& map) {
  ABitMap view;
  view.width = map.width;
  view.height = map.height;
  view.depth = map.depth;
  view.fullWidth = map.fullWidth != 0 ? map.fullWidth : map.width;
  view.fullHeight = map.fullHeight != 0 ? map.fullHeight : map.height;
  view.left = map.left;
  view.top = map.top;
  view.right = static_cast<std::int32_t>(std::int64_t{view.fullWidth} - view.left - view.width);
  view.bottom = static_cast<std::int32_t>(std::int64_t{view.fullHeight} - view.top - view.height);
  view.fillValue = map.fillValue;
  view.buffer = map.buffer();
  return view;
}

// Writes the whole logical image of a 32-bit bitmap, pixels that are not stored as its fill value.
void expand(const ABitMap& source, unsigned char* to) {
  const StoredRows rows(source, 4);
  const PixelRect image = rows.image();
  const PixelRect stored = rows.visible();
  const auto fill = [&](std::int64_t pixels) {
    fillPixels(to, source.fillValue, static_cast<std::size_t>(pixels));
    to += static_cast<std::ptrdiff_t>(pixels * 4);
  };
  if (stored.empty()) return fill(image.w * image.h);
  fill(stored.y * image.w);
  for (std::int64_t y = stored.y; y < stored.y + stored.h; ++y) {
    fill(stored.x);
    const auto bytes = static_cast<std::size_t>(stored.w * 4);
    std::memcpy(to, rows.at(stored.x, y), bytes);
    to += bytes;
    fill(image.w - stored.x - stored.w);
  }
  fill((image.h - stored.y - stored.h) * image.w);
}

}  // namespace

std::int32_t ABitMap::InitFromABMap(const ABMap* map) {
  if (map == nullptr) return -1;
  *this = attached(*map);
  return buffer != nullptr ? 0 : -1;
}

std::int32_t ABitMap::CreateFromABMap(const ABMap* map) {
  Free();
  if (map == nullptr || map->buffer() == nullptr) return -1;
  if (Allocate(map->width, map->height, map->depth) == nullptr) return -1;
  std::memcpy(buffer, map->buffer(), static_cast<std::size_t>(BufferBytes()));
  if (map->fullWidth != 0 || map->fullHeight != 0) Sys_BreakToDebugger();
  return 0;
}

std::int32_t ABitMap::CreateFullFromABMap(const ABMap* map) {
  Free();
  if (map == nullptr || map->buffer() == nullptr || depth != 32) return -1;
  const ABitMap source = attached(*map);
  if (source.depth != 32) {
    Sys_BreakToDebugger();
    return -1;
  }
  if (Allocate(source.fullWidth, source.fullHeight, source.depth) == nullptr) return -1;
  expand(source, buffer);
  fillValue = source.fillValue;
  left = right = top = bottom = 0;
  return 0;
}

std::int32_t ABitMap::CreateUnpaddedFrom(const ABitMap& source) {
  if (source.depth != 32) return -1;
  // The source may be this bitmap.
  const ABitMap from = source;
  unsigned char* const old = buffer;
  if (old != from.buffer) MY_MEM_FREE(old);
  buffer = nullptr;
  if (Allocate(from.fullWidth, from.fullHeight, 32) != nullptr) expand(from, buffer);
  if (old == from.buffer) MY_MEM_FREE(old);
  return buffer != nullptr ? 0 : -1;
}
