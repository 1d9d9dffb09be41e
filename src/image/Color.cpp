#include "image/Color.h"

#include "system/Host.h"

void AMRGB::BlendRGB(const AMRGB& color, std::int32_t weight) {
  if (weight < 0 || weight > 0x10000) Sys_BreakToDebugger();
  red = Blended(red, color.red, std::int64_t{weight});
  green = Blended(green, color.green, std::int64_t{weight});
  blue = Blended(blue, color.blue, std::int64_t{weight});
}
