#include <cmath>
#include <limits>

#include "geometry/Fixed.h"
#include "geometry/GeometrySupport.h"
#include "system/TalvexPlugin.h"

namespace {

/// The quotient by unsigned long division of the magnitudes.
std::int32_t referenceQuotient(std::int32_t a, std::int32_t b) {
  const std::uint64_t numerator = static_cast<std::uint64_t>(std::llabs(a)) << 16;
  const auto quotient = static_cast<std::int64_t>(numerator / static_cast<std::uint64_t>(std::llabs(b)));
  return low32((a < 0) != (b < 0) ? -quotient : quotient);
}

void checkPair(std::int32_t a, std::int32_t b) {
  SCOPED_TRACE(std::to_string(a) + " " + std::to_string(b));
  const std::int64_t wide = a;
  EXPECT_EQ(fixed::add(a, b), low32(wide + b));
  EXPECT_EQ(fixed::sub(a, b), low32(wide - b));
  EXPECT_EQ(fixed::neg(a), low32(-wide));
  EXPECT_EQ(fixed::mul(a, b), referenceProduct(a, b));
  EXPECT_EQ(fixed::div(a, b), b == 0 ? 0 : referenceQuotient(a, b));
  EXPECT_EQ(fixed::floor(a) + fixed::fraction(a), a);
  EXPECT_EQ(fixed::toWhole(a), std::floor(units(a)));
  EXPECT_EQ(fixed::fromWhole(fixed::toWhole(a)), fixed::floor(a));
  EXPECT_EQ(fixed::fromReal(fixed::toDouble(a)), a);
  EXPECT_EQ(fixed::toFloat(a), static_cast<float>(units(a)));
}

}  // namespace

TEST(Fixed, AgreesWithWideArithmetic) {
  for (const std::int32_t a : extremes()) {
    for (const std::int32_t b : extremes()) checkPair(a, b);
  }
  Random random(1);
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    const std::int32_t a = anyRaw(random);
    checkPair(a, anyRaw(random));
  }
}

TEST(Fixed, RealNumbersAreTruncatedAndHeldInRange) {
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    double value;
    std::int32_t integer;
    std::int32_t raw;
  } cases[] = {
      {0.0, 0, 0},
      {-0.0, 0, 0},
      {0.75, 0, 0xC000},
      {-0.75, 0, -0xC000},
      {1.0 / 131072, 0, 0},
      {-1.0 / 131072, 0, 0},
      {32767.99999, 32767, INT32_MAX},
      {32768.0, 32768, INT32_MAX},
      {-32768.0, -32768, INT32_MIN},
      {2147483647.0, INT32_MAX, INT32_MAX},
      {2147483647.5, INT32_MAX, INT32_MAX},
      {2147483648.0, INT32_MAX, INT32_MAX},
      {-2147483648.0, INT32_MIN, INT32_MIN},
      {-2147483648.5, INT32_MIN, INT32_MIN},
      {-2147483649.0, INT32_MIN, INT32_MIN},
      {1e300, INT32_MAX, INT32_MAX},
      {inf, INT32_MAX, INT32_MAX},
      {-inf, INT32_MIN, INT32_MIN},
      {std::numeric_limits<double>::quiet_NaN(), 0, 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(truncateToInt32(c.value), c.integer) << c.value;
    EXPECT_EQ(fixed::fromReal(c.value), c.raw) << c.value;
  }
}

