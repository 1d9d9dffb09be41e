#include <cmath>

#include "geometry/GeometrySupport.h"
#include "geometry/Trig.h"

TEST(Point, AnglesRunFromXTowardsY) {
  const struct {
    std::int32_t x, y;
    std::int32_t angle;
  } cases[] = {{0, 0, 0},        {1, 0, 0},         {1, 1, 51471},   {0, 1, 102943},  {-1, 0, 205887},
               {0, -1, -102943}, {-1, -1, -154415}, {1, -1, -51471}, {-1, 1, 154415}, {32767, 0, 0}};
  for (const auto& c : cases) {
    const APoint p = APoint::FromWhole(c.x, c.y);
    EXPECT_EQ(p.Angle(), c.angle) << p;
    EXPECT_NEAR(p.FAngle(), c.angle / 65536.0, 2e-5) << p;
  }
  Random random(3);
  for (int i = 0; i < 2000; ++i) {
    const std::int32_t x = anyRaw(random);
    const APoint p(x, anyRaw(random));
    const long double turns = std::atan2(static_cast<long double>(p.y), static_cast<long double>(p.x));
    EXPECT_EQ(p.Angle(), static_cast<std::int32_t>(turns * 65536)) << p;
    EXPECT_EQ(p.FAngle(), static_cast<float>(turns)) << p;
    const double length = std::hypot(units(p.x), units(p.y));
    EXPECT_NEAR(p.FMagnitude(), length, length * 1e-6) << p;
  }
}

TEST(Trig, IsRightToTheLastDigitsForEveryAngle) {
  Random random(12);
  for (int i = 0; i < 5000; ++i) {
    const double angle = units(anyRaw(random));
    const trig::SineCosine result = trig::sineCosine(angle);
    EXPECT_NEAR(result.sine, static_cast<double>(std::sin(static_cast<long double>(angle))), 2e-14) << angle;
    EXPECT_NEAR(result.cosine, static_cast<double>(std::cos(static_cast<long double>(angle))), 2e-14)
        << angle;
    const double x = units(anyRaw(random));
    const long double turns = std::atan2(static_cast<long double>(angle), static_cast<long double>(x));
    EXPECT_NEAR(trig::angleOf(x, angle), static_cast<double>(turns), 1e-15) << x << " " << angle;
  }
}

TEST(Point, PinsToTheRectangleAndTakesItsCorner) {
  const ARect rect = ARect::FromWhole(-10, 5, 20, 30);
  const struct {
    std::int32_t x, y, pinnedX, pinnedY;
  } cases[] = {{0, 10, 0, 10},   {-11, 10, -10, 10},     {21, 4, 20, 5},     {20, 30, 20, 30},
               {-10, 5, -10, 5}, {32767, 32767, 20, 30}, {-32768, 0, -10, 5}};
  for (const auto& c : cases) {
    APoint p = APoint::FromWhole(c.x, c.y);
    p.Pin(rect);
    EXPECT_EQ(p, APoint::FromWhole(c.pinnedX, c.pinnedY));
  }
  APoint p(7, 8);
  p.Pin(ARect(10, 10, 0, 0));
  EXPECT_EQ(p, APoint(10, 10)) << "left and top win";
  p = rect;
  EXPECT_EQ(p, APoint::FromWhole(-10, 5));
}

TEST(Point, SumsWrapRound) {
  for (const std::int32_t a : extremes()) {
    for (const std::int32_t b : extremes()) {
      const std::int64_t wide = a;
      EXPECT_EQ(APoint(a, b) + APoint(b, b), APoint(low32(wide + b), low32(std::int64_t{b} + b)));
      EXPECT_EQ(APoint(a, b) - APoint(b, a), APoint(low32(wide - b), low32(std::int64_t{b} - a)));
      EXPECT_EQ(-APoint(a, b), APoint(low32(-wide), low32(-std::int64_t{b})));
    }
  }
}
