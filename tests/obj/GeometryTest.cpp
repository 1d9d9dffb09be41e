#include <cmath>

#include "TestSupport.h"

using namespace WavefrontOBJ;

namespace {

OBJFace textured(std::initializer_list<std::uint32_t> corners) {
  OBJFace face;
  for (const std::uint32_t corner : corners) face.addVertex(corner, corner, 0, true, false);
  return face;
}

}  // namespace

TEST(Vector, CrossAndNormalize) {
  const OBJVector cross = OBJVector(1, 2, 3).cross({4, 5, 6, 9});
  EXPECT_EQ(cross.x, -3.0F);
  EXPECT_EQ(cross.y, 6.0F);
  EXPECT_EQ(cross.z, -3.0F);
  EXPECT_EQ(cross.w, 1.0F);
  const OBJVector unit = OBJVector(3, 4, 0, 1).normalizeTo1();
  EXPECT_FLOAT_EQ(unit.x, 0.6F);
  EXPECT_FLOAT_EQ(unit.y, 0.8F);
  EXPECT_EQ(unit.z, 0.0F);
  EXPECT_FLOAT_EQ(unit.w, 0.2F) << "w is scaled, too";
  EXPECT_FALSE(std::isfinite(OBJVector(0, 0, 0).normalizeTo1().x));
}

TEST(Vector, RotatesAboutZThenYThenX) {
#if defined(__powerpc__)
  GTEST_SKIP() << "this platform's emulator cannot execute the C library's sin and cos";
#endif
  const float quarter = std::acos(-1.0F) / 2;
  struct Case {
    const char* name;
    OBJVector angles, from, to;
  };
  for (const Case& c : {Case{"about z", {0, 0, quarter}, {1, 0, 0}, {0, 1, 0}},
                        Case{"about x leaves x", {quarter, 0, 0}, {1, 0, 0}, {1, 0, 0}},
                        Case{"about x", {quarter, 0, 0}, {0, 1, 0}, {0, 0, 1}},
                        Case{"about y", {0, quarter, 0}, {0, 0, 1}, {1, 0, 0}},
                        Case{"z before y", {0, quarter, quarter}, {0, 1, 0}, {0, 0, 1}},
                        Case{"y before x", {quarter, quarter, 0}, {0, 0, 1}, {1, 0, 0}}}) {
    OBJVector v = c.from;
    v.w = 5;
    v.rotate(c.angles.x, c.angles.y, c.angles.z);
    EXPECT_NEAR(v.x, c.to.x, 1e-6) << c.name;
    EXPECT_NEAR(v.y, c.to.y, 1e-6) << c.name;
    EXPECT_NEAR(v.z, c.to.z, 1e-6) << c.name;
    EXPECT_EQ(v.w, 5.0F);
  }
}

TEST(FaceGeometry, NormalCentreAndReversal) {
  OBJVectorArray vertices(2);
  for (const OBJVector& v :
       {OBJVector(0, 0, 0), OBJVector(2, 0, 0), OBJVector(0, 2, 0), OBJVector(0, 2, 4)}) {
    vertices.push_back(v);
  }
  OBJFace face = textured({0, 1, 2, 3});
  face.ComputeNormalAndCenter(vertices);
  EXPECT_EQ(face.normal.z, 1.0F);
  EXPECT_EQ(face.normal.w, 0.25F);
  EXPECT_EQ(face.center.x, 0.5F);
  EXPECT_EQ(face.center.y, 1.0F);
  EXPECT_EQ(face.center.z, 1.0F);
  EXPECT_EQ(face.center.w, 1.0F);
  face.ReverseFace();
  EXPECT_EQ(face.vertexIndex[0], 3U);
  EXPECT_EQ(face.vertexIndex[3], 0U);
  EXPECT_EQ(face.textureIndex[0], 0U) << "texture indices keep their order";
  EXPECT_EQ(face.normal.z, 1.0F) << "the stored normal stays";

  const OBJFace past = textured({1, 4, 4000000000U});
  EXPECT_FLOAT_EQ(past.getCenter(vertices).x, 2.0F / 3) << "missing positions are at the origin";
  EXPECT_TRUE(std::isnan(past.getNormal(vertices).x));
  EXPECT_FALSE(std::isfinite(textured({0, 1}).getNormal(vertices).w)) << "fewer than three corners";
  EXPECT_FALSE(std::isfinite(OBJFace().getCenter(vertices).x));
}

