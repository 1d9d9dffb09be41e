#include "MeshChecks.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "Require.h"
#include "host/HostMesh.h"
#include "plugin/KOBJRev01.h"
#include "plugin/MeshReference.h"

namespace fuzz {
namespace {

using Call = decltype(&SetMesh3DFromOBJGroup);

float apply(Call call, host::HostMesh& mesh, const char* key, double number) {
  return call(key, number, nullptr, 0, 0, 0, mesh.hostData());
}

void requireMarks(const host::HostMesh& mesh, const MeshReference& reference) {
  for (std::uint32_t v = 0; v < mesh.vertexCount(); ++v) {
    require(mesh.mask(v) == reference.masks[v], "the mask of a vertex");
  }
  for (std::uint32_t f = 0; f < mesh.faceCount(); ++f) {
    require(mesh.creases(f) == reference.creases[f], "the creases of a face");
  }
  require(mesh.onlyMarksChanged(), "nothing but marks is written");
}

}  // namespace

void requireMarksAsReference() {
  // The reference is quadratic.
  constexpr std::uint32_t kMostFaces = 300;
  constexpr std::uint32_t kMostGroups = 3;
  const WavefrontOBJ::OBJModel& model = *gOBJModel;
  if (model._faces->count > kMostFaces) return;
  host::HostMesh mesh(model._vertices->count, model._faces->count);
  host::HostMesh tooSmall(model._vertices->count + 1, model._faces->count);
  MeshReference reference(model);
  const auto check = [&](Call call, std::size_t groups, auto facesOf) {
    for (std::uint32_t i = 0; i < std::min<std::size_t>(groups, kMostGroups); ++i) {
      const std::vector<std::uint32_t> faces = facesOf(model, i);
      require(apply(&SetMesh3DInfo, mesh, "maskValue", i + 1) == 0.0F, "a mask value is set");
      const auto mask = static_cast<float>(reference.mask(faces, static_cast<std::uint8_t>(i + 1)));
      require(apply(call, mesh, "mask", i + 1) == mask, "the number of mask writes");
      const auto crease = static_cast<float>(reference.crease(faces));
      require(apply(call, mesh, "crease", i + 1) == crease, "the number of creased pairs");
      require(apply(call, tooSmall, "crease", i + 1) == -3.0F, "a mesh of another vertex count is refused");
    }
    for (const double number : {0.0, 0.5, -1.0, static_cast<double>(groups) + 1, 1e300, std::nan("")}) {
      require(apply(call, mesh, "mask", number) == -1.0F, "no group is masked for a number that is no index");
      require(apply(call, mesh, "crease", number) == -1.0F, "nor creased");
    }
  };
  check(&SetMesh3DFromOBJGroup, model._groupNames.size(), facesOfGroup);
  check(&SetMesh3DFromOBJSmoothGroup, model._smoothingGroupCount, facesOfSmoothingGroup);
  requireMarks(mesh, reference);
}

}  // namespace fuzz
