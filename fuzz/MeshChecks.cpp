#include "MeshChecks.h"

#include "Require.h"
#include "plugin/MeshReference.h"

namespace fuzz {

void requireMarksAsReference() {
  // The reference is quadratic.
  constexpr std::uint32_t kMostFaces = 300;
  constexpr std::uint32_t kMostGroups = 3;
  if (gOBJModel->_faces->count <= kMostFaces) compareMarks(MeshReference(*gOBJModel), kMostGroups, require);
}

}  // namespace fuzz
