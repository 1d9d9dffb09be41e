#include <algorithm>
#include <cmath>
#include <limits>

#include "geometry/GeometrySupport.h"
#include "system/TalvexPlugin.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

FPoint3D hslOf(float r, float g, float b) {
  FPoint3D hsl(9, 9, 9);
  RGB_to_HSL(r, g, b, &hsl.x, &hsl.y, &hsl.z);
  return hsl;
}

SingleVector referenceHSL(Single r, Single g, Single b) {
  const Single max = std::max({r, g, b});
  const Single min = std::min({r, g, b});
  const Single l = (max + min) * 0.5;
  const Single delta = max - min;
  if (l <= 0 || delta == 0) return {0, 0, l};
  const Single s = l <= 0.5 ? delta / (max + min) : delta / (Single(2) - max - min);
  const auto away = [&](Single channel) { return (max - channel) / delta; };
  const Single sixths = max == r   ? (min == g ? Single(5) + away(b) : Single(1) - away(g))
                        : max == g ? (min == b ? Single(1) + away(r) : Single(3) - away(b))
                                   : (min == r ? Single(3) + away(g) : Single(5) - away(r));
  return {sixths / 6, s, l};
}

/// For hues of the wheel.
SingleVector referenceRGB(Single h, Single s, Single l) {
  const Single v = l <= 0.5 ? l * (Single(1) + s) : l + s - l * s;
  if (v <= 0) return {0, 0, 0};
  const Single m = Single(2) * l - v;
  const Single sv = (v - m) / v;
  const Single h6 = h * 6;
  const Single sextant = std::floor(h6.value);
  const Single vsf = v * sv * (h6 - sextant);
  const Single mid1 = m + vsf;
  const Single mid2 = v - vsf;
  const SingleVector wheel[] = {{v, mid1, m}, {mid2, v, m}, {m, v, mid1}, {m, mid2, v},
                                {mid1, m, v}, {v, m, mid2}, {v, mid1, m}};
  return wheel[static_cast<int>(sextant.value)];
}

}  // namespace

