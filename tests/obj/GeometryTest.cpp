#include <bit>
#include <cmath>

#include "RandomModel.h"
#include "TestSupport.h"

using namespace WavefrontOBJ;

namespace {

void expectVector(const OBJVector& v, const OBJVector& expected, const char* what) {
  EXPECT_FLOAT_EQ(v.x, expected.x) << what;
  EXPECT_FLOAT_EQ(v.y, expected.y) << what;
  EXPECT_FLOAT_EQ(v.z, expected.z) << what;
  EXPECT_FLOAT_EQ(v.w, expected.w) << what;
}

}  // namespace

// Bits, not tolerances: each step is rounded to single precision before the next.
TEST(Vector, RotatesAboutZThenYThenX) {
#if defined(__powerpc__)
  GTEST_SKIP() << "this platform's emulator cannot execute the C library's sin and cos";
#endif
  Random random(3);
  const auto number = [&random] { return (static_cast<float>(random()) - 2e9F) / 3e8F; };
  for (int i = 0; i < 100000; ++i) {
    const float x = number(), y = number(), z = number(), ax = number(), ay = number(), az = number();
    volatile float x1 = static_cast<float>(x * std::cos(double{az}) - y * std::sin(double{az}));
    volatile float y1 = static_cast<float>(x * std::sin(double{az}) + y * std::cos(double{az}));
    volatile float x2 = static_cast<float>(z * std::sin(double{ay}) + x1 * std::cos(double{ay}));
    volatile float z1 = static_cast<float>(z * std::cos(double{ay}) - x1 * std::sin(double{ay}));
    volatile float y2 = static_cast<float>(y1 * std::cos(double{ax}) - z1 * std::sin(double{ax}));
    volatile float z2 = static_cast<float>(y1 * std::sin(double{ax}) + z1 * std::cos(double{ax}));
    OBJVector v(x, y, z, 5);
    v.rotate(ax, ay, az);
    const float expected[] = {x2, y2, z2, 5};
    ASSERT_EQ(std::memcmp(&v, expected, sizeof expected), 0) << i;
  }
}

TEST(FaceGeometry, NormalCentreAndReversal) {
  expectVector(OBJVector(1, 2, 3).cross({4, 5, 6, 9}), {-3, 6, -3, 1}, "cross");
  expectVector(OBJVector(2, 3, 6, 7).normalizeTo1(), {2.0F / 7, 3.0F / 7, 6.0F / 7, 1}, "w is scaled, too");
  OBJModel model(true);
  OBJVectorArray& vertices = *model._vertices;
  const OBJVector corners[] = {{1, 1, 1}, {3, 1, 1}, {1, 3, 1}, {1, 3, 5}};
  for (const OBJVector& corner : corners) vertices.push_back(corner);
  ZeroedFace face({0, 1, 2, 3}, true);
  face.ComputeNormalAndCenter(vertices);
  expectVector(face.normal, {0, 0, 1, 0.25F}, "normal of the first three");
  expectVector(face.center, {1.5F, 2, 2, 1}, "centre of all");
  face.ReverseFace();
  for (std::uint32_t i = 0; i < 4; ++i) EXPECT_EQ(face.vertexIndex[i], 3 - i);
  EXPECT_EQ(face.textureIndex[0], 0U) << "texture indices keep their order";
  expectVector(face.normal, {0, 0, 1, 0.25F}, "the stored normal stays");

  // The first three indices count, whether or not there are as many corners.
  ZeroedFace two({1, 2});
  expectVector(two.getNormal(vertices), {0, 0, 1, 0.25F}, "the third index is 0");
  expectVector(two.getCenter(vertices), {2, 2, 1, 1}, "two corners");
  model._faces->push_back(two);
  model._faces->ComputeNormalsAndCenters(vertices);
  expectVector(model._faces->geometry(0).normal, {0, 0, 1, 0.25F}, "packed");
  two.vertexIndex[2] = 4;
  vertices.push_back({9, 9, 9});
  --vertices.count;
  expectVector(two.getNormal(vertices), OBJVector(-2, -2, 8).normalizeTo1(), "past the last");
}

