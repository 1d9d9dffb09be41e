#include <cmath>
#include <limits>

#include "geometry/GeometrySupport.h"
#include "system/TalvexPlugin.h"

TEST(Colour, ConversionsAreExactToTheBit) {
  Random random(13);
  Checksum rgb, hsl, packed;
  for (int i = 0; i < 20000; ++i) {
    // Half of them in eighths, where components are equal and lightness is 0, 0.5 and 1; small ones have
    // digits that a sum has no place for.
    const auto component = [&] {
      const std::uint32_t digits = i % 2 == 0 ? 3 : 24;
      const auto value = static_cast<float>(below(random, (1U << digits) + 1));
      return std::ldexp(value, -static_cast<int>(digits == 3 ? 3 : 24 + below(random, 4)));
    };
    const float a = component();
    const float b = i % 3 == 0 ? 1.0F - a : component();
    const float c = i % 5 == 0 ? 0.5F : component();
    FPoint3D out;
    FPoint3D(a, b, c).HSL2RGB(out);
    rgb.add(out);
    RGB_to_HSL(a, b, c, &out.x, &out.y, &out.z);
    hsl.add(out);
    // Far out of 0 to 1 a product that is rounded before the sum shows.
    const float far = std::ldexp(1.0F, i % 18);
    packed.add(
        static_cast<std::int32_t>(FPoint3D((a - 0.25F) * far, (b - 0.25F) * far, (c - 0.25F) * far).ToRGB()));
  }
  EXPECT_EQ(rgb.sum, 0x0E70F8F1U);
  EXPECT_EQ(hsl.sum, 0xC561462BU);
  EXPECT_EQ(packed.sum, 0x447DBC86U);
}

TEST(Colour, ValuesOutOfRangeAreTaken) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInf = std::numeric_limits<float>::infinity();
  const struct {
    FPoint3D hsl;
    bool writes;
  } cases[] = {
      {{-0.5F, 1, 0.5F}, false},      {{-0.16F, 1, 0.5F}, true}, {{1.16F, 1, 0.5F}, true},
      {{1.167F, 1, 0.5F}, false},     {{kInf, 1, 0.5F}, false},  {{kNaN, 1, 0.5F}, false},
      {{kNaN, 1, 0}, true /*black*/}, {{5, 1, -1}, true},
  };
  for (const auto& c : cases) {
    FPoint3D out(7, 8, 9);
    c.hsl.HSL2RGB(out);
    EXPECT_EQ(out != FPoint3D(7, 8, 9), c.writes) << c.hsl;
  }
  FPoint3D hsl(9, 9, 9);
  RGB_to_HSL(-1, 0.5F, 0, &hsl.x, &hsl.y, &hsl.z);
  EXPECT_EQ(hsl, FPoint3D(0, 0, -0.25F));
  RGB_to_HSL(1, 0, 0, &hsl.x, nullptr, nullptr);
  EXPECT_EQ(hsl.x, 1) << "the end of the wheel, since green is as small as blue";
  HSL_to_RGB(1, 1, 0.5F, nullptr, nullptr, &hsl.z);
  EXPECT_EQ(hsl.z, 0);
  EXPECT_EQ(PackRGB(1, 0.5F, 0), 0xFF8000U);
  EXPECT_EQ(PackRGB(0, 1, -1), 0xFFFFFF02U);
  EXPECT_EQ(PackRGB(0, 0, kInf), 0x7FFFFFFFU);
}

TEST(Colour, GroupColoursAreLightAndWrap) {
  EXPECT_EQ(GetGroupColor(0), 0x007F7FFEU);
  EXPECT_EQ(GetGroupColor(1), 0xFFFEFEFEU);
  const std::int32_t after = gAllocatedMem;
  Checksum palette;
  for (std::int32_t id = 0; id < 512; ++id) {
    const std::uint32_t color = GetGroupColor(id);
    palette.add(static_cast<std::int32_t>(color));
    for (const std::int32_t turn : {-512, 512, INT32_MIN}) EXPECT_EQ(GetGroupColor(id + turn), color);
  }
  EXPECT_EQ(palette.sum, 0x65A79967U);
  EXPECT_EQ(gAllocatedMem, after) << "built once";
}
