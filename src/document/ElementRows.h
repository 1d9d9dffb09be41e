#pragma once

#include <cstdint>
#include <vector>

#include "KSmthExport.h"
#include "document/OBJDocument.h"

namespace WavefrontOBJ {

/// For each element of `kind` the index of its material or object in the document's list, `kNoIndex` for
/// none and for one without a name. Of groups, of which an element may be in several, that of the first. May
/// throw std::bad_alloc.
KSMTH_API std::vector<std::int32_t> rowOfElements(const OBJDocument& document, Division division,
                                                  ElementKind kind);

/// For each element of `kind` its smoothing number, 0 for none. May throw std::bad_alloc.
KSMTH_API std::vector<std::uint64_t> smoothingOfElements(const OBJDocument& document, ElementKind kind);

/// The elements of each smoothing number, those of "off", 0 and none together as those of 0.
struct SmoothingMembers {
  std::vector<std::uint64_t> numbers;  ///< ascending, of those that have elements
  OBJMembers members;                  ///< a row for each number, and no row more
};
/// In time linear in the elements, but for the numbers, which are sorted. May throw std::bad_alloc.
KSMTH_API SmoothingMembers membersBySmoothing(const OBJDocument& document, ElementKind kind);

}  // namespace WavefrontOBJ
