#include "image/BitMap.h"

#include <algorithm>

#include "LargePages.h"
#include "image/BitMapRegion.h"
#include "image/PixelBytes.h"
#include "system/Memory.h"

namespace {

// The start of the element of `size` bytes that stands for (x, y); null where there is none.
const unsigned char* storedElement(const ABitMap& map, std::int32_t x, std::int32_t y, std::int32_t size) {
  if (y < map.top || y >= std::int64_t{map.fullHeight} - map.bottom) return nullptr;
  if (x < map.left || x >= std::int64_t{map.fullWidth} - map.right) return nullptr;
  const std::int64_t dx = std::int64_t{x} - map.left;
  const std::int64_t dy = std::int64_t{y} - map.top;
  if (dx >= map.width || dy >= map.height) return nullptr;
  const std::int64_t index = dy * map.width + dx;
  return index < map.BufferBytes() / size ? map.buffer + index * size : nullptr;
}

// Null for a size below 0 and for no memory.
unsigned char* newPixels(std::int32_t bytes, const char* tag) {
  auto* const pixels = static_cast<unsigned char*>(MY_MEM_MALLOC(bytes, tag));
  if (pixels != nullptr) preferLargePages(pixels, static_cast<std::size_t>(bytes));
  return pixels;
}

}  // namespace

std::int32_t ABitMap::BufferBytes() const {
  return buffer == nullptr ? 0 : std::max(imageBytes(width, height, depth), 0);
}

unsigned char* ABitMap::Allocate(std::int32_t w, std::int32_t h, std::int32_t d) {
  if (buffer != nullptr && w == fullWidth && h == fullHeight) return buffer;
  Free();
  width = fullWidth = w;
  height = fullHeight = h;
  depth = d;
  return buffer = newPixels(imageBytes(w, h, d), "ABitMap::Allocate");
}

unsigned char* ABitMap::AllocateCropped(std::int32_t fullW, std::int32_t fullH, std::int32_t t,
                                        std::int32_t l, std::int32_t b, std::int32_t r, std::int32_t d) {
  Free();
  setCropping(*this, fullW, fullH, t, l, b, r, d);
  if (width > 0 && height > 0)
    buffer = newPixels(imageBytes(width, height, depth), "ABitMap::AllocateCropped");
  return buffer;
}

void ABitMap::Free() {
  MY_MEM_FREE(buffer);
  buffer = nullptr;
}

void ABitMap::FreeAndClear() {
  Free();
  fullWidth = 0;
  fullHeight = 0;
  depth = 0;
}

void ABitMap::Reset() {
  *this = ABitMap{};
}

void ABitMap::ClearBuffer() {
  Sys_MemZero(buffer, BufferBytes());
}

std::int32_t ABitMap::ReadValue8(std::int32_t x, std::int32_t y) const {
  const unsigned char* element = storedElement(*this, x, y, 1);
  return element != nullptr ? *element : static_cast<std::int32_t>(fillValue & 0xFF);
}

std::uint32_t ABitMap::ReadValue32(std::int32_t x, std::int32_t y) const {
  const unsigned char* element = storedElement(*this, x, y, 4);
  return element != nullptr ? pixelbytes::load<std::uint32_t>(element) : fillValue;
}
