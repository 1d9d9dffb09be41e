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
    // The float ones, which only have to come through here.
    v.FCross(a, b);
    v.FNormal(a, b);
    v.FNormal(&origin, &p2, &p3, &origin);
    v.FClacReflectionVector(a, b);
    v = a;
    v.FUnifiedL24();
    v.NormalFromOrientation(b);
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
  v.FUnified();
  EXPECT_EQ(v, APoint3D(0, 0, -65536));
  v = whole(1, 0, 0);
  EXPECT_EQ(v.Unified(), 65535);
  EXPECT_EQ(v.x, 65535) << "a hair short";

  const APoint3D p1;
  const APoint3D p2 = whole(1, 0, 0);
  const APoint3D p3 = whole(1, 1, 0);
  const APoint3D p4 = whole(0, 1, 0);
  v.Normal(&p1, &p2, &p3);
  EXPECT_EQ(v, APoint3D(0, 0, 65535));
  v.Normal_Ununified(&p1, &p2, &p3);
  EXPECT_EQ(v, whole(0, 0, 1));
  v.FNormal(&p1, &p2, &p3);
  EXPECT_EQ(v, whole(0, 0, 1));
  v.FNormal(&p4, &p3, &p2, &p1);
  EXPECT_EQ(v, whole(0, 0, -1));
  v.FNormal(&p1, &p2, &p1);
  EXPECT_EQ(v, APoint3D());
  v = whole(7, 7, 7);
  v.FNormal(&p1, &p2, &p2, &p1);
  EXPECT_EQ(v, APoint3D());

  v.ClacReflectionVector(whole(0, 0, 1));
  EXPECT_EQ(v, whole(0, 0, -1));
  v.FClacReflectionVector(whole(0, 0, 1));
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

TEST(Point3D, FloatOperationsFollowRealArithmetic) {
  Random random(21);
  for (int i = 0; i < 5000 && !HasFailure(); ++i) {
    const APoint3D p1 = vectorWithin(random, 50);
    const APoint3D p2 = vectorWithin(random, 50);
    const APoint3D p3 = vectorWithin(random, 50);
    const APoint3D p4 = vectorWithin(random, 50);
    SCOPED_TRACE(testing::Message() << p1 << p2 << p3 << p4);
    const Exact a = exact(p1);
    const Exact b = exact(p2);
    const double scale = length(a) * length(b);
    EXPECT_NEAR(p1.FMagnitude(), length(a), length(a) * 1e-6);
    EXPECT_NEAR(p1.FDot(p2), dot(a, b), scale * 1e-6);
    EXPECT_NEAR(p1.CosAngle(p2), dot(a, b) / scale * 65536, 1.0);
    APoint3D v;
    v.FCross(p1, p2);
    expectNear(v, cross(a, b), scale * 1e-6 * 65536 + 1);
    APoint3D same;
    same.FNormal_Ununified(p1, p2);
    EXPECT_EQ(same, v);

    v = p1;
    v.FUnified();
    expectNear(v, scaled(a, 1 / length(a)), 1.1);
    v = p1;
    v.FUnifiedL24();
    expectNear(v, scaled(a, 256 / length(a)), 1.001);
    v = p1;
    v.Unified();
    expectNear(v, scaled(a, 1 / length(a)), 70.0);
    EXPECT_LE(length(exact(v)), 1.0001);

    const Exact first = minus(b, a);
    const Exact second = minus(exact(p3), b);
    const Exact third = minus(exact(p4), exact(p3));
    const Exact triangle = cross(first, second);
    v.FNormal_Ununified(&p1, &p2, &p3);
    expectNear(v, triangle, length(first) * length(second) * 1e-6 * 65536 + 1);
    // Thin triangles lose digits to their area; they tell nothing.
    if (length(triangle) > 0.05 * length(first) * length(second)) {
      v.FNormal(&p1, &p2, &p3);
      expectNear(v, scaled(triangle, 1 / length(triangle)), 3.0);
      APoint3D edges;
      edges.FNormal(p2 - p1, p3 - p2);
      EXPECT_EQ(v, edges);
    }
    const Exact other = cross(second, third);
    const Exact sum = {triangle.x + other.x, triangle.y + other.y, triangle.z + other.z};
    if (length(sum) > 0.05 * (length(triangle) + length(other)) && length(sum) > 100) {
      v.FNormal(&p1, &p2, &p3, &p4);
      expectNear(v, scaled(sum, 1 / length(sum)), 10.0);
    }

    APoint3D n = p1;
    n.FUnified();
    const Exact normal = exact(n);
    v.ClacReflectionVector(n, p2);
    expectNear(v, minus(b, scaled(normal, 2 * dot(normal, b))), 16.0);
    v.FClacReflectionVector(n, p2);
    expectNear(v, minus(b, scaled(normal, 2 * dot(normal, b))), 16.0);
    v.FClacReflectionVector(n);
    expectNear(v, minus({0, 0, 1}, scaled(normal, 2 * normal.z)), 1.5);

    const FPoint3D f(p1);
    v.NormalOne(f.x, f.y, f.z);
    expectNear(v, scaled(a, 1 / length(a)), 1.1);
    v.Normal(f.x, f.y, f.z);
    same = p1;
    same.Unified();
    EXPECT_EQ(v, same);
    EXPECT_EQ(APoint3D(f), p1) << "50 units fit into 24 bits";
  }
  APoint3D v(1, 2, 3);
  v.NormalOne(0, 0, 0);
  EXPECT_EQ(v, APoint3D());
  EXPECT_EQ(whole(1, 2, 3).CosAngle(v), 0);
  EXPECT_EQ(whole(1, 2, 3).CosAngle(whole(-2, -4, -6)), -65536);
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
    const double triple = dot({p.x, p.y, p.z}, cross({a.x, a.y, a.z}, {b.x, b.y, b.z}));
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
  v.Unified();
  EXPECT_NEAR(v.x, 1.0 / 3, 1e-7);
  EXPECT_NEAR(v.y, -2.0 / 3, 1e-7);
  FPoint3D zero;
  zero.Unified();
  EXPECT_EQ(zero, FPoint3D());
  zero.Normal(0, 3, 4);
  EXPECT_NEAR(zero.y, 0.6, 1e-7);
  zero.NormalOne(0, 0, 0);
  EXPECT_EQ(zero, FPoint3D());
  EXPECT_EQ(FPoint3D(APoint3D(0x8000, -0x10000, 0x28000)), FPoint3D(0.5F, -1, 2.5F));
  EXPECT_EQ(APoint3D(FPoint3D(1e30F, -1e30F, 1.0F / 65536)), APoint3D(INT32_MAX, INT32_MIN, 1));
}
