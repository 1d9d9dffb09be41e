#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "document/DocumentPiece.h"
#include "document/LogicalLine.h"
#include "document/OBJDocument.h"
#include "document/PlainLines.h"

namespace WavefrontOBJ {

/// One read of a source into a document: the state between lines and the work on each kind of line.
///
/// Every line can be read by the exact path, which walks through its words. Plain vertex and face lines take
/// a fast path, `PlainLines`. Of large sources it is done ahead, piece by piece on several threads
/// (`DocumentPiece`), and only joined here.
class DocumentReader {
 public:
  DocumentReader(OBJDocument& document, const DocumentReadOptions& options);

  /// May throw std::bad_alloc.
  Result read();

 private:
  /// Indices of one element; those that are absent are `kNoIndex`.
  struct Corner {
    std::int32_t vertex = kNoIndex;
    std::int32_t texture = kNoIndex;
    std::int32_t normal = kNoIndex;
  };
  /// What becomes of the text of one index.
  enum class IndexOutcome : std::uint8_t { good, notANumber, zero, overflow, outOfRange };
  struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
  };
  template <class Value>
  using ByText = std::unordered_map<std::string, Value, NameHash, std::equal_to<>>;
  /// Names of one division that have an index.
  using KnownNames = ByText<std::int32_t>;

  // The window.
  Result fill(std::uint64_t offset);
  Result beginWindow(bool callingThread);
  std::uint64_t offsetOf(const char* text) const {
    return windowOffset_ + static_cast<std::uint64_t>(text - base_);
  }
  Result checkLimits() const;

  void takeLines();

  // Fast path.
  void takePlainLines();
  void takePlainGroup(const char* line, const char* nameEnd);
  void addReturns(const PlainLines& lines, std::uint64_t firstLine, std::uint64_t end, std::size_t& next);

  // Pieces that others have read, in DocumentReaderPieces.cpp.
  Result readPieces(std::uint64_t& offset);
  void join(const DocumentPiece& piece);
  void joinTables(const DocumentPiece& piece, DocumentPiece::Counts& done, const DocumentPiece::Counts& end);

  // Exact path.
  void takeLine(const char* begin, const char* end, const char* next);
  void doubtLine(const char* begin, const char* end, const char* next);
  void takeComment(const char* begin, const char* end, const char* next);
  bool takeVector(std::string_view keyword);
  bool takeState(std::string_view keyword, LineWords& words);
  void takeGroups(LineWords& words);
  void beginGroups();
  void takeSmoothing(LineWords& words);
  void takeLibraries(LineWords& words);
  void takeStatement(std::string_view keyword);
  std::string takeName(LineWords& words);
  void doubtName(std::string_view name);

  // Elements, in DocumentReaderElements.cpp.
  bool takeElement(std::string_view keyword, LineWords& words);
  bool takeCorner(std::string_view word, Corner& corner);
  IndexOutcome resolve(std::string_view text, VectorKind kind, std::int32_t& index);
  void doubtIndex(IndexOutcome outcome, std::string_view text);
  void doubtCorners(ElementKind kind);
  void enterState(ElementTable& table, std::uint32_t first);
  void add(ElementKind kind, std::uint64_t offset, const Corner* corners, std::uint32_t count, bool textures,
           bool normals);
  static void appendColumn(PlainArray<std::int32_t>& column, std::size_t before, const std::int32_t* first,
                           std::uint32_t count);
  std::uint32_t currentState();
  std::int32_t currentGroupSet();
  std::int32_t currentSmoothing();
  std::int32_t indexOfName(std::vector<OBJName>& names, KnownNames& known, std::string_view name,
                           std::uint64_t offset);

  // Those that name what comes later, in DocumentReaderForward.cpp.
  bool checkForwardReferences(ElementKind kind);
  void forgetUnused();

  void find(FindingKind kind, std::string_view at);
  void find(FindingKind kind, const char* at) { find(kind, std::string_view(at, at)); }
  void findLine(FindingKind kind, std::string_view text = {});

  OBJDocument& document_;
  const DocumentReadOptions& options_;

  std::vector<char> buffer_;
  const char* base_ = nullptr;   ///< the buffer's first byte of text
  const char* begin_ = nullptr;  ///< first byte not yet taken
  const char* end_ = nullptr;
  std::uint64_t windowOffset_ = 0;  ///< of `base_`
  bool isWhole_ = false;            ///< the window ends with the file, or where a line surely does

  PlainLines plain_;

  // The line in work.
  const char* line_ = nullptr;
  std::uint64_t lineNumber_ = 1;
  std::vector<Corner> corners_;
  std::vector<std::int32_t> sorted_;
  bool dropTextures_ = false;
  bool dropNormals_ = false;
  bool anyStatement_ = false;

  // What is in force for the next element. Names get their indices when an element has them.
  std::string groupText_;
  std::string materialText_;
  std::string objectText_;
  std::uint64_t groupOffset_ = 0;
  std::uint64_t materialOffset_ = 0;
  std::uint64_t objectOffset_ = 0;
  OBJSmoothing smoothing_;
  bool anyGroup_ = false;
  bool groupIsEmpty_ = false;  ///< no element has the last "g" line's groups yet
  bool anyMaterial_ = false;
  bool anyObject_ = false;
  bool anySmoothing_ = false;
  bool stateIsNew_ = true;
  std::uint32_t state_ = 0;

  KnownNames knownGroups_;
  KnownNames knownMaterials_;
  KnownNames knownObjects_;
  ByText<std::int32_t> knownGroupSets_;  ///< by the text of the "g" line
  std::unordered_map<std::uint64_t, std::int32_t> knownSmoothings_;
  std::int32_t offSmoothing_ = kNoIndex;
  struct StateHash {
    std::size_t operator()(const ElementState& state) const;
  };
  std::unordered_map<ElementState, std::uint32_t, StateHash> knownStates_;

  /// Numbers that the host would have in its table.
  std::unordered_set<std::uint32_t> hostSmoothings_;
  /// First element of each kind that names what comes later.
  std::uint32_t firstForward_[kElementKinds];
  bool forward_ = false;  ///< the element in work does
  /// A "g" line whose first element does, up to where the next one begins.
  struct GroupLine {
    std::uint64_t begin;
    std::uint64_t end;
  };
  std::vector<GroupLine> forwardGroups_;
};

}  // namespace WavefrontOBJ
