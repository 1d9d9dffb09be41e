#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "KSmthExport.h"

namespace WavefrontOBJ {

enum class Severity : std::uint8_t {
  error,    ///< data are missing: something in the file was left out
  warning,  ///< some program will read it otherwise
  note      ///< worth knowing
};

/// Everything that is doubted about a file; `kFindingKinds` says what each one means.
enum class FindingKind : std::uint8_t {
  utf16,
  notText,
  nulByte,
  controlByte,
  unknownStatement,
  upperCaseKeyword,
  indexZero,
  indexOutOfRange,
  indexOverflow,
  indexNotANumber,
  tooFewCorners,
  vectorNumberMissing,
  numberMalformed,
  numberWithComma,
  numberNotFinite,
  numberOutOfFloatRange,
  smoothingMalformed,
  libraryUnreadable,
  materialMissing,
  nameMissing,
  nameWithBlank,
  nameNotUtf8,
  repeatedCorner,
  mixedForms,
  emptyPart,
  forwardReference,
  extraNumbers,
  trailingComment,
  continuedComment,
  includedFile,
  severalGroups,
  duplicateFaces,
  unusedVertices,
  trailingVertices,
  coincidentVertices,
  byteOrderMark,
  relativeIndex,
  carriageReturn,
  leadingBlank,
  trailingBlank,
  continuationLine,
  longLine,
  manyCorners,
  smoothingTableFull,
  smoothingNumberWide,
  smoothingZero,
  tabAfterKeyword,
  objectName,
  lineOrPoint,
  oldFace,
  freeForm,
  severalLibraries,
  oneTextureValue,
  kindCount  // not a kind
};

inline constexpr std::size_t kFindingKindCount = static_cast<std::size_t>(FindingKind::kindCount);

struct FindingRow {
  FindingKind kind;
  std::string_view code;  ///< stable name, for programs
  Severity severity;
  bool hostOnly;  ///< of interest only to who brings the file into the host: the host reads it otherwise
  std::string_view text;  ///< the sentence for people; a finding's own text stands behind it
};

/// The table of all kinds, in the order of `FindingKind`.
inline constexpr FindingRow kFindingKinds[] = {
    // The whole file.
    {FindingKind::utf16, "utf-16", Severity::error, false, "the file is UTF-16; nothing was read"},
    {FindingKind::notText, "not-text", Severity::error, false, "this is not a text file; nothing was read"},
    {FindingKind::nulByte, "nul-byte", Severity::error, false, "NUL byte; the rest of the line is not read"},
    {FindingKind::controlByte, "control-byte", Severity::warning, false, "control character in the line"},
    // Statements that were not taken in, or not whole.
    {FindingKind::unknownStatement, "unknown-statement", Severity::error, false, "unknown statement"},
    {FindingKind::upperCaseKeyword, "upper-case-keyword", Severity::error, false,
     "keyword in upper case, which the host reads and most programs pass over"},
    {FindingKind::indexZero, "index-zero", Severity::error, false, "index 0: indices begin at 1"},
    {FindingKind::indexOutOfRange, "index-out-of-range", Severity::error, false,
     "index of something that is not in the file"},
    {FindingKind::indexOverflow, "index-overflow", Severity::error, false, "index of more than 31 bits"},
    {FindingKind::indexNotANumber, "index-not-a-number", Severity::error, false,
     "corner that is not an index"},
    {FindingKind::tooFewCorners, "too-few-corners", Severity::error, false,
     "face of fewer than three corners, line of fewer than two or point without any"},
    {FindingKind::vectorNumberMissing, "number-missing", Severity::error, false,
     "number missing; 0 is read, by the host that of an earlier line"},
    {FindingKind::numberMalformed, "not-a-number", Severity::error, false, "not a number"},
    {FindingKind::numberWithComma, "number-with-comma", Severity::error, false,
     "number with a comma instead of a point"},
    {FindingKind::numberNotFinite, "number-not-finite", Severity::error, false, "number that is not finite"},
    {FindingKind::numberOutOfFloatRange, "number-out-of-range", Severity::warning, false,
     "number past the range of single precision"},
    {FindingKind::smoothingMalformed, "smoothing-not-a-number", Severity::error, false,
     "smoothing group that is neither a number nor \"off\"; the line is passed over"},
    {FindingKind::libraryUnreadable, "library-unreadable", Severity::error, false,
     "material library missing or unreadable"},
    {FindingKind::materialMissing, "material-missing", Severity::error, false,
     "material that is in no library"},
    // Read, but some program will read it otherwise.
    {FindingKind::nameMissing, "name-missing", Severity::warning, false,
     "no name; the host takes the last word of an earlier line"},
    {FindingKind::nameWithBlank, "name-with-blank", Severity::warning, false,
     "blank in a name; many programs stop there"},
    {FindingKind::nameNotUtf8, "name-not-utf-8", Severity::note, false, "name that is not UTF-8"},
    {FindingKind::repeatedCorner, "repeated-corner", Severity::warning, false,
     "vertex that comes twice in one face; the host leaves the second out"},
    {FindingKind::mixedForms, "mixed-forms", Severity::warning, false,
     "corners of different forms in one face; the host leaves such faces out"},
    {FindingKind::emptyPart, "empty-part", Severity::warning, false,
     "slash without an index behind it; the host takes the one of an earlier corner, or stops"},
    {FindingKind::forwardReference, "forward-reference", Severity::warning, false,
     "index of something that comes later in the file; the host stops there"},
    {FindingKind::extraNumbers, "extra-numbers", Severity::note, false,
     "more numbers than the statement has"},
    {FindingKind::trailingComment, "trailing-comment", Severity::warning, false,
     "comment behind a statement; some programs take it for a corner or a number, the host leaves such faces "
     "out"},
    {FindingKind::continuedComment, "continued-comment", Severity::warning, false,
     "backslash at the end of a comment; some programs take the next line for a part of it"},
    {FindingKind::includedFile, "included-file", Severity::warning, false,
     "call or csh statement; what it names is not read or run"},
    {FindingKind::severalGroups, "several-groups", Severity::note, false,
     "several names: the faces are in all of these groups; some programs take the first, or one name with "
     "blanks"},
    // The geometry.
    {FindingKind::duplicateFaces, "duplicate-faces", Severity::warning, false,
     "faces of the same vertices as an earlier face"},
    {FindingKind::unusedVertices, "unused-vertices", Severity::note, false, "vertices that no element uses"},
    {FindingKind::trailingVertices, "trailing-vertices", Severity::warning, false,
     "vertices behind the last that is used; programs that count differently will not match"},
    {FindingKind::coincidentVertices, "coincident-vertices", Severity::note, false,
     "vertices at the place of an earlier one"},
    // What the host would read otherwise.
    {FindingKind::byteOrderMark, "byte-order-mark", Severity::warning, true,
     "byte order mark; the host does not know the first line"},
    {FindingKind::relativeIndex, "relative-index", Severity::warning, true,
     "relative index; the host takes it for another vertex"},
    {FindingKind::carriageReturn, "carriage-return", Severity::warning, true,
     "carriage return at the line's end; the host lists faces twice"},
    {FindingKind::leadingBlank, "leading-blank", Severity::warning, true,
     "blank in front of the statement; the host passes the line over"},
    {FindingKind::trailingBlank, "trailing-blank", Severity::warning, true,
     "blank behind the last name; the host lists the faces twice in that group"},
    {FindingKind::continuationLine, "continuation-line", Severity::warning, true,
     "line continued with a backslash; the host leaves it out"},
    {FindingKind::longLine, "long-line", Severity::warning, true,
     "line of more than 1,024 characters; the host cuts it in two"},
    {FindingKind::manyCorners, "many-corners", Severity::warning, true,
     "face of more than 88 corners; the host stops there"},
    {FindingKind::smoothingTableFull, "smoothing-table-full", Severity::warning, true,
     "smoothing number after 256 different ones; the host stops there"},
    {FindingKind::smoothingNumberWide, "smoothing-number-wide", Severity::warning, true,
     "smoothing number of more than 32 bits; the host keeps that of an earlier line"},
    {FindingKind::smoothingZero, "smoothing-zero", Severity::warning, true,
     "smoothing number 0; the host keeps it as a group"},
    {FindingKind::tabAfterKeyword, "tab-after-keyword", Severity::warning, true,
     "tab behind the keyword; the host reads the name in lower case"},
    {FindingKind::objectName, "object-name", Severity::warning, true, "object name; the host passes it over"},
    {FindingKind::lineOrPoint, "line-or-point", Severity::warning, true,
     "line or point element; the host passes it over"},
    {FindingKind::oldFace, "old-face", Severity::warning, true,
     R"("fo", an old name of "f"; the host leaves the face out)"},
    {FindingKind::freeForm, "free-form", Severity::warning, true,
     "statement that the host passes over or takes for another"},
    {FindingKind::severalLibraries, "several-libraries", Severity::warning, true,
     "several libraries in one line; the host reads the first"},
    {FindingKind::oneTextureValue, "one-texture-value", Severity::warning, true,
     "texture coordinate of one value; the host takes the second from an earlier line"},
};
static_assert(std::size(kFindingKinds) == kFindingKindCount);
static_assert([] {
  for (std::size_t i = 0; i < kFindingKindCount; ++i) {
    if (static_cast<std::size_t>(kFindingKinds[i].kind) != i) return false;
  }
  return true;
}());

constexpr const FindingRow& rowOf(FindingKind kind) {
  return kFindingKinds[static_cast<std::size_t>(kind)];
}

/// One place.
struct Finding {
  FindingKind kind;
  std::uint64_t line = 0;    ///< from 1; 0 when it concerns the whole file
  std::uint64_t column = 0;  ///< from 1, in bytes; 0 when it concerns the whole line
  std::uint64_t offset = 0;  ///< in bytes, from 0
  std::string text;  ///< what stands there, or how many; at most `Findings::kMaxText` bytes, may be empty
};

/// Findings of one file. Of each kind the first places are kept and all are counted, so that a file of noise
/// does not fill the memory.
class KSMTH_API Findings {
 public:
  static constexpr std::size_t kMaxText = 120;

