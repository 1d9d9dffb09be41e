#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "KSmthExport.h"
#include "obj/OBJModel.h"

// What masking and creasing write, whatever holds it: a host's mesh (Mesh3DUtils.h) or plain arrays.

/// One byte of each of `count` elements, which lie `stride` bytes apart.
struct MarkBytes {
  unsigned char* first;
  std::size_t stride;
  std::uint32_t count;

  unsigned char& operator[](std::uint32_t i) const { return first[i * stride]; }
};

/// The faces of a model's group, or those that carry a smoothing group.
struct MarkedGroup {
  /// Index of the group, or of the smoothing group in the model's table; below their counts.
  std::uint32_t index;
  bool smoothing;
};

/// Writes `value` to the vertices of the group's faces, those past the count left out. Answers the number of
/// writes, one for each corner. Throws what `getGroupElements` throws.
KSMTH_API std::int32_t maskGroup(const MarkBytes& vertices, const WavefrontOBJ::OBJModel& model,
                                 const MarkedGroup& group, unsigned char value);

/// Sets the crease bits of the group's faces, see `Mesh3D_CreaseGroupsFromOBJ`; `faces` has the model's count
/// of them. Answers the pairs of an edge and a face outside that shares it; nothing for want of memory for
/// the links between vertices and faces. Throws std::bad_alloc and what `getGroupElements` throws, with
/// nothing written.
KSMTH_API std::optional<std::int32_t> creaseGroup(const MarkBytes& faces, WavefrontOBJ::OBJModel& model,
                                                  const MarkedGroup& group);
