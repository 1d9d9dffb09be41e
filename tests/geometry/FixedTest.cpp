#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "geometry/GeometrySupport.h"
#include "geometry/Trig.h"
#include "geometry/Var.h"

TEST(Var, CountsPlainNumbersInWholeUnits) {
  const AVar half = AVar::FromRaw(0x8000);
  EXPECT_EQ((half + 3 - AVar::FromWhole(1)).raw, 0x28000);
  EXPECT_EQ((half - 3 + AVar::FromWhole(1)).raw, -0x18000);
  EXPECT_EQ((half * AVar::FromRaw(-1)).raw, -1);
  EXPECT_EQ((half / AVar::FromWhole(-3)).raw, -0x2AAA);
  EXPECT_EQ(stopsOf([&] { EXPECT_EQ((half / AVar()).raw, 0); }), 1);
}

TEST(Var, TracksPerKindAndStartsAgainPast10000) {
  gAVarTrackCount = 9999;
  gFVarTrackCount = INT32_MAX;
  AVar_TrackImmidiateMath();
  FVar_TrackImmidiateMath();
  EXPECT_TRUE(gAVarTrackCount == 10000 && gFVarTrackCount == 0);
  AVar_TrackImmidiateMath();
  FVar_TrackImmidiateMath();
  EXPECT_TRUE(gAVarTrackCount == 0 && gFVarTrackCount == 1);
  gAVarTrackCount = 5;
  AVar_ResetTracking();
  EXPECT_TRUE(gAVarTrackCount == 0 && gFVarTrackCount == 0);

  EXPECT_EQ(AVar_Initialize(), 0);
  EXPECT_EQ(_AVar_Initialization_counter, 1);
  EXPECT_EQ(stopsOf(AVar_Destroy), 0);
  EXPECT_EQ(stopsOf(AVar_Destroy), 1);
  EXPECT_EQ(_AVar_Initialization_counter, -1);
  _AVar_Initialization_counter = 0;
}

TEST(Var, BuffersAreSwappedInWholeWordsAndVectors) {
  for (const std::int32_t bytes : {INT32_MIN, -12, 0, 3, 6, 11, 12, 23, 24, 27}) {
    for (const auto& [swap, size] :
         {std::pair{&AVar_EndianSwapBuffer, 4}, {&APoint3D_EndianSwapBuffer, 12}}) {
      std::vector<unsigned char> buffer(29);
      std::iota(buffer.begin(), buffer.end(), 0);
      std::vector<unsigned char> expected = buffer;
      for (std::int32_t at = 1; at < bytes / size * size; at += 4) {
        std::reverse(expected.begin() + at, expected.begin() + at + 4);
      }
      swap(buffer.data() + 1, bytes);
      EXPECT_EQ(buffer, expected) << bytes;
      swap(nullptr, bytes);
    }
  }
}

TEST(Trig, IsRightToTheLastDigitsForEveryAngle) {
  Random random(12);
  for (int i = 0; i < 5000; ++i) {
    const double angle = units(anyRaw(random));
    const trig::SineCosine result = trig::sineCosine(angle);
    EXPECT_NEAR(result.sine, static_cast<double>(std::sin(static_cast<long double>(angle))), 2e-14) << angle;
    EXPECT_NEAR(result.cosine, static_cast<double>(std::cos(static_cast<long double>(angle))), 2e-14);
    const double x = units(anyRaw(random));
    const long double turns = std::atan2(static_cast<long double>(angle), static_cast<long double>(x));
    EXPECT_NEAR(trig::angleOf(x, angle), static_cast<double>(turns), 1e-15) << x << " " << angle;
  }
}

TEST(Point, PinsTurnsAndAdds) {
  const ARect rect = ARect::FromWhole(-10, 5, 20, 30);
  APoint p = APoint::FromWhole(-11, 31);
  p.Pin(rect);
  EXPECT_EQ(p, APoint::FromWhole(-10, 30));
  p = APoint::FromWhole(21, 4);
  p.Pin(rect);
  EXPECT_EQ(p, APoint::FromWhole(20, 5));
  p.Pin(ARect(10, 10, 0, 0));
  EXPECT_EQ(p, APoint(10, 10)) << "left and top win";
  p = rect;
  EXPECT_EQ(p, APoint::FromWhole(-10, 5));
  p = {};
  EXPECT_EQ(p, APoint()) << "a point, no rectangle";
  EXPECT_EQ(APoint(INT32_MAX, 2) + APoint(1, -3) - APoint(0, 5), APoint(INT32_MIN, -6));
  EXPECT_EQ(-APoint(INT32_MIN, 1), APoint(INT32_MIN, -1));
  EXPECT_EQ(p.Angle(), 0);
  EXPECT_EQ(APoint::FromWhole(0, -1).Angle(), -102943);
  EXPECT_EQ(APoint::FromWhole(-1, 0).FAngle(), 3.14159265F);
  EXPECT_EQ(APoint::FromWhole(3, -4).FMagnitude(), 5.0F);
}