TEST(FaceGeometry, IsThatOfTheVectorOperationsToTheBit) {
  Random random(12);
  OBJVectorArray vertices(16);
  for (int i = 0; i < 100; ++i) {
    const auto number = [&random] { return (static_cast<float>(random()) - 2e9F) / 3e7F; };
    const float x = number();
    const float y = number();
    vertices.push_back({x, y, number()});
  }
  for (int round = 0; round < 5000; ++round) {
    OBJFace face;
    const std::uint32_t corners = 3 + below(random, 5);
    while (face.vertexCount < corners) face.addVertex(below(random, 105), 0, 0, false, false);
    OBJVector p[3];
    OBJVector sum(0, 0, 0);
    for (std::uint32_t i = 0; i < corners; ++i) {
      const OBJVector at = vertices.elementOrZero(face.vertexIndex[i]);
      if (i < 3) p[i] = at;
      sum = OBJVector(sum.x + at.x, sum.y + at.y, sum.z + at.z);
    }
    const auto n = static_cast<float>(corners);
    OBJFace expected;
    expected = face;
    expected.normal = OBJVector(p[1].x - p[0].x, p[1].y - p[0].y, p[1].z - p[0].z)
                          .cross({p[2].x - p[0].x, p[2].y - p[0].y, p[2].z - p[0].z})
                          .normalizeTo1();
    expected.center = OBJVector(sum.x / n, sum.y / n, sum.z / n);
    face.ComputeNormalAndCenter(vertices);
    ASSERT_EQ(describe(face), describe(expected));
  }
}

TEST(ModelGeometry, SwapSubsetAndFlip) {
  OBJModel a(true);
  OBJModel b(true);
  EXPECT_FALSE(a.IsSubsetOf(b)) << "an empty model is a subset of nothing";
  for (int i = 0; i < 3; ++i) a._vertices->push_back({i == 1 ? 1.0F : 0.0F, i == 2 ? 1.0F : 0.0F, 2});
  OBJFace face = textured({0, 1, 2});
  a.addFace(face);
  EXPECT_EQ(face.normal.z, 1.0F) << "stored in the face passed in";
  EXPECT_FALSE(a.SwapVertices(b));
  EXPECT_EQ(a._vertices->count, 3U);
  for (int i = 0; i < 3; ++i) b._vertices->push_back({0, 0, 5});
  EXPECT_TRUE(a.SwapVertices(b));
  EXPECT_EQ((*a._vertices)[2].z, 5.0F);
  EXPECT_EQ((*b._vertices)[2].z, 2.0F);
  EXPECT_EQ(a._faces->geometry(0).normal.z, 1.0F) << "as of the old positions";
  EXPECT_TRUE(a.SwapVertices(b));

  a.FlipAxis(0);
  EXPECT_EQ((*a._vertices)[1].x, -1.0F);
  EXPECT_EQ(a._faces->geometry(0).normal.z, -1.0F) << "mirrored faces keep their corner order";
  a.FlipAxis(1);
  EXPECT_EQ((*a._vertices)[2].y, -1.0F);
  a.FlipAxis(5);
  EXPECT_EQ((*a._vertices)[0].z, -2.0F);

  EXPECT_TRUE(a.IsSubsetOf(a));
  b._vertices->push_back((*a._vertices)[0]);
  OBJModel one(true);
  one._vertices->push_back((*a._vertices)[0]);
  EXPECT_TRUE(one.IsSubsetOf(a));
  (*one._vertices)[0].w = 0.5F;
  EXPECT_FALSE(one.IsSubsetOf(a)) << "w counts";
}

TEST(TextureSpace, InsideAndClipping) {
  OBJModel model(true);
  for (const OBJVector& uv :
       {OBJVector(0, 0, 0), OBJVector(1, 0, 0), OBJVector(1, 1, 0), OBJVector(0, 1, 0)}) {
    model._textureCoords->push_back(uv);
  }
  const OBJFace square = textured({0, 1, 2, 3});
  struct Point {
    double u, v;
    bool inside;
  };
  for (const Point& p :
       {Point{0.5, 0.5, true}, Point{0, 0.5, true}, Point{0.5, 0, true}, Point{1, 0.5, false},
        Point{0.5, 1, false}, Point{-0.1, 0.5, false}, Point{0.5, 1.1, false}}) {
    EXPECT_EQ(model.insideTexture(square, p.u, p.v), p.inside) << p.u << " " << p.v;
  }
  OBJVector from;
  OBJVector to;
  ASSERT_TRUE(model.intersectTexture({-1, 0.5F, 3}, {2, 0.5F, 6}, square, from, to));
  EXPECT_FLOAT_EQ(from.x, 0);
  EXPECT_FLOAT_EQ(to.x, 1);
  EXPECT_FLOAT_EQ(from.z, 4) << "z is carried along";
  EXPECT_FLOAT_EQ(to.z, 5);
  EXPECT_FALSE(model.intersectTexture({1.5F, 0, 0}, {1.5F, 1, 0}, square, from, to))
      << "right of it, parallel";
  EXPECT_FALSE(model.intersectTexture({2, 0.5F, 0}, {3, 0.6F, 0}, square, from, to));
  EXPECT_TRUE(model.intersectTexture({0.5F, 0.5F, 0}, {0.5F, 0.5F, 0}, square, from, to)) << "a point inside";
  EXPECT_FALSE(model.intersectTexture({2, 2, 0}, {2, 2, 0}, square, from, to));
  EXPECT_FALSE(model.intersectTexture({-1, 0.5F, 0}, {2, 0.5F, 0}, textured({3, 2, 1, 0}), from, to))
      << "clockwise polygons clip everything away";
  EXPECT_FALSE(model.insideTexture(OBJFace(), 0, 0));
}