  explicit Findings(std::size_t placesPerKind = 100) : placesPerKind_(placesPerKind) {}

  /// Counts one more of `kind`; keeps it while there are few.
  void add(FindingKind kind, std::uint64_t line, std::uint64_t column, std::uint64_t offset,
           std::string_view text);
  /// Counts `count` more of `kind` without a place.
  void addUncounted(FindingKind kind, std::uint64_t count) {
    counts_[static_cast<std::size_t>(kind)] += count;
  }
  /// The next `add` of `kind` keeps the place.
  bool keepsNext(FindingKind kind) const { return counts_[static_cast<std::size_t>(kind)] < placesPerKind_; }
  /// Takes over what `other` has, and sorts.
  void add(const Findings& other);
  /// Brings the kept ones into the order of their places.
  void sortByPlace();

  /// The kept ones; of a read and of `lint`, by place.
  const std::vector<Finding>& kept() const { return kept_; }
  std::uint64_t count(FindingKind kind) const { return counts_[static_cast<std::size_t>(kind)]; }
  /// All of a severity, those of the host alone with `withHost`.
  std::uint64_t count(Severity severity, bool withHost) const;

 private:
  std::size_t placesPerKind_;
  std::vector<Finding> kept_;
  std::array<std::uint64_t, kFindingKindCount> counts_{};
};

}  // namespace WavefrontOBJ
