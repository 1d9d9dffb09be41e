#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KSmthExport.h"
#include "document/ElementTable.h"
#include "document/Findings.h"
#include "document/PlainArray.h"
#include "document/Result.h"
#include "document/Source.h"

namespace WavefrontOBJ {

enum class VectorKind : std::uint8_t { position, texture, normal, parameter };  ///< v, vt, vn, vp
inline constexpr std::size_t kVectorKinds = 4;
enum class ElementKind : std::uint8_t { face, line, point };  ///< f, l, p
inline constexpr std::size_t kElementKinds = 3;
/// What parts a document's elements.
enum class Division : std::uint8_t { group, smoothing, material, object };

/// A statement that is kept as text, with its place among the elements.
struct OBJStatement {
  enum class Kind : std::uint8_t {
    freeForm,   ///< cstype, deg, bmat, step, curv, curv2, surf, parm, trim, hole, scrv, sp, end, con, mg
    display,    ///< bevel, c_interp, d_interp, lod, shadow_obj, trace_obj, usemap, maplib, ctech, stech
    inclusion,  ///< call, csh
    unknown     ///< anything else, upper-case keywords included
  };
  std::uint64_t offset;  ///< where its line begins
  Kind kind;
};

/// A group, material or object, in the order in which elements first had it. Empty for elements behind a
/// "usemtl" or "o" line without a name: such a material is white by the format's rules, another than none.
/// The line that named it may be one of elements that name what never comes, and that are left out.
struct OBJName {
  std::string text;
  std::uint64_t offset = 0;  ///< where the line begins that named it
};

/// One smoothing group. "off" and "0" are rows of their own and mean the same.
struct OBJSmoothing {
  std::uint64_t number = 0;  ///< 0 stands for none; one past 64 bits is the largest
  bool off = false;          ///< written as "off"
  std::uint64_t offset = 0;  ///< where the line begins that named it first
};

/// One name of an "mtllib" line.
struct OBJLibrary {
  std::string text;
  std::uint64_t offset = 0;  ///< where the line begins
  bool sameLine = false;     ///< stands on one line with the name before it
};

/// For each row of a division, and a last row for the elements of none, the elements that belong to it, in
/// order.
struct OBJMembers {
  std::vector<std::uint64_t> begins;   ///< one more than rows
  std::vector<std::uint32_t> indices;  ///< of elements

  std::size_t rows() const { return begins.size() - 1; }
  std::span<const std::uint32_t> row(std::size_t i) const {
    return {indices.data() + begins[i], static_cast<std::size_t>(begins[i + 1] - begins[i])};
  }
};

/// How a document is read. The result does not depend on it, but for the places kept.
struct DocumentReadOptions {
  Progress progress;
  std::size_t placesPerKind = 100;        ///< places of each kind of finding that are kept
  bool fastPath = true;                   ///< take plain lines without looking at their words
  std::size_t windowBytes = 256U * 1024;  ///< bytes asked of the source at a time
  unsigned threads = 0;                   ///< that read it, at most; 0: what `KSmthGrpImpt_SetThreads` says
  std::uint64_t threadBytes = 16U << 20;  ///< a source of fewer is read on the calling thread alone
};

/// A Wavefront OBJ file as its author wrote it, by the format's published rules (Wavefront, "Object Files",
/// Appendix B1): vertex lines, elements with the groups, smoothing group, material and object in force,
/// free-form statements, comments. It knows nothing of any host.
///
/// Numbers stay text: of a vertex line only its place is kept, so that writing puts out the very digits;
/// values are made when they are asked for. The file stays on disk; see `Source`. Memory: 8 bytes a vertex
/// line, 12 a face and 4 a corner for each column (vertices, texture coordinates, normals) that the file
/// uses, 8 for each change of state.
///
/// Rules: relative indices count back from the last one so far. An index may name what comes later in the
/// file. Corners may have empty parts ("1//", "1/"). An element with a corner that cannot be resolved is left
/// out as if its line said nothing; with texture coordinates or normals that cannot, it loses those of all
/// its corners. On vertex lines and elements a word that begins with "#" ends the statement: the rest of the
/// line is a comment, which goes with a vertex line and is lost with an element's. A "g" line names any
/// number of groups; without a name it is "default", which is also the group of faces before the first "g".
/// "usemtl" and "o" take the rest of their line as one name, which may be empty. Limits: 2^31 - 1 lines of
/// each kind, 2^32 - 1 corners, 1 GiB a line (`Status::tooLarge`).
///
/// Large files are read, and their values parsed, on several threads, none of which outlives the call;
/// `Progress` is called on the calling one. What comes out does not depend on their number.
///
/// No function throws unless it says so. Const functions may run on several threads at a time.
class KSMTH_API OBJDocument {
 public:
  /// Read a file, what is left of an open one, bytes. On failure the document holds what was read up to there
  /// and `findings` says more, where there is more. `name` stands for the file in messages.
  Result read(const std::string& path, const DocumentReadOptions& options = {});
  Result readDescriptor(int descriptor, const std::string& name, const DocumentReadOptions& options = {});
  Result readBytes(std::string bytes, const std::string& name, const DocumentReadOptions& options = {});

  const Source& source() const { return source_; }
  /// What the read doubted. Numbers are looked at by `lint`.
  const Findings& findings() const { return findings_; }

