#pragma once

#include <cstdint>
#include <vector>

#include "KSmthExport.h"
#include "document/OBJDocument.h"

namespace WavefrontOBJ {

/// Which elements of a document are wanted, by what is in force for them. Kinds that are left empty do not
/// choose; within a kind an element needs one of what is listed; it has to satisfy every kind that chooses.
struct Selection {
  std::vector<std::int32_t> groups;      ///< indices into `OBJDocument::groups`
  std::vector<std::uint64_t> smoothing;  ///< smoothing numbers; 0 stands for "off" and for none
  std::vector<std::int32_t> materials;   ///< indices; `kNoIndex` for elements without
  std::vector<std::int32_t> objects;     ///< indices; `kNoIndex` for elements without
};

/// Elements of a document by index, ascending.
struct ElementLists {
  bool whole = false;  ///< all of the document, the lists are empty
  std::vector<std::uint32_t> faces;
  std::vector<std::uint32_t> lines;
  std::vector<std::uint32_t> points;

  static ElementLists all() {
    ElementLists lists;
    lists.whole = true;
    return lists;
  }
  bool empty() const { return !whole && faces.empty() && lines.empty() && points.empty(); }
};

/// The elements that `selection` chooses, in time linear in the document. Without any choice it is the whole
/// document. May throw std::bad_alloc.
KSMTH_API ElementLists select(const OBJDocument& document, const Selection& selection);

}  // namespace WavefrontOBJ
