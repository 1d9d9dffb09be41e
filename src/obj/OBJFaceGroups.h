#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace WavefrontOBJ {

class OBJModel;

/// Which named groups each face is in, for a pass that asks about every face. Made in time and memory linear
/// in the faces and the lengths of the group lists; a group is its position in `OBJModel::_groupNames`.
class OBJFaceGroups {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  /// A snapshot of the model's groups. Throws std::bad_alloc.
  explicit OBJFaceGroups(const OBJModel& model);

  /// The first group, in the order of the names, that lists the face; `kNone` if none does.
  std::uint32_t first(std::uint32_t face) const;
  /// True if the group lists the face.
  bool contains(std::uint32_t face, std::uint32_t group) const;

 private:
  std::vector<std::uint32_t>
      begin_;  ///< per face, and one past the last: where its groups begin in `groups_`
  std::vector<std::uint32_t> groups_;  ///< groups of face after face, ascending
};

}  // namespace WavefrontOBJ