TEST(Var, SnapsToTheGridAround) {
  Random random(2);
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    const AVar value = AVar::FromRaw(rawWithin(random, 16000));
    const auto step = static_cast<std::int32_t>(1 + below(random, 1U << below(random, 15)));
    const double grow = std::ceil(units(value.raw) / step) * step;
    const double shrink = std::floor(units(value.raw) / step) * step;
    // Where a multiple does not fit, it wraps round.
    EXPECT_EQ(value.SnapGrow(step).raw, low32(static_cast<std::int64_t>(grow * 65536)))
        << value.raw << " " << step;
    EXPECT_EQ(value.SnapShrink(step).raw, low32(static_cast<std::int64_t>(shrink * 65536))) << value.raw;
  }
  for (const std::int32_t raw : extremes()) {
    for (const std::int32_t step : {0, -1, INT32_MIN}) {
      EXPECT_EQ(breaksOf([&] { EXPECT_EQ(AVar::FromRaw(raw).SnapGrow(step).raw, raw); }), 1);
      EXPECT_EQ(breaksOf([&] { EXPECT_EQ(AVar::FromRaw(raw).SnapShrink(step).raw, raw); }), 1);
    }
    const std::int64_t step = std::int64_t{INT32_MAX} * 65536;
    const std::int64_t grown = raw > 0 ? step : 0;
    const std::int64_t shrunk = raw < 0 ? -step : 0;
    EXPECT_EQ(AVar::FromRaw(raw).SnapGrow(INT32_MAX).raw, low32(grown));
    EXPECT_EQ(AVar::FromRaw(raw).SnapShrink(INT32_MAX).raw, low32(shrunk));
  }
}

TEST(Var, CountsPlainNumbersInWholeUnits) {
  const AVar half = AVar::FromRaw(0x8000);
  EXPECT_EQ((half + 3).raw, 0x38000);
  EXPECT_EQ((half - 3).raw, -0x28000);
  EXPECT_EQ((half + AVar::FromWhole(3)).raw, 0x38000);
  EXPECT_EQ((half * AVar::FromRaw(-1)).raw, -1);
  EXPECT_EQ((half / AVar::FromWhole(3)).raw, 0x2AAA);
  EXPECT_LT(AVar::FromRaw(-1), half - 0);
  EXPECT_EQ(breaksOf([&] { EXPECT_EQ((half / AVar()).raw, 0); }), 1);
  EXPECT_EQ(breaksOf([&] { EXPECT_EQ((AVar() / half).raw, 0); }), 0);
}

TEST(Var, TracksPerKindAndStartsAgainPast10000) {
  AVar_ResetTracking();
  for (int i = 0; i < 10000; ++i) AVar_TrackImmidiateMath();
  FVar_TrackImmidiateMath();
  EXPECT_EQ(gAVarTrackCount, 10000);
  EXPECT_EQ(gFVarTrackCount, 1);
  AVar_TrackImmidiateMath();
  EXPECT_EQ(gAVarTrackCount, 0);
  gFVarTrackCount = INT32_MAX;
  FVar_TrackImmidiateMath();
  EXPECT_EQ(gFVarTrackCount, 0);
  gAVarTrackCount = gFVarTrackCount = 5;
  AVar_ResetTracking();
  EXPECT_EQ(gAVarTrackCount, 0);
  EXPECT_EQ(gFVarTrackCount, 0);
}

TEST(Var, DestroyBreaksWhereNothingWasInitialized) {
  const std::int32_t before = _AVar_Initialization_counter;
  ASSERT_EQ(before, 0);
  EXPECT_EQ(AVar_Initialize(), 0);
  EXPECT_EQ(_AVar_Initialization_counter, 1);
  EXPECT_EQ(breaksOf(AVar_Destroy), 0);
  EXPECT_EQ(breaksOf(AVar_Destroy), 1);
  EXPECT_EQ(_AVar_Initialization_counter, -1);
  EXPECT_EQ(breaksOf(AVar_Destroy), 1);
  EXPECT_EQ(_AVar_Initialization_counter, -2);
  _AVar_Initialization_counter = before;
}

TEST(Var, SwapsWholeWordsAtAnyAddress) {
  for (int offset = 0; offset < 4; ++offset) {
    for (int bytes = -9; bytes <= 20; ++bytes) {
      std::vector<unsigned char> buffer(40);
      for (std::size_t i = 0; i < buffer.size(); ++i) buffer[i] = static_cast<unsigned char>(i);
      std::vector<unsigned char> expected = buffer;
      for (int at = 0; at + 4 <= bytes; at += 4) {
        std::reverse(expected.begin() + offset + at, expected.begin() + offset + at + 4);
      }
      AVar_EndianSwapBuffer(buffer.data() + offset, bytes);
      EXPECT_EQ(buffer, expected) << offset << " " << bytes;
    }
  }
  AVar_EndianSwapBuffer(nullptr, INT32_MIN);
}
