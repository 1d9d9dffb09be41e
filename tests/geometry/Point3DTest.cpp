#include <cmath>
#include <type_traits>
#include <utility>

#include "geometry/GeometrySupport.h"

namespace {

APoint3D whole(std::int32_t x, std::int32_t y, std::int32_t z) {
  return APoint3D::FromWhole(x, y, z);
}

FPoint3D direction(const APoint3D& v) {
  FPoint3D f(v);
  f.NormalOne(f.x, f.y, f.z);
  return f;
}

void normaliseInFloat(APoint3D& v) {
  const FPoint3D f(v);
  v.NormalOne(f.x, f.y, f.z);
}

FPoint3D refracted(const APoint3D& n, const APoint3D& v) {
  FPoint3D result = direction(v);
  result.ClacRefractionVector(direction(n), result, 1.33F);
  return result;
}

FPoint3D refracted(const APoint3D& n) {
  FPoint3D result;
  result.ClacRefractionVector(direction(n), 1.33F);
  return result;
}

int turns(const FPoint3D& p, const FPoint3D& a, const FPoint3D& b) {
  return int{p.CCW(a, b, true)} + 2 * int{p.CW(a, b, true)} + 4 * int{p.CCW(a, b, false)} +
         8 * int{p.CW(a, b, false)};
}

}  // namespace

// Real numbers would be cut to raw values.
static_assert(std::is_constructible_v<APoint3D, int, std::int64_t, unsigned> &&
              !std::is_constructible_v<APoint3D, double, int, int> &&
              !std::is_constructible_v<APoint3D, int, int, float> &&
              !std::is_constructible_v<APoint, double, double> &&
              !std::is_constructible_v<ARect, int, int, int, double>);

TEST(Point3D, OperationsAreExactToTheBit) {
  // On four vectors of any length, into the first of them; other results go to the sum by themselves.
  const struct {
    const char* name;
    void (*work)(APoint3D* p, Checksum& out);
    std::uint32_t sum;
  } cases[] = {
      {"Cross", [](auto* p, auto&) { p->Cross(*p, p[1]); }, 0x25EAD957},
      {"Magnitude", [](auto* p, auto& out) { out.add(p->Magnitude()); }, 0x7C036D07},
      {"Unified", [](auto* p, auto& out) { out.add(p->Unified()); }, 0x25C9DC82},
      {"Normal", [](auto* p, auto&) { p->Normal(p, p + 1, p + 2); }, 0xC7CD4E54},
      {"Normal_Ununified", [](auto* p, auto&) { p->Normal_Ununified(p, p + 1, p + 2); }, 0x4D3DBE0A},
      {"Reflection", [](auto* p, auto&) { p->ClacReflectionVector(*p, p[1]); }, 0xEFE8346A},
      {"Reflection of z", [](auto* p, auto&) { p->ClacReflectionVector(*p); }, 0x87DD7679},
      {"FMagnitude", [](auto* p, auto& out) { out.add(p->FMagnitude()); }, 0xBD9ADD75},
      {"FDot", [](auto* p, auto& out) { out.add(p->FDot(p[1])); }, 0xBCDACEBF},
      {"FCross", [](auto* p, auto&) { p->FNormal_Ununified(*p, p[1]); }, 0x522F8405},
      {"FUnified", [](auto* p, auto&) { p->FUnified(); }, 0x5B04416D},
      {"FUnifiedL24", [](auto* p, auto&) { p->FUnifiedL24(); }, 0x892AC133},
      {"CosAngle", [](auto* p, auto& out) { out.add(p->CosAngle(p[1])); }, 0xACF045D2},
      {"FNormal of 2", [](auto* p, auto&) { p->FNormal(*p, p[1]); }, 0xA82043DC},
      {"FNormal of 3", [](auto* p, auto&) { p->FNormal(p, p + 1, p + 2); }, 0x45D3D368},
      {"FNormal of 4", [](auto* p, auto&) { p->FNormal(p, p + 1, p + 2, p + 3); }, 0x441E143B},
      {"FNormal_Ununified", [](auto* p, auto&) { p->FNormal_Ununified(p, p + 1, p + 2); }, 0x4E34B37A},
      {"FReflection", [](auto* p, auto&) { p->FClacReflectionVector(*p, p[1]); }, 0x7DE2970B},
      {"FReflection of z", [](auto* p, auto&) { p->FClacReflectionVector(*p); }, 0x81EBB4B7},
      {"Direction", [](auto* p, auto& out) { out.add(direction(*p)); }, 0x6DCC8B63},
      {"NormalOne", [](auto* p, auto&) { normaliseInFloat(*p); }, 0x19357340},
      {"Refraction", [](auto* p, auto& out) { out.add(refracted(*p, p[1])); }, 0x11EF2321},
      {"Refraction of z", [](auto* p, auto& out) { out.add(refracted(*p)); }, 0xA3DE866D},
      {"Turns", [](auto* p, auto& out) { out.add(turns(FPoint3D(*p), FPoint3D(p[1]), FPoint3D(p[2]))); },
       0xCB4A0362},
  };
  for (const auto& c : cases) {
    Random random(20);
    Checksum out;
    for (int i = 0; i < 5000; ++i) {
      APoint3D p[4];
      for (APoint3D& v : p) v.x = anyRaw(random), v.y = anyRaw(random), v.z = anyRaw(random);
      c.work(p, out);
      out.add(p[0]);
    }
    EXPECT_EQ(out.sum, c.sum) << c.name;
  }
}

