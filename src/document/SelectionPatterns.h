#pragma once

#include <optional>
#include <string>
#include <vector>

#include "KSmthExport.h"
#include "document/OBJDocument.h"
#include "document/Selection.h"

namespace WavefrontOBJ {

/// What is wanted of a document, in the words of a person. A kind that is left empty does not choose.
///
/// A word for groups, materials or objects is a name or a shell pattern ("arm_*", "?", "[lr]_hand", as
/// POSIX fnmatch reads them); a name that is exactly the word comes first. The empty word stands for the
/// elements without material or object. For groups it may also be an index from 1, or a range of them ("2-5",
/// "7-"); for smoothing groups it is a number, a range of numbers or "off", which is 0.
struct SelectionPatterns {
  std::vector<std::string> groups;
  std::vector<std::string> smoothing;
  std::vector<std::string> materials;
  std::vector<std::string> objects;

  bool empty() const { return groups.empty() && smoothing.empty() && materials.empty() && objects.empty(); }
};

/// A word that chooses nothing of the document.
struct UnmatchedPattern {
  Division division;
  std::string word;
};

/// Turns words into indices and numbers of `document`. Answers the first word that chooses nothing;
/// `selection` then holds what came before it. May throw std::bad_alloc.
KSMTH_API std::optional<UnmatchedPattern> resolve(const OBJDocument& document,
                                                  const SelectionPatterns& patterns, Selection& selection);

/// The smoothing numbers of the elements, ascending; 0 where elements are in none.
KSMTH_API std::vector<std::uint64_t> smoothingNumbers(const OBJDocument& document);

}  // namespace WavefrontOBJ
