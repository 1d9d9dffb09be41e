#include <algorithm>
#include <cmath>

#include "geometry/GeometrySupport.h"

namespace {

struct Exact {
  double x, y, z;
};

Exact exact(const APoint3D& v) {
  return {units(v.x), units(v.y), units(v.z)};
}
Exact minus(const Exact& a, const Exact& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
double dot(const Exact& a, const Exact& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
Exact cross(const Exact& a, const Exact& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double length(const Exact& v) {
  return std::hypot(v.x, v.y, v.z);
}
Exact scaled(const Exact& v, double factor) {
  return {v.x * factor, v.y * factor, v.z * factor};
}

/// `tolerance` in raw steps.
void expectNear(const APoint3D& actual, const Exact& expected, double tolerance) {
  EXPECT_NEAR(actual.x, expected.x * 65536, tolerance);
  EXPECT_NEAR(actual.y, expected.y * 65536, tolerance);
  EXPECT_NEAR(actual.z, expected.z * 65536, tolerance);
}

APoint3D vectorWithin(Random& random, std::int32_t units) {
  APoint3D v;
  v.x = rawWithin(random, units);
  v.y = rawWithin(random, units);
  v.z = rawWithin(random, units);
  return v;
}

APoint3D anyVector(Random& random) {
  APoint3D v;
  v.x = anyRaw(random);
  v.y = anyRaw(random);
  v.z = anyRaw(random);
  return v;
}

APoint3D referenceCross(const APoint3D& a, const APoint3D& b) {
  const auto component = [](std::int32_t p, std::int32_t q, std::int32_t r, std::int32_t s) {
    return low32(static_cast<std::int64_t>(referenceProduct(p, q)) - referenceProduct(r, s));
  };
  return {component(a.y, b.z, a.z, b.y), component(a.z, b.x, a.x, b.z), component(a.x, b.y, a.y, b.x)};
}

/// Sum of the fixed products, raw.
std::int32_t referenceDot(const APoint3D& a, const APoint3D& b) {
  return low32(static_cast<std::int64_t>(referenceProduct(a.x, b.x)) + referenceProduct(a.y, b.y) +
               referenceProduct(a.z, b.z));
}

APoint3D whole(std::int32_t x, std::int32_t y, std::int32_t z) {
  return APoint3D::FromWhole(x, y, z);
}

SingleVector single(const APoint3D& v) {
  return {units(v.x), units(v.y), units(v.z)};
}
SingleVector operator-(const SingleVector& a, const SingleVector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
SingleVector operator+(const SingleVector& a, const SingleVector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
SingleVector operator*(Single a, const SingleVector& v) {
  return {a * v.x, a * v.y, a * v.z};
}
Single dot(const SingleVector& a, const SingleVector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
SingleVector cross(const SingleVector& a, const SingleVector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
SingleVector unified(const SingleVector& v) {
  const Single sum = dot(v, v);
  return sum == 0 ? v : Single(1) / root(sum) * v;
}
APoint3D stored(const SingleVector& v) {
  const auto raw = [](Single a) {
    return static_cast<std::int32_t>(std::clamp(a.value * 65536, -2147483648.0, 2147483647.0));
  };
  return {raw(v.x), raw(v.y), raw(v.z)};
}

}  // namespace

TEST(Point3D, FixedPointIsExactToTheBit) {
  Random random(20);
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    const APoint3D a = anyVector(random);
    const APoint3D b = anyVector(random);
    SCOPED_TRACE(testing::Message() << a << b);
    APoint3D v;
    v.Cross(a, b);
    EXPECT_EQ(v, referenceCross(a, b));
    v = a;
    v.Cross(v, b);
    EXPECT_EQ(v, referenceCross(a, b)) << "into its own operand";

    const std::int32_t sum = referenceDot(a, a);
    // sqrt(sum / 65536) * 65536, the factors being powers of two.
    const std::int32_t magnitude =
        sum < 0 ? 0 : static_cast<std::int32_t>(std::sqrt(static_cast<float>(sum)) * 256.0F);
    EXPECT_EQ(a.Magnitude(), magnitude);
    v = a;
    const auto factor =
        magnitude == 0 ? 0
                       : static_cast<std::int32_t>((std::int64_t{1} << 32) / (std::int64_t{magnitude} + 1));
    EXPECT_EQ(v.Unified(), factor);
    const auto unified = [&](const APoint3D& u) {
      return APoint3D(referenceProduct(u.x, factor), referenceProduct(u.y, factor),
                      referenceProduct(u.z, factor));
    };
    EXPECT_EQ(v, magnitude == 0 ? a : unified(a));

    v.ClacReflectionVector(a, b);
    const std::int32_t twice = low32(std::int64_t{2} * referenceDot(a, b));
    EXPECT_EQ(v, b - APoint3D(referenceProduct(twice, a.x), referenceProduct(twice, a.y),
                              referenceProduct(twice, a.z)));
    APoint3D along;
    along.ClacReflectionVector(a);
    v.ClacReflectionVector(a, whole(0, 0, 1));
    EXPECT_EQ(along, v);

    const APoint3D origin = anyVector(random);
    const APoint3D p2 = origin + a;
    const APoint3D p3 = p2 + b;
    v.Normal_Ununified(&origin, &p2, &p3);
    EXPECT_EQ(v, referenceCross(a, b)) << "edges wrap round";
    APoint3D other;
    other.Normal(a, b);
    v.Unified();
    EXPECT_EQ(other, v);
    other.Normal(&origin, &p2, &p3);
    EXPECT_EQ(other, v);
  }
}

TEST(Point3D, KnownVectors) {
  APoint3D v = whole(3, 4, 0);
  EXPECT_EQ(v.Magnitude(), 5 * 65536);
  EXPECT_EQ(v.FMagnitude(), 5.0F);
  EXPECT_EQ(v.Unified(), 13107);  // 2^32 / (5 * 65536 + 1)
  EXPECT_EQ(v, APoint3D(39321, 52428, 0));
  v = APoint3D();
  EXPECT_EQ(v.Unified(), 0);
  v.FUnified();
  v.FUnifiedL24();
  EXPECT_EQ(v, APoint3D());
  v = whole(1, 0, 0);
  EXPECT_EQ(breaksOf([&] { v.FUnifiedL24(); }), 0);
  EXPECT_EQ(v, APoint3D(256 * 65536, 0, 0));
  v = APoint3D(0, 0, -1);
  v.FUnifiedL24();
  EXPECT_EQ(v, APoint3D(0, 0, -256 * 65536));
  v = whole(1, 0, 0);
  EXPECT_EQ(v.Unified(), 65535);
  EXPECT_EQ(v.x, 65535) << "a hair short";

  const APoint3D p1;
  const APoint3D p2 = whole(1, 0, 0);
  const APoint3D p3 = whole(1, 1, 0);
  v.Normal(&p1, &p2, &p3);
  EXPECT_EQ(v, APoint3D(0, 0, 65535));
  v.Normal_Ununified(&p1, &p2, &p3);
  EXPECT_EQ(v, whole(0, 0, 1));

  v.ClacReflectionVector(whole(0, 0, 1));
  EXPECT_EQ(v, whole(0, 0, -1));
  v = APoint3D(0x12345678, -2, 3);
  v.RotateX(1);
  v.RotateY(1);
  v.RotateZ(1);
  v.OrientationFromNormal(p2);
  EXPECT_EQ(breaksOf([&] { v.RotateXY(1, 2, true); }), 1);
  EXPECT_EQ(v, APoint3D(0x12345678, -2, 3));
  v.EndianSwap();
  EXPECT_EQ(v, APoint3D(0x78563412, -0x1000001, 0x03000000));
}

TEST(Point3D, SwapsWholeVectorsOfABuffer) {
  for (const std::int32_t bytes : {INT32_MIN, -12, 0, 11, 12, 23, 24, 36}) {
    std::vector<unsigned char> buffer(41);
    for (std::size_t i = 0; i < buffer.size(); ++i) buffer[i] = static_cast<unsigned char>(i);
    std::vector<unsigned char> expected = buffer;
    for (std::int32_t at = 0; at < std::max(bytes, 0) / 12 * 12; at += 4) {
      std::reverse(expected.begin() + 1 + at, expected.begin() + 5 + at);
    }
    APoint3D_EndianSwapBuffer(buffer.data() + 1, bytes);
    EXPECT_EQ(buffer, expected) << bytes;
  }
}

TEST(Point3D, FloatOperationsRoundOncePerStep) {
  Random random(21);
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    const APoint3D p[] = {i == 0 ? APoint3D(1, 0, 0) : anyVector(random), anyVector(random),
                          anyVector(random), anyVector(random)};
    SCOPED_TRACE(testing::Message() << p[0] << p[1] << p[2] << p[3]);
    const SingleVector a = single(p[0]);
    const SingleVector b = single(p[1]);
    EXPECT_TRUE(sameBits(p[0].FMagnitude(), root(dot(a, a))));
    EXPECT_TRUE(sameBits(p[0].FDot(p[1]), dot(a, b)));
    APoint3D v = p[0];
    v.FUnified();
    EXPECT_EQ(v, stored(unified(a)));
    v.FCross(p[0], p[1]);
    EXPECT_EQ(v, stored(cross(a, b)));
    v.FNormal_Ununified(p[0], p[1]);
    EXPECT_EQ(v, stored(cross(a, b)));
    v.FNormal(p[0], p[1]);
    EXPECT_EQ(v, stored(unified(cross(a, b))));
    v.FNormal_Ununified(&p[0], &p[1], &p[2]);
    EXPECT_EQ(v, stored(cross(single(p[1] - p[0]), single(p[2] - p[1])))) << "edges in fixed point";

    const SingleVector first = b - a;
    const SingleVector second = single(p[2]) - b;
    const SingleVector third = single(p[3]) - single(p[2]);
    v.FNormal(&p[0], &p[1], &p[2]);
    EXPECT_EQ(v, stored(unified(cross(first, second))));
    v.FNormal(&p[0], &p[1], &p[2], &p[3]);
    EXPECT_EQ(v, stored(unified(cross(first, second) + cross(second, third))));

    v.FClacReflectionVector(p[0], p[1]);
    EXPECT_EQ(v, stored(b - Single(2) * dot(a, b) * a));
    v.FClacReflectionVector(p[0]);
    EXPECT_EQ(v, stored({Single(-2) * a.z * a.x, Single(-2) * a.z * a.y, Single(1) - Single(2) * a.z * a.z}));

    // A float vector of any length that its squares bear.
    const int exponent = static_cast<int>(below(random, 100)) - 50;
    const SingleVector s = Single(std::ldexp(1.0, exponent)) * a;
    FPoint3D f(static_cast<float>(s.x.value), static_cast<float>(s.y.value), static_cast<float>(s.z.value));
    f.Unified();
    EXPECT_TRUE(sameBits(f, unified(s))) << exponent;
  }
}

TEST(Point3D, FloatNormalsTakeTheirEdgesInFloat) {
  // Edges of 60,000 units would wrap round in fixed point and turn the triangle over.
  const APoint3D wide[] = {whole(-30000, 0, 0), whole(30000, 0, 0), whole(30000, 1, 0), whole(-30000, 1, 0)};
  APoint3D v;
  v.FNormal(&wide[0], &wide[1], &wide[2]);
  EXPECT_EQ(v, whole(0, 0, 1));
  v.FNormal(&wide[0], &wide[1], &wide[2], &wide[3]);
  EXPECT_EQ(v, whole(0, 0, 1));
  v.FNormal_Ununified(&wide[0], &wide[1], &wide[2]);
  EXPECT_EQ(v, whole(0, 0, -5536));
  // At 16384 units a float counts in steps of 1/512: these corners are one to it.
  const std::int32_t far = 0x40000000;
  const APoint3D near[] = {{far, far, 0}, {far + 63, far, 0}, {far + 63, far + 63, 0}, {far, far + 63, 0}};
  v.FNormal(&near[0], &near[1], &near[2]);
  EXPECT_EQ(v, APoint3D());
  v.FNormal(&near[0], &near[1], &near[2], &near[3]);
  EXPECT_EQ(v, APoint3D());
}

TEST(Point3D, DirectionsFollowRealArithmetic) {
  Random random(24);
  for (int i = 0; i < 5000 && !HasFailure(); ++i) {
    const APoint3D p1 = vectorWithin(random, 50);
    const APoint3D p2 = vectorWithin(random, 50);
    SCOPED_TRACE(testing::Message() << p1 << p2);
    const Exact a = exact(p1);
    const Exact b = exact(p2);
    EXPECT_NEAR(p1.CosAngle(p2), dot(a, b) / (length(a) * length(b)) * 65536, 1.0);
    EXPECT_EQ(p1.CosAngle(p1), 65536);
    EXPECT_EQ(p1.CosAngle(-p1), -65536);
    APoint3D v = p1;
    v.FUnifiedL24();
    expectNear(v, scaled(a, 256 / length(a)), 1.001);
    v = p1;
    v.Unified();
    expectNear(v, scaled(a, 1 / length(a)), 70.0);
    EXPECT_LE(length(exact(v)), 1.0001);
    APoint3D n = p1;
    n.FUnified();
    v.ClacReflectionVector(n, p2);
    expectNear(v, minus(b, scaled(exact(n), 2 * dot(exact(n), b))), 16.0);
  }
  EXPECT_EQ(whole(1, 2, 3).CosAngle(APoint3D()), 0);
  EXPECT_EQ(whole(1, 2, 3).CosAngle(whole(-2, -4, -6)), -65536);

  for (const float size : {1e-44F, 1e-25F, 1e-3F, 1.0F, 200.0F, 1e5F, 1e30F, 4e37F}) {
    SCOPED_TRACE(size);
    APoint3D v;
    v.NormalOne(size, 0, 0);
    EXPECT_EQ(v, whole(1, 0, 0));
    v.Normal(0, -size, 0);
    EXPECT_EQ(v, APoint3D(0, -65535, 0)) << "a hair short";
    // The smallest size is 7 of the smallest float.
    const Exact direction = {2.0 / 7, 3.0 / 7, -6.0 / 7};
    v.NormalOne(size / 7 * 2, size / 7 * 3, size / 7 * -6);
    expectNear(v, direction, 1.1);
    v.Normal(size / 7 * 2, size / 7 * 3, size / 7 * -6);
    expectNear(v, direction, 3.0);
    FPoint3D f;
    f.NormalOne(size / 7 * 2, size / 7 * 3, size / 7 * -6);
    EXPECT_NEAR(f.x, direction.x, 1e-7);
    EXPECT_NEAR(f.z, direction.z, 1e-7);
  }
  APoint3D v(1, 2, 3);
  v.NormalOne(0, 0, 0);
  EXPECT_EQ(v, APoint3D());
  v = APoint3D(1, 2, 3);
  v.Normal(0, 0, 0);
  EXPECT_EQ(v, APoint3D());
  v.Normal(0, 0, 2.0);
  EXPECT_EQ(v, APoint3D(0, 0, 65535));
}

TEST(Point3D, HeadingsAndOrientationsPointWhereTheyShould) {
  const std::int32_t quarter = 102944;  // pi / 2, rounded
  const struct {
    APoint3D orientation;
    Exact vector;
  } cases[] = {
      {{0, 0, 0}, {0, 0, 1}},
      {{0, quarter, 0}, {1, 0, 0}},
      {{0, 2 * quarter, 5}, {0, 0, -1}},
      {{0, -quarter, 0}, {-1, 0, 0}},
      {{quarter, 0, 0}, {0, 1, 0}},
      {{-quarter, 77777, 0}, {0, -1, 0}},
      {{quarter / 2, quarter / 2, 9}, {0.5, std::sqrt(0.5), 0.5}},
  };
  APoint3D v;
  for (const auto& c : cases) {
    v.NormalFromOrientation(c.orientation);
    expectNear(v, c.vector, 3.0);
  }
  for (std::int32_t angle = -205000; angle < 205000; angle += 777) {
    v.NormalFromHAngle(angle);
    EXPECT_EQ(v.y, 0);
    EXPECT_NEAR(v.HAngleFromNormal(), angle, 3.0);
  }
  EXPECT_EQ(whole(0, 5, 0).HAngleFromNormal(), 0);
  EXPECT_EQ(whole(1, 9, 0).HAngleFromNormal(), 102943);
  EXPECT_EQ(whole(0, 9, -1).HAngleFromNormal(), 205887);
}

TEST(FPoint3D, TurnsHaveOppositeSignsFlatAndInSpace) {
  const FPoint3D o;
  const FPoint3D x(1, 0, 0);
  const FPoint3D y(0, 1, 0);
  const FPoint3D z(0, 0, 1);
  EXPECT_TRUE(o.CCW(x, y, true));
  EXPECT_FALSE(o.CW(x, y, true));
  EXPECT_FALSE(o.CCW(x, FPoint3D(2, 0, 9), true));
  EXPECT_FALSE(o.CW(x, FPoint3D(2, 0, 9), true));
  EXPECT_TRUE(x.CW(y, z, false));
  EXPECT_FALSE(x.CCW(y, z, false));
  EXPECT_FALSE(x.CCW(y, x + y, false));
  EXPECT_FALSE(x.CW(y, x + y, false));
  Random random(22);
  const auto any = [&] { return units(rawWithin(random, 50)); };
  const auto vector = [&] {
    const double first = any();
    const double second = any();
    return FPoint3D(static_cast<float>(first), static_cast<float>(second), static_cast<float>(any()));
  };
  for (int i = 0; i < 5000; ++i) {
    const FPoint3D p = vector();
    const FPoint3D a = vector();
    const FPoint3D b = vector();
    const double flat = (double{a.x} - p.x) * (double{b.y} - p.y) - (double{a.y} - p.y) * (double{b.x} - p.x);
    const double triple = dot(Exact{p.x, p.y, p.z}, cross(Exact{a.x, a.y, a.z}, Exact{b.x, b.y, b.z}));
    if (std::abs(flat) > 0.1) {
      EXPECT_EQ(p.CCW(a, b, true), flat > 0) << p << a << b;
      EXPECT_EQ(p.CW(a, b, true), flat < 0) << p << a << b;
    }
    if (std::abs(triple) > 1) {
      EXPECT_EQ(p.CCW(a, b, false), triple < 0) << p << a << b;
      EXPECT_EQ(p.CW(a, b, false), triple > 0) << p << a << b;
    }
  }
}

TEST(FPoint3D, RefractsByTheLawOfSines) {
  const FPoint3D n(0, 0, 1);
  for (const float ratio : {0.7F, 1.0F, 1.33F, 2.4F}) {
    for (long double angle = 0; angle < 1.5; angle += 0.05) {
      const auto sine = static_cast<double>(std::sin(angle) / ratio);
      const FPoint3D v(static_cast<float>(std::sin(angle)), 0, static_cast<float>(std::cos(angle)));
      FPoint3D t;
      t.ClacRefractionVector(n, v, ratio);
      if (sine > 1.001) {
        EXPECT_FALSE(std::isfinite(t.x)) << "totally reflected";
      } else if (sine < 0.99) {
        EXPECT_NEAR(t.x, -sine, 1e-5) << ratio << " " << angle;
        EXPECT_NEAR(t.z, -std::sqrt(1 - sine * sine), 1e-5) << ratio << " " << angle;
        // The same with the surface turned and the eye in front.
        FPoint3D turned;
        turned.ClacRefractionVector(FPoint3D(v.x, 0, v.z), ratio);
        const long double bend = std::asin(static_cast<long double>(sine)) - angle;
        EXPECT_NEAR(turned.x, static_cast<double>(std::sin(bend)), 1e-5) << ratio << " " << angle;
        EXPECT_EQ(turned.y, 0.0F);
        FPoint3D own = v;
        own.ClacRefractionVector(n, own, ratio);
        EXPECT_EQ(own, t) << "into its own operand";
      }
    }
  }
}

TEST(FPoint3D, ArithmeticAndLength) {
  FPoint3D v(1, -2, 2);
  v += FPoint3D(1, 1, 1);
  EXPECT_EQ(v, FPoint3D(2, -1, 3));
  v -= FPoint3D(1, 1, 1);
  EXPECT_EQ(v, FPoint3D(1, -2, 2));
  EXPECT_EQ(2.0F * v - v * 3.0F, -v);
  v *= 0.5F;
  EXPECT_EQ(v, FPoint3D(0.5F, -1, 1));
  v = FPoint3D(1e-25F, 0, 0);
  v.Unified();
  EXPECT_EQ(v.x, 1e-25F) << "its square is 0";
  v = FPoint3D(1e20F, 0, 0);
  v.Unified();
  EXPECT_EQ(v, FPoint3D()) << "its square overflows";
  FPoint3D zero;
  zero.Unified();
  EXPECT_EQ(zero, FPoint3D());
  zero.Normal(0, 3, 4);
  EXPECT_EQ(zero, FPoint3D(0, 0.6F, 0.8F));
  zero.NormalOne(0, 0, 0);
  EXPECT_EQ(zero, FPoint3D());
  EXPECT_EQ(APoint3D(FPoint3D(1e30F, -1e30F, 1.0F / 65536)), APoint3D(INT32_MAX, INT32_MIN, 1));
}
