#include "image/PixelFill.h"

#include "image/PixelBytes.h"

void fillPixels(unsigned char* to, std::uint32_t value, std::size_t count) {
  const std::uint32_t turned = pixelbytes::turned(value);
  for (std::size_t i = 0; i < count; ++i) pixelbytes::storeTurned(to + 4 * i, turned);
}
