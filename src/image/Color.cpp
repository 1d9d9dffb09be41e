#include "image/Color.h"

#include "system/Host.h"

namespace {

std::uint8_t blended(std::uint8_t from, std::uint8_t to, std::int32_t weight) {
  return static_cast<std::uint8_t>(from + ((std::int64_t{weight} * (to - from) + 0x8000) >> 16));
}

}  // namespace

void AMRGB::BlendRGB(const AMRGB& color, std::int32_t weight) {
  if (weight < 0 || weight > 0x10000) Sys_BreakToDebugger();
  red = blended(red, color.red, weight);
  green = blended(green, color.green, weight);
  blue = blended(blue, color.blue, weight);
}