TEST(ModelGeometry, SwapSubsetAndFlip) {
  OBJModel a(true), b(true);
  EXPECT_FALSE(a.IsSubsetOf(b)) << "an empty model is a subset of nothing";
  for (int i = 0; i < 3; ++i) a._vertices->push_back({i == 1 ? 1.0F : 0.0F, i == 2 ? 1.0F : 0.0F, 2});
  ZeroedFace face({0, 1, 2});
  a.addFace(face);
  EXPECT_EQ(face.normal.z, 1.0F) << "stored in the face passed in";
  EXPECT_FALSE(a.SwapVertices(b)) << "other counts";
  for (int i = 0; i < 3; ++i) b._vertices->push_back({0, 0, 5});
  EXPECT_TRUE(a.SwapVertices(b));
  EXPECT_EQ((*a._vertices)[2].z, 5.0F);
  EXPECT_EQ(a._faces->geometry(0).normal.z, 1.0F) << "as of the old positions";
  EXPECT_TRUE(b.SwapVertices(a));
  for (const int axis : {0, 1, 5}) a.FlipAxis(axis);
  EXPECT_EQ(a._faces->geometry(0).normal.z, 1.0F) << "mirrored faces keep their corner order";
  expectVector((*a._vertices)[1], {-1, 0, -2}, "flipped");
  expectVector((*a._vertices)[2], {0, -1, -2}, "flipped");

  EXPECT_TRUE(a.IsSubsetOf(a));
  OBJModel one(true);
  one._vertices->push_back((*a._vertices)[2]);
  EXPECT_TRUE(one.IsSubsetOf(a));
  EXPECT_FALSE(a.IsSubsetOf(one));
  (*one._vertices)[0].w = 0.5F;
  EXPECT_FALSE(one.IsSubsetOf(a)) << "w counts";
}

TEST(TextureSpace, InsideAndClipping) {
  OBJModel model(true);
  const OBJVector uv[] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  for (const OBJVector& corner : uv) model._textureCoords->push_back(corner);
  const ZeroedFace square({0, 1, 2, 3}, true), clockwise({3, 2, 1, 0}, true), triangle({0, 1, 3}, true);
  const double inside[][2] = {{0.5, 0.5}, {0, 0.5}, {0.5, 0}, {0.4, 0.7}};
  const double outside[][2] = {{1, 0.5}, {0.5, 1}, {-0.1, 0.5}, {0.5, 1.1}};
  for (const auto& [u, v] : inside) EXPECT_TRUE(model.insideTexture(square, u, v)) << u << " " << v;
  for (const auto& [u, v] : outside) EXPECT_FALSE(model.insideTexture(square, u, v)) << u << " " << v;
  EXPECT_TRUE(model.insideTexture(triangle, 0.2, 0.7)) << "a slanting edge";
  EXPECT_FALSE(model.insideTexture(triangle, 0.4, 0.7));

  OBJVector from, to;
  ASSERT_TRUE(model.intersectTexture({-1, 0.5F, 3}, {2, 0.5F, 6}, square, from, to));
  expectVector(from, {0, 0.5F, 4}, "z is carried along");
  expectVector(to, {1, 0.5F, 5}, "z is carried along");
  EXPECT_FALSE(model.intersectTexture({-1, 0.5F, 0}, {2, 0.5F, 0}, clockwise, from, to)) << "clips it all";
  const OBJVector hits[][2] = {{{0.5F, 1.25F, 0}, {1.25F, 0.5F, 0}}, {{0.5F, 0.5F, 0}, {0.5F, 0.5F, 0}}};
  for (const auto& [a, b] : hits) EXPECT_TRUE(model.intersectTexture(a, b, square, from, to)) << a.y;
  // Beside it, behind it, before it, and past two corners.
  const OBJVector misses[][2] = {{{1.5F, 0, 0}, {1.5F, 1, 0}},
                                 {{2, 0.5F, 0}, {3, 0.6F, 0}},
                                 {{-3, 0.5F, 0}, {-2, 0.6F, 0}},
                                 {{0.5F, 2, 0}, {2, 0.5F, 0}},
                                 {{-1, 0.5F, 0}, {0.5F, -1, 0}}};
  for (const auto& [a, b] : misses) EXPECT_FALSE(model.intersectTexture(a, b, square, from, to)) << a.x;
}
