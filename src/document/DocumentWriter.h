#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KSmthExport.h"
#include "document/FileOrder.h"
#include "document/LineText.h"
#include "document/NewIndices.h"
#include "document/OBJDocument.h"
#include "document/Selection.h"
#include "document/Sink.h"

namespace WavefrontOBJ {

/// Lets a caller change what is written, line by line. The functions of this class change nothing. They may
/// not throw.
class KSMTH_API Rewriter {
 public:
  Rewriter() = default;
  Rewriter(const Rewriter&) = delete;
  Rewriter& operator=(const Rewriter&) = delete;
  virtual ~Rewriter();

  /// A comment, from its "#" on; may be made several lines. True when it was changed.
  virtual bool commentText(std::string& text);
  /// The numbers of a vertex line: `text` holds what stands behind the keyword. True when it was changed.
  virtual bool vectorText(VectorKind kind, std::uint32_t index, std::string& text);
  /// The names behind "g" for a face; `text` holds them, parted by blanks. True when it was changed.
  virtual bool groupText(std::int32_t groupSet, std::int32_t object, std::string& text);
  /// The name behind "usemtl" or "o", which may be empty. True when it was changed.
  virtual bool nameText(Division division, std::int32_t index, std::string& text);
  /// The smoothing group of an element ("off" or a number), asked for each element. True when changed.
  virtual bool smoothingText(ElementKind kind, std::uint32_t index, std::string& text);
  /// A face is written as several: fills `pieces` with positions (0 is the first corner) of their corners,
  /// each piece ended by `kPieceEnd`; without any it is left out. False to write it as it is.
  virtual bool cutFace(std::uint32_t index, std::vector<std::uint32_t>& pieces);
  /// The same for elements of any kind: asks `cutFace` for faces, leaves others as they are.
  virtual bool cutElement(ElementKind kind, std::uint32_t index, std::vector<std::uint32_t>& pieces);
  /// Says which indices an element is written without: set to false before.
  virtual void dropColumns(ElementKind kind, std::uint32_t index, bool& textures, bool& normals);

  static constexpr std::uint32_t kPieceEnd = 0xFFFFFFFFU;
};

struct WriteOptions {
  bool keepOrder =
      false;  ///< write every vertex line, so that indices stay; the whole document always has all
  bool smoothing = true;        ///< write "s" lines
  bool materials = true;        ///< write "mtllib" and "usemtl" lines
  bool objects = true;          ///< write "o" lines
  bool statements = true;       ///< of a whole document: write free-form and other statements, and "vp" lines
  bool headComments = true;     ///< write the comments at the document's head
  bool comments = true;         ///< write those behind it, each in front of the line that follows it
  bool emptyGroups = true;      ///< write "g" lines that no element follows
  bool vectorsFirst = false;    ///< write vertex lines in front of all elements
  bool librariesApart = false;  ///< one "mtllib" line for each library
  std::vector<std::string> notes;    ///< lines of comment, without "#" and line feed, behind the head's
  std::vector<std::int32_t> groups;  ///< the only groups that "g" lines name; empty for all
  const std::vector<std::string>* libraries = nullptr;  ///< names for `OBJDocument::libraries`, in order
  /// Answers more of them, once it is known which vertex lines a part has: their indices by kind, v, vt and
  /// vn, ascending; empty where it has all. May not throw but std::bad_alloc.
  std::function<std::vector<std::string>(const std::array<std::span<const std::uint32_t>, 3>& used)>
      partNotes;
  Rewriter* rewriter = nullptr;
  Progress progress;
};

/// What was written.
struct WriteCounts {
  std::array<std::uint32_t, kVectorKinds> vectors{};
  std::array<std::uint32_t, kElementKinds> elements{};
  std::uint64_t bytes = 0;
};

/// Writes documents, whole or in part, with the digits of the file and its lines in their order, behind the
/// libraries. A part has the vertex lines that its elements use and indices to match; relative indices become
/// absolute ones. "o", "g", "s" and "usemtl" lines stand where what is in force for elements changes. A
/// comment, or a "g" line without elements, belongs to the vertex line, element or other statement that
/// follows it, those at the end to the last one: a part has those of its lines. Lines end in a line feed.
///
/// One writer for many parts keeps its tables: a part costs what it holds, not what the document holds.
class KSMTH_API DocumentWriter {
 public:
  /// `document` must outlive the writer. May throw std::bad_alloc.
  explicit DocumentWriter(const OBJDocument& document);

  /// Writes the elements of `lists` to `sink`. Fails as the sink or the document's source does, and with
  /// `Status::cancelled`; what the sink has got by then is incomplete.
  Result write(const ElementLists& lists, const WriteOptions& options, Sink& sink,
               WriteCounts* counts = nullptr);
  /// Writes vertex lines by index, ascending, and all statements that are no elements.
  Result writeRest(const std::array<std::vector<std::uint32_t>, kVectorKinds>& vectors,
                   const WriteOptions& options, Sink& sink, WriteCounts* counts = nullptr);

 private:
  class Run;
  using VectorLists = std::array<std::vector<std::uint32_t>, kVectorKinds>;

  Result write(const ElementLists& lists, const VectorLists* rest, const WriteOptions& options, Sink& sink,
               WriteCounts* counts);

  const OBJDocument& document_;
  LineText lines_;
  std::vector<Aside> asides_;
  std::uint64_t lastOffset_ = kNoOffset;  ///< of the last line
  std::array<NewIndices, 3> newIndices_;  ///< of the part being written, by kind; without any between parts
};

}  // namespace WavefrontOBJ
