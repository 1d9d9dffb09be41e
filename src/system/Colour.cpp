#include "system/Colour.h"

#include <cmath>

#include "Truncate.h"
#include "system/Host.h"
#include "system/Memory.h"

std::uint32_t* gGroupIDColors = nullptr;

namespace {

constexpr std::uint32_t kGroupColorCount = 512;
constexpr std::uint32_t kFirstGroupColor = 0xFFFEFEFE;

void store(float* to, float value) {
  if (to != nullptr) *to = value;
}

std::uint32_t packedComponent(float component) {
  return static_cast<std::uint32_t>(truncateToInt32(std::fma(component, 255.0F, 0.5F)));
}

/// Red and blue swapped, each channel halved and raised by 127.
std::uint32_t light(std::uint32_t rgb) {
  const std::uint32_t swapped = (rgb >> 16 & 0xFE) | (rgb << 16 & 0xFE0000) | (rgb & 0xFE00);
  return (swapped >> 1) + 0x7F7F7F;
}

void fillGroupColors(std::uint32_t* colors) {
  float hue = 0.0F;
  float saturation = 1.0F;
  float r = 0.0F;
  float g = 0.0F;
  float b = 0.0F;
  for (std::uint32_t i = 0; i < kGroupColorCount; ++i) {
    HSL_to_RGB(hue, saturation, 0.5F, &r, &g, &b);
    colors[i] = light(PackRGB(r, g, b));
    hue += 0.025F;
    if (hue > 1.0F) {
      saturation -= 0.025F;
      hue -= 1.0F;
    }
  }
  // The first group is shown white, whatever the wheel says.
  colors[1] = kFirstGroupColor;
}

}  // namespace

void RGB_to_HSL(float r, float g, float b, float* h, float* s, float* l) {
  float max = r > g ? r : g;
  if (b > max) max = b;
  float min = r < g ? r : g;
  if (b < min) min = b;
  const float sum = max + min;
  const float lightness = sum * 0.5F;
  const float delta = max - min;
  store(h, 0.0F);
  store(s, 0.0F);
  store(l, lightness);
  if (lightness <= 0.0F || delta <= 0.0F) return;
  store(s, delta / (lightness <= 0.5F ? sum : 2.0F - max - min));
  const float rc = (max - r) / delta;
  const float gc = (max - g) / delta;
  const float bc = (max - b) / delta;
  float sixths = 0.0F;
  if (max == r) {
    sixths = min == g ? 5.0F + bc : 1.0F - gc;
  } else if (max == g) {
    sixths = min == b ? 1.0F + rc : 3.0F - bc;
  } else {
    sixths = min == r ? 3.0F + gc : 5.0F - rc;
  }
  store(h, sixths / 6.0F);
}

void HSL_to_RGB(float h, float s, float l, float* r, float* g, float* b) {
  const auto storeAll = [&](float red, float green, float blue) {
    store(r, red);
    store(g, green);
    store(b, blue);
  };
  const float v = l <= 0.5F ? l * (1.0F + s) : l + s - l * s;
  if (v <= 0.0F) {
    storeAll(0.0F, 0.0F, 0.0F);
    return;
  }
  const float m = 2.0F * l - v;
  const float sv = (v - m) / v;
  const float h6 = h * 6.0F;
  const std::int32_t sextant = truncateToInt32(h6);
  const float fract = h6 - static_cast<float>(sextant);
  const float vsf = v * sv * fract;
  const float mid1 = m + vsf;
  const float mid2 = v - vsf;
  switch (sextant) {
    case 0:
    case 6:
      storeAll(v, mid1, m);
      break;
    case 1:
      storeAll(mid2, v, m);
      break;
    case 2:
      storeAll(m, v, mid1);
      break;
    case 3:
      storeAll(m, mid2, v);
      break;
    case 4:
      storeAll(mid1, m, v);
      break;
    case 5:
      storeAll(v, m, mid2);
      break;
    default:
      // The outputs keep what they had, see the header.
      break;
  }
}

std::uint32_t PackRGB(float r, float g, float b) {
  return packedComponent(r) << 16 | packedComponent(g) << 8 | packedComponent(b);
}

std::uint32_t GetGroupColor(std::int32_t id) {
  if (gGroupIDColors == nullptr) {
    void* block = MY_MEM_MALLOC(kGroupColorCount * sizeof(std::uint32_t), "GetGroupColor");
    if (block == nullptr) {
      Sys_BreakToDebugger();
      return kFirstGroupColor;
    }
    gGroupIDColors = static_cast<std::uint32_t*>(block);
    fillGroupColors(gGroupIDColors);
  }
  return gGroupIDColors[static_cast<std::uint32_t>(id) % kGroupColorCount];
}
