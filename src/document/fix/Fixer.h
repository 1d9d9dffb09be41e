#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "document/DocumentWriter.h"
#include "document/Fix.h"
#include "document/fix/FaceCutting.h"
#include "document/fix/SmoothingColours.h"
#include "document/fix/VectorRepair.h"

namespace WavefrontOBJ {

/// One fix of a document: looks at what is not plain first, then has the writer ask for each line.
class Fixer : private Rewriter {
 public:
  Fixer(const OBJDocument& document, const FixOptions& options, FixReport& report)
      : document_(document), options_(options), report_(report) {}

  /// May throw std::bad_alloc.
  Result fix(Sink& sink, WriteCounts* counts);

 private:
  using Texts = std::unordered_map<std::int32_t, std::string>;

  // What the writer asks.
  bool commentText(std::string& text) override;
  bool vectorText(VectorKind kind, std::uint32_t index, std::string& text) override;
  bool groupText(std::int32_t groupSet, std::int32_t object, std::string& text) override;
  bool nameText(Division division, std::int32_t index, std::string& text) override;
  bool smoothingText(ElementKind kind, std::uint32_t index, std::string& text) override;
  bool cutElement(ElementKind kind, std::uint32_t index, std::vector<std::uint32_t>& pieces) override;
  void dropColumns(ElementKind kind, std::uint32_t index, bool& textures, bool& normals) override;

  // Looked at beforehand, in FixNames.cpp.
  void fixNames();
  std::string fixedGroups(const ElementState& state);
  void repairName(std::string& name, std::size_t most, std::int32_t index, std::uint64_t offset);
  void fixLibraries();
  std::vector<std::optional<std::size_t>> reportMaterials(const std::vector<std::string>& paths);

  void reportFindings();
  void reportStatements();
  void planCuts();
  void planSmoothing();

  static bool isMixed(std::span<const std::int32_t> column);
  std::size_t mostCorners(ElementKind kind, std::uint32_t index) const;
  void report(FixKind kind, std::uint64_t offset, std::string_view text = {});
  void report(FixKind kind, FindingKind finding);

  const OBJDocument& document_;
  const FixOptions& options_;
  FixReport& report_;

  std::vector<std::string> libraries_;
  Texts materials_;  ///< of those that are written otherwise
  Texts objects_;
  std::unordered_map<std::uint64_t, std::string> groups_;  ///< by group set and object
  /// What each one name that a "g" line gets was made of: its names with blanks between them.
  std::unordered_map<std::string, std::unordered_set<std::string>> namesOf_;
  SmoothingNumbers smoothing_;
  std::string before_;                   ///< of a vertex line, as the file has it
  std::size_t run_[kElementKinds] = {};  ///< of the element last asked for
  std::vector<std::uint32_t> flat_;      ///< faces without area, which are left out
  FaceCutter cutter_;
  std::vector<float> positions_;  ///< of all vertices, when some face has to be cut
  std::vector<FaceCutter::Point> points_;
  bool cuts_ = false;  ///< some face has to be cut
};

}  // namespace WavefrontOBJ
