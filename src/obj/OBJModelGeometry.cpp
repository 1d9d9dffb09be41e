// Geometry over a whole model, and the two tests in texture space.
#include <cmath>
#include <utility>

#include "obj/OBJModel.h"

namespace WavefrontOBJ {

bool OBJModel::SwapVertices(OBJModel& other) {
  if (_vertices->count != other._vertices->count) return false;
  std::swap(_vertices, other._vertices);
  return true;
}

bool OBJModel::IsSubsetOf(const OBJModel& other) const {
  return _vertices->IsSubsetOf(*other._vertices);
}

void OBJModel::FlipAxis(std::int32_t axis) {
  OBJVectorArray& vertices = *_vertices;
  for (std::uint32_t i = 0; i < vertices.count; ++i) {
    OBJVector& vertex = vertices[i];
    float& component = axis == 0 ? vertex.x : axis == 1 ? vertex.y : vertex.z;
    component = -component;
  }
  _faces->ComputeNormalsAndCenters(vertices);
}

bool OBJModel::insideTexture(const OBJFace& face, double u, double v) const {
  const OBJVectorArray& coords = *_textureCoords;
  const OBJFaceView corners = OBJFaceView::of(face);
  bool inside = false;
  for (std::uint32_t i = 0, j = corners.vertexCount - 1; i < corners.vertexCount; j = i++) {
    const OBJVector& a = coords[corners.textureIndex[i]];
    const OBJVector& b = coords[corners.textureIndex[j]];
    if ((double{a.y} > v) == (double{b.y} > v)) continue;
    const float dv = a.y - b.y;
    const float du = a.x - b.x;
    const double crossing = (v - b.y) / dv * du + b.x;
    if (crossing > u) inside = !inside;
  }
  return inside;
}

bool OBJModel::intersectTexture(const OBJVector& p0, const OBJVector& p1, const OBJFace& face,
                                OBJVector& out0, OBJVector& out1) const {
  if (p0.x == p1.x && p0.y == p1.y && p0.z == p1.z && p0.w == p1.w) {
    const OBJVector point = p0;
    out1 = p1;
    out0 = point;
    return insideTexture(face, point.x, point.y);
  }
  // Cyrus-Beck: the segment is start + t * d, and [entering, leaving] the part of it that no edge has cut
  // off.
  const OBJVector start = p0;
  const OBJVector d(p1.x - p0.x, p1.y - p0.y, p1.z - p0.z);
  const OBJVectorArray& coords = *_textureCoords;
  const OBJFaceView corners = OBJFaceView::of(face);
  double entering = 0.0;
  double leaving = 1.0;
  for (std::uint32_t i = 0, j = corners.vertexCount - 1; i < corners.vertexCount; j = i++) {
    const OBJVector& a = coords[corners.textureIndex[i]];
    const OBJVector& b = coords[corners.textureIndex[j]];
    const double eu = a.x - b.x;
    const double ev = a.y - b.y;
    const double num = eu * (start.y - b.y) - ev * (start.x - b.x);
    const double den = d.x * ev - d.y * eu;
    if (std::fabs(den) < 1e-30) {
      if (num < 0.0) return false;
      continue;
    }
    const double t = num / den;
    if (den < 0.0) {
      if (t > entering) {
        if (t > leaving) return false;
        entering = t;
      }
    } else if (t < leaving) {
      if (t < entering) return false;
      leaving = t;
    }
  }
  const auto at = [&start, &d](double t) {
    return OBJVector(static_cast<float>(start.x + t * d.x), static_cast<float>(start.y + t * d.y),
                     static_cast<float>(start.z + t * d.z));
  };
  out0 = at(entering);
  out1 = at(leaving);
  return true;
}

}  // namespace WavefrontOBJ