TEST(Point3D, KnownVectors) {
  APoint3D v;
  v.Cross(whole(1, 2, 3), whole(4, 5, 6));
  EXPECT_EQ(v, whole(-3, 6, -3));
  v = whole(3, 4, 0);
  EXPECT_EQ(v.Unified(), 13107);  // 2^32 / (5 * 65536 + 1)
  EXPECT_EQ(v, APoint3D(39321, 52428, 0));
  v = APoint3D();
  EXPECT_EQ(v.Unified(), 0);
  v.FUnified();
  v.FUnifiedL24();
  EXPECT_EQ(v, APoint3D());
  EXPECT_EQ(v.CosAngle(whole(1, 2, 3)), 0);
  EXPECT_EQ(whole(200, 0, 0).Magnitude(), INT32_MIN) << "the sum has wrapped round, and has no root";
  const APoint3D p[] = {whole(0, 0, 0), whole(1, 0, 0), whole(1, 1, 0)};
  EXPECT_EQ(stopsOf([&] { (v = p[1]).FUnifiedL24(); }), 0);
  EXPECT_EQ(v, whole(256, 0, 0));
  v.Normal(p, p + 1, p + 2);
  EXPECT_EQ(v, APoint3D(0, 0, 65535)) << "a hair short";
  v.FClacReflectionVector(whole(1, 2, 3));
  EXPECT_EQ(v, whole(-6, -12, -17));
  for (const float size : {1e-44F, 1e-25F, 4e37F}) {
    v.NormalOne(size, 0, 0);
    EXPECT_EQ(v, whole(1, 0, 0)) << size;
    v.Normal(0, -size, 0);
    EXPECT_EQ(v, APoint3D(0, -65535, 0)) << size;
  }
  v.Normal(0, 0, 0);
  EXPECT_EQ(v, APoint3D());
  EXPECT_EQ(APoint3D(FPoint3D(1e30F, std::nanf(""), 1.0F / 65536)), APoint3D(INT32_MAX, INT32_MIN, 1));

  v = APoint3D(0x12345678, -2, 3);
  v.RotateX(1), v.RotateY(1), v.RotateZ(1), v.OrientationFromNormal(p[2]);
  EXPECT_EQ(stopsOf([&] { v.RotateXY(1, 2, true); }), 1);
  EXPECT_EQ(v, APoint3D(0x12345678, -2, 3));
  v.EndianSwap();
  EXPECT_EQ(v, APoint3D(0x78563412, -0x1000001, 0x03000000));
}

TEST(Point3D, HeadingsAndOrientationsPointWhereTheyShould) {
  for (std::int32_t angle = -205000; angle < 205000; angle += 1777) {
    const long double heading = units(angle);
    const long double flat = std::cos(heading / 2);
    APoint3D v;
    v.NormalFromOrientation(APoint3D(angle / 2, angle, 5));
    EXPECT_NEAR(units(v.x), static_cast<double>(std::sin(heading) * flat), 3e-5);
    EXPECT_NEAR(units(v.y), static_cast<double>(std::sin(heading / 2)), 3e-5);
    EXPECT_NEAR(units(v.z), static_cast<double>(std::cos(heading) * flat), 3e-5);
    v.NormalFromHAngle(angle);
    EXPECT_EQ(v.y, 0);
    EXPECT_NEAR(v.HAngleFromNormal(), angle, 3.0);
  }
}

TEST(FPoint3D, ArithmeticTurnsAndLength) {
  FPoint3D v(1, -2, 2);
  EXPECT_EQ(2.0F * (v + FPoint3D(1, 1, 1)) - v * 3.0F, FPoint3D(1, 4, 0));
  EXPECT_EQ(-v, FPoint3D(-1, 2, -2));
  for (const auto& [length, unified] :
       {std::pair{1e-25F, 1e-25F}, {0.0F, 0.0F}, {1e20F, 0.0F}, {8.0F, 1.0F}}) {
    v = FPoint3D(0, length, 0);
    v.Unified();
    EXPECT_EQ(v.y, unified) << "its square may be 0, or overflow";
  }
  const FPoint3D x(1, 0, 0);
  const FPoint3D y(0, 1, 0);
  EXPECT_TRUE(FPoint3D().CCW(x, y, true) && !FPoint3D().CW(x, y, true));
  EXPECT_TRUE(FPoint3D(0, 0, 1).CW(x, y, false) && !FPoint3D(0, 0, 1).CCW(x, y, false));
  // On a line, and in a plane with the origin.
  EXPECT_FALSE(y.CCW(x, x + x - y, true) || y.CW(x, x + x - y, true));
  EXPECT_FALSE(y.CCW(x, x + y, false) || y.CW(x, x + y, false));
}