  // Vertex lines.
  std::uint32_t vectorCount(VectorKind kind) const {
    return static_cast<std::uint32_t>(vectors_[static_cast<std::size_t>(kind)].size());
  }
  /// Where the lines begin, ascending.
  std::span<const std::uint64_t> vectorOffsets(VectorKind kind) const {
    return vectors_[static_cast<std::size_t>(kind)].span();
  }

  /// Parses `width` values of each line of `kind` (positions and normals 3, texture coordinates 1 to 3) into
  /// rows of `values`, correctly rounded and independent of the locale. Missing ones, and words that do not
  /// begin with a number, are 0; beyond the type's range they are infinite. `values` is empty on failure.
  Result values(VectorKind kind, std::size_t width, std::vector<double>& values,
                const Progress& progress = {}) const;
  Result values(VectorKind kind, std::size_t width, std::vector<float>& values,
                const Progress& progress = {}) const;
  Result positions(std::vector<double>& xyz) const { return values(VectorKind::position, 3, xyz); }
  Result positions(std::vector<float>& xyz) const { return values(VectorKind::position, 3, xyz); }
  Result textures(std::vector<double>& uv) const { return values(VectorKind::texture, 2, uv); }
  Result textures(std::vector<float>& uv) const { return values(VectorKind::texture, 2, uv); }
  Result normals(std::vector<double>& xyz) const { return values(VectorKind::normal, 3, xyz); }
  Result normals(std::vector<float>& xyz) const { return values(VectorKind::normal, 3, xyz); }
  /// Red, green, blue of each vertex: the fourth to sixth number of "v" lines that have six or more; rows of
  /// other vertices are 1. Empty when no line has them, or on failure.
  Result vertexColours(std::vector<float>& rgb) const;
  /// The weight of each vertex: the fourth number of "v" lines of four or five; 1 for others. Empty when no
  /// line has one, or on failure.
  Result vertexWeights(std::vector<float>& weights) const;

  // Elements.
  const ElementTable& elements(ElementKind kind) const { return elements_[static_cast<std::size_t>(kind)]; }
  const ElementTable& faces() const { return elements(ElementKind::face); }
  const ElementTable& lines() const { return elements(ElementKind::line); }
  const ElementTable& points() const { return elements(ElementKind::point); }

  // What is in force for them.
  std::span<const ElementState> states() const { return states_.span(); }
  /// Names in the order in which elements first had them; "default" where a face had no "g" line or name.
  const std::vector<OBJName>& groups() const { return groups_; }
  /// Where "g" lines begin that no element follows before the next "g" line, in order.
  std::span<const std::uint64_t> emptyGroups() const { return emptyGroups_.span(); }
  const std::vector<OBJName>& materials() const { return materials_; }
  const std::vector<OBJName>& objects() const { return objects_; }
  const std::vector<OBJSmoothing>& smoothings() const { return smoothings_; }
  /// Group indices of `ElementState::groupSet`, in the order of the line, each once. `kNoIndex` (no "g" line
  /// yet) gives the group "default".
  std::span<const std::int32_t> groupSet(std::int32_t set) const;
  /// The elements of each row of a division, in time linear in elements and memberships. May throw
  /// std::bad_alloc.
  OBJMembers members(Division division, ElementKind kind) const;
  std::size_t rowCount(Division division) const;
  /// Index of a name in `groups`, `materials` or `objects`; `kNoIndex` when it is none.
  std::int32_t find(Division division, std::string_view name) const;

  const std::vector<OBJLibrary>& libraries() const { return libraries_; }
  /// Statements that are neither vertex lines, elements, states nor libraries, in order.
  std::span<const OBJStatement> statements() const { return statements_.span(); }
  /// Where comment lines begin, in order; the first `headCommentCount` stand before any statement.
  std::span<const std::uint64_t> comments() const { return comments_.span(); }
  std::size_t headCommentCount() const { return headComments_; }

  // Text and places. `offset` is where a line begins, as all of the above have it.
  /// The line without blanks at its ends, continuations joined with a blank.
  Result lineText(std::uint64_t offset, std::string& text) const;
  /// The number, from 1, of the line that begins at `offset`. Reads up to 64 KiB or so of the file.
  Result lineNumber(std::uint64_t offset, std::uint64_t& number) const;

  /// Bytes of memory that the tables use, held text not counted.
  std::size_t memoryBytes() const;

 private:
  friend class DocumentReader;

  /// A line that begins at or behind each multiple of some bytes.
  struct LineMark {
    std::uint64_t offset;
    std::uint64_t number;
  };

  Result readSource(const DocumentReadOptions& options);

  Source source_;
  Findings findings_;
  std::array<PlainArray<std::uint64_t>, kVectorKinds> vectors_;
  std::array<ElementTable, kElementKinds> elements_;
  PlainArray<ElementState> states_;
  std::vector<OBJName> groups_;
  std::vector<OBJName> materials_;
  std::vector<OBJName> objects_;
  std::vector<OBJSmoothing> smoothings_;
  PlainArray<std::uint32_t> groupSetBegins_;
  PlainArray<std::int32_t> groupSetNames_;
  std::int32_t defaultGroup_ = kNoIndex;  ///< of elements before the first "g"
  std::vector<OBJLibrary> libraries_;
  PlainArray<OBJStatement> statements_;
  PlainArray<std::uint64_t> comments_;
  PlainArray<std::uint64_t> emptyGroups_;
  std::size_t headComments_ = 0;
  unsigned threads_ = 1;  ///< that it was read on, and values are parsed on
  PlainArray<LineMark> lineMarks_;
};

}  // namespace WavefrontOBJ