TEST(Colour, HueSaturationAndLightnessOfKnownColours) {
  const struct {
    FPoint3D rgb;
    FPoint3D hsl;
  } cases[] = {
      {{0, 0, 0}, {0, 0, 0}},
      {{1, 1, 1}, {0, 0, 1}},
      {{0.5F, 0.5F, 0.5F}, {0, 0, 0.5F}},
      {{1, 1, 0}, {1.0F / 6, 1, 0.5F}},
      {{0, 1, 0}, {2.0F / 6, 1, 0.5F}},
      {{0, 1, 1}, {3.0F / 6, 1, 0.5F}},
      {{0, 0, 1}, {4.0F / 6, 1, 0.5F}},
      {{1, 0, 1}, {5.0F / 6, 1, 0.5F}},
      // Red has green as its smallest component, so its hue is the end of the wheel.
      {{1, 0, 0}, {1, 1, 0.5F}},
      {{1, 0.5F, 0.5F}, {1, 1, 0.75F}},
      {{0.5F, 0.25F, 0}, {1.0F / 12, 1, 0.25F}},
      {{-1, -1, -1}, {0, 0, -1}},
      {{-1, 0.5F, 0}, {0, 0, -0.25F}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(hslOf(c.rgb.x, c.rgb.y, c.rgb.z), c.hsl) << c.rgb;
  }
}

TEST(Colour, ConversionsRoundOncePerStepAndAgreeWithEachOther) {
  Random random(13);
  for (int i = 0; i < 50000 && !HasFailure(); ++i) {
    // Half of them in eighths, where components are equal and lightness is 0, 0.5 and 1.
    const int digits = i % 2 == 0 ? 3 : 24;
    const auto component = [&] {
      const auto value = static_cast<float>(below(random, (1U << digits) + 1));
      // Small ones have digits that a sum has no place for.
      return std::ldexp(value, -digits - (digits == 3 ? 0 : static_cast<int>(below(random, 4))));
    };
    const float a = component();
    // Some of a lightness of 0.5 just about.
    const float b = i % 3 == 0 ? 1.0F - a : component();
    const float c = i % 5 == 0 ? 0.5F : component();
    SCOPED_TRACE(testing::Message() << FPoint3D(a, b, c));
    FPoint3D rgb(9, 9, 9);
    FPoint3D(a, b, c).HSL2RGB(rgb);
    EXPECT_TRUE(sameBits(rgb, referenceRGB(a, b, c))) << rgb;
    FPoint3D back = hslOf(a, b, c);
    EXPECT_TRUE(sameBits(back, referenceHSL(a, b, c))) << back;
    back.HSL2RGB(back);
    EXPECT_NEAR(back.x, a, 2e-6);
    EXPECT_NEAR(back.y, b, 2e-6);
    EXPECT_NEAR(back.z, c, 2e-6);
  }
}

TEST(Colour, AHueOffTheWheelWritesNothing) {
  const struct {
    FPoint3D hsl;
    bool writes;
  } cases[] = {
      {{-0.5F, 1, 0.5F}, false},    {{-0.17F, 1, 0.5F}, false}, {{-0.16F, 1, 0.5F}, true},
      {{1, 1, 0.5F}, true},         {{1.16F, 1, 0.5F}, true},   {{1.167F, 1, 0.5F}, false},
      {{1e30F, 1, 0.5F}, false},    {{kInf, 1, 0.5F}, false},   {{-kInf, 1, 0.5F}, false},
      {{-5, 1, 0}, true /*black*/}, {{5, -1, 0.25F}, true},     {{5, 1, -1}, true},
  };
  for (const auto& c : cases) {
    FPoint3D out(7, 8, 9);
    c.hsl.HSL2RGB(out);
    EXPECT_EQ(out != FPoint3D(7, 8, 9), c.writes) << c.hsl;
  }
  FPoint3D first;
  FPoint3D last(7, 8, 9);
  FPoint3D(0, 0.7F, 0.4F).HSL2RGB(first);
  FPoint3D(1, 0.7F, 0.4F).HSL2RGB(last);
  EXPECT_EQ(first, last);
}

TEST(Colour, PacksWithOneRoundingAndWithoutClamping) {
  const struct {
    FPoint3D rgb;
    std::uint32_t packed;
  } cases[] = {
      {{1, 0.5F, 0}, 0xFF8000},     {{0, 0, 0}, 0},
      {{1, 1, 1}, 0xFFFFFF},        {{0, 2, 0}, 0x1FE00},
      {{0, 0, 2}, 0x1FE},           {{0, 0, -1}, 0xFFFFFF02},  // -254.5, truncated towards zero
      {{0, 1, -1}, 0xFFFFFF02},     {{-0.001F, 0, 0}, 0},
      {{kNaN, kNaN, 1}, 0xFF},      {{0, 0, kInf}, 0x7FFFFFFF},
      {{0, 0, -1e30F}, 0x80000000}, {{0, 1e30F, 0}, 0xFFFFFF00},
  };
  for (const auto& c : cases) EXPECT_EQ(c.rgb.ToRGB(), c.packed) << c.rgb;
  Random random(11);
  for (int i = 0; i < 20000; ++i) {
    // Far out of 0 to 1 a product that is rounded before the sum shows.
    const float value = std::ldexp(static_cast<float>(random()), i % 2 == 0 ? -16 : -32);
    // Exact in double precision, so rounded once.
    const auto once = static_cast<float>(value * 255.0 + 0.5);
    EXPECT_EQ(FPoint3D(0, 0, value).ToRGB(), static_cast<std::uint32_t>(once)) << value;
  }
  for (std::uint32_t c = 0; c < 256; ++c) {
    EXPECT_EQ(PackRGB(0, static_cast<float>(c) / 255.0F, 0), c << 8);
  }
}

TEST(Colour, GroupColoursAreLightAndWrap) {
  const bool first = gGroupIDColors == nullptr;
  const std::int32_t before = gAllocatedMem;
  EXPECT_EQ(GetGroupColor(0), 0x007F7FFEU);
  ASSERT_NE(gGroupIDColors, nullptr);
  const std::int32_t after = gAllocatedMem;
  if (first) {
    EXPECT_GE(after - before, 2048);
  }
  EXPECT_EQ(GetGroupColor(1), 0xFFFEFEFEU);
  Single hue = 0;
  Single saturation = 1;
  for (std::int32_t id = 0; id < 512; ++id) {
    const std::uint32_t color = GetGroupColor(id);
    EXPECT_EQ(color, gGroupIDColors[id]);
    for (const std::int32_t turn : {-512, 512, INT32_MIN, 0x7FFFFE00})
      EXPECT_EQ(GetGroupColor(id + turn), color);
    const SingleVector rgb = referenceRGB(hue, saturation, 0.5);
    // Red in the low byte; each channel half of its 0 to 255, on top of 127.
    const auto channel = [](Single c) {
      return 127 + static_cast<std::uint32_t>(Single(c.value * 255 + 0.5).value) / 2;
    };
    if (id != 1) {
      EXPECT_EQ(color, channel(rgb.x) | channel(rgb.y) << 8 | channel(rgb.z) << 16) << id;
    }
    hue = hue + 0.025;
    if (hue <= 1) continue;
    hue = hue - 1;
    saturation = saturation - 0.025;
  }
  EXPECT_EQ(gAllocatedMem, after) << "built once";
}
