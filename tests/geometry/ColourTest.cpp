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

/// One channel of a colour, in one expression for the whole wheel: `offset` is 0 for red, 8 green, 4 blue.
double referenceChannel(double h, double s, double l, double offset) {
  const double k = std::fmod(offset + h * 12, 12);
  return l - s * std::min(l, 1 - l) * std::max(-1.0, std::min({k - 3, 9 - k, 1.0}));
}

void expectNear(const FPoint3D& actual, double x, double y, double z, double tolerance) {
  EXPECT_NEAR(actual.x, x, tolerance);
  EXPECT_NEAR(actual.y, y, tolerance);
  EXPECT_NEAR(actual.z, z, tolerance);
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

TEST(Colour, ConversionsAgreeWithTheWheelAndWithEachOther) {
  constexpr int kSteps = 24;
  for (int i = 0; i <= kSteps; ++i) {
    for (int j = 0; j <= kSteps; ++j) {
      for (int k = 0; k <= kSteps; ++k) {
        const float a = static_cast<float>(i) / kSteps;
        const float b = static_cast<float>(j) / kSteps;
        const float c = static_cast<float>(k) / kSteps;
        FPoint3D rgb(9, 9, 9);
        FPoint3D(a, b, c).HSL2RGB(rgb);
        expectNear(rgb, referenceChannel(a, b, c, 0), referenceChannel(a, b, c, 8),
                   referenceChannel(a, b, c, 4), 1e-6);
        FPoint3D back = hslOf(a, b, c);
        back.HSL2RGB(back);
        expectNear(back, a, b, c, 2e-6);
        if (HasFailure()) FAIL() << a << " " << b << " " << c;
      }
    }
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
  const std::int32_t before = gAllocatedMem;
  EXPECT_EQ(GetGroupColor(0), 0x007F7FFEU);
  ASSERT_NE(gGroupIDColors, nullptr);
  const std::int32_t after = gAllocatedMem;
  EXPECT_GE(after - before, 2048);
  EXPECT_EQ(GetGroupColor(1), 0xFFFEFEFEU);
  std::uint32_t hash = 2166136261U;
  for (std::int32_t id = 0; id < 512; ++id) {
    const std::uint32_t color = GetGroupColor(id);
    EXPECT_EQ(color, gGroupIDColors[id]);
    for (const std::int32_t turn : {-512, 512, INT32_MIN, 0x7FFFFE00})
      EXPECT_EQ(GetGroupColor(id + turn), color);
    for (int shift = 0; shift < 32; shift += 8) hash = (hash ^ (color >> shift & 0xFF)) * 16777619U;
    if (id == 1) continue;
    // The wheel in double precision, each channel halved; the saturation drops after entry 40, 80, ...
    const double saturation = 1 - 0.025 * (id == 0 ? 0 : (id - 1) / 40);
    const double offsets[] = {0, 8, 4};
    for (int channel = 0; channel < 3; ++channel) {
      const double expected = 127 + referenceChannel(id * 0.025, saturation, 0.5, offsets[channel]) * 127.5;
      EXPECT_NEAR(color >> (8 * channel) & 0xFF, expected, 1.1) << id << " " << channel;
    }
    EXPECT_EQ(color >> 24, 0U);
  }
  // FNV-1a over the entries, low byte first, of a palette computed apart with every step rounded to single
  // precision.
  EXPECT_EQ(hash, 0x5DEF5623U);
  EXPECT_EQ(gAllocatedMem, after) << "built once";
}
