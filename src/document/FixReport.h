#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "KSmthExport.h"

namespace WavefrontOBJ {

/// What `fix` does about something.
enum class FixEffect : std::uint8_t {
  rewritten,  ///< says the same, in another way
  leftOut,    ///< is not in the fixed file any more
  unsaid      ///< stays, for programs that read it; there is no way to tell the host
};

/// Everything that `fix` changes or cannot change; `kFixKinds` says what each one means.
enum class FixKind : std::uint8_t {
  byteOrderMark,
  carriageReturn,
  leadingBlank,
  trailingBlank,
  continuationLine,
  tabAfterKeyword,
  relativeIndex,
  forwardReference,
  emptyPart,
  oldFace,
  severalLibraries,
  nameMissing,
  numberMissing,
  oneTextureValue,
  numberMalformed,
  numberWithComma,
  numberNotFinite,
  numberOutOfRange,
  numberLong,
  longLine,
  manyCorners,
  longElement,
  vertexMetAgain,
  objectGroup,
  oneName,
  oneNameMet,
  nameBackslash,
  nameLong,
  libraryName,
  noMaterial,
  noObject,
  longComment,
  smoothingWide,
  smoothingZero,
  smoothingRenumbered,
  smoothingParted,
  elementIndex,
  fewCorners,
  extraNumbers,
  trailingComment,
  mixedForms,
  repeatedCorner,
  flatFace,
  groupsPastLine,
  libraryPastLine,
  smoothingBorder,
  smoothingMalformed,
  nulByte,
  parameterVertex,
  freeForm,
  display,
  inclusion,
  unknownStatement,
  emptyGroup,
  lineOrPoint,
  objectName,
  materialNameBlank,
  libraryNameBlank,
  libraryMissing,
  libraryRefused,
  materialMissing,
  materialsPastTable,
  kindCount  // not a kind
};

inline constexpr std::size_t kFixKindCount = static_cast<std::size_t>(FixKind::kindCount);

struct FixRow {
  FixKind kind;
  std::string_view code;  ///< stable name, for programs
  FixEffect effect;
  std::string_view text;  ///< for people
};

/// The table of all kinds, in the order of `FixKind`.
inline constexpr FixRow kFixKinds[] = {
    // Lines and words.
    {FixKind::byteOrderMark, "byte-order-mark", FixEffect::rewritten, "byte order mark left away"},
    {FixKind::carriageReturn, "carriage-return", FixEffect::rewritten,
     "line end of a carriage return made a line feed"},
    {FixKind::leadingBlank, "leading-blank", FixEffect::rewritten,
     "blank in front of the statement left away"},
    {FixKind::trailingBlank, "trailing-blank", FixEffect::rewritten, "blank behind the last name left away"},
    {FixKind::continuationLine, "continuation-line", FixEffect::rewritten, "continued line joined"},
    {FixKind::tabAfterKeyword, "tab-after-keyword", FixEffect::rewritten,
     "tab behind the keyword made a blank"},
    {FixKind::relativeIndex, "relative-index", FixEffect::rewritten, "relative indices made absolute"},
    {FixKind::forwardReference, "forward-reference", FixEffect::rewritten,
     "vertex lines put in front of the element that names them"},
    {FixKind::emptyPart, "empty-part", FixEffect::rewritten, "slash without an index behind it left away"},
    {FixKind::oldFace, "old-face", FixEffect::rewritten, R"("fo", an old name of "f", made "f")"},
    {FixKind::severalLibraries, "several-libraries", FixEffect::rewritten,
     "libraries put on lines of their own"},
    {FixKind::nameMissing, "name-missing", FixEffect::rewritten,
     "line without a name: its faces are said to be in \"default\", or of no material or object"},
    // Numbers.
    {FixKind::numberMissing, "number-missing", FixEffect::rewritten, "missing number made 0"},
    {FixKind::oneTextureValue, "one-texture-value", FixEffect::rewritten,
     "texture coordinate of one value given a second, 0"},
    {FixKind::numberMalformed, "not-a-number", FixEffect::rewritten,
     "word that is not a number made the number that it begins with, or 0"},
    {FixKind::numberWithComma, "number-with-comma", FixEffect::rewritten, "comma in a number made a point"},
    {FixKind::numberNotFinite, "number-not-finite", FixEffect::rewritten, "number that is not finite made 0"},
    {FixKind::numberOutOfRange, "number-out-of-range", FixEffect::rewritten,
     "number past single precision made its largest"},
    {FixKind::numberLong, "number-long", FixEffect::rewritten,
     "numbers too long for a line written in single precision"},
    {FixKind::longLine, "long-line", FixEffect::rewritten, "line of more than 1,024 characters made shorter"},
    // Elements.
    {FixKind::manyCorners, "many-corners", FixEffect::rewritten,
     "face of more than 88 corners cut into pieces"},
    {FixKind::longElement, "long-element", FixEffect::rewritten,
     "element too long for a line of 1,024 characters cut into pieces"},
    {FixKind::vertexMetAgain, "vertex-met-again", FixEffect::rewritten,
     "face that comes to a vertex more than once cut there"},
    // Names.
    {FixKind::objectGroup, "object-group", FixEffect::rewritten, "object made a group"},
    {FixKind::oneName, "one-name", FixEffect::rewritten, "several group names made one"},
    {FixKind::oneNameMet, "one-name-met", FixEffect::rewritten,
     "name made of several that another group has too: the groups become one"},
    {FixKind::nameBackslash, "name-backslash", FixEffect::rewritten,
     "backslash at a name's end, which would continue the line, made \"_\""},
    {FixKind::nameLong, "name-long", FixEffect::rewritten, "name too long for a line shortened"},
    {FixKind::libraryName, "library-name", FixEffect::rewritten,
     "library's path written as every system reads it, or from the output's folder"},
    {FixKind::noMaterial, "no-material", FixEffect::rewritten, "end of a material said as \"usemtl (null)\""},
    {FixKind::noObject, "no-object", FixEffect::rewritten, "end of an object said as \"o default\""},
    {FixKind::longComment, "long-comment", FixEffect::rewritten,
     "comment that other programs would read on parted or trimmed"},
    // Smoothing groups.
    {FixKind::smoothingWide, "smoothing-wide", FixEffect::rewritten,
     "smoothing number of more than 32 bits given another"},
    {FixKind::smoothingZero, "smoothing-zero", FixEffect::rewritten,
     "smoothing number 0, which the host keeps as a group, written as \"off\""},
    {FixKind::smoothingRenumbered, "smoothing-renumbered", FixEffect::rewritten,
     "smoothing number given another, so that 255 suffice; borders stay"},
    {FixKind::smoothingParted, "smoothing-parted", FixEffect::rewritten,
     "smoothing numbers given to each patch of faces anew, so that 255 suffice; borders stay"},
    // Left out.
    {FixKind::elementIndex, "element-index", FixEffect::leftOut,
     "element that names what is not there, or its texture coordinates or normals that do"},
    {FixKind::fewCorners, "few-corners", FixEffect::leftOut,
     "face of fewer than three corners, line of fewer than two or point without any"},
    {FixKind::extraNumbers, "extra-words", FixEffect::leftOut, "words behind the numbers of a vertex line"},
    {FixKind::trailingComment, "trailing-comment", FixEffect::leftOut, "comment behind a statement"},
    {FixKind::mixedForms, "mixed-forms", FixEffect::leftOut,
     "texture coordinates or normals that only some corners of an element have"},
    {FixKind::repeatedCorner, "repeated-corner", FixEffect::leftOut,
     "corner at the vertex of the corner before it"},
    {FixKind::flatFace, "flat-face", FixEffect::leftOut,
     "face without area: no three of its corners go around anything"},
    {FixKind::groupsPastLine, "groups-past-line", FixEffect::leftOut,
     "group names past 1,024 characters of a line; the faces are not in these groups any more"},
    {FixKind::libraryPastLine, "library-past-line", FixEffect::leftOut,
     "library name too long for a line of 1,024 characters"},
    {FixKind::smoothingBorder, "smoothing-border", FixEffect::leftOut,
     "border between smoothing groups that 255 numbers cannot keep"},
    {FixKind::smoothingMalformed, "smoothing-not-a-number", FixEffect::leftOut,
     "smoothing group that is neither a number nor \"off\""},
    {FixKind::nulByte, "nul-byte", FixEffect::leftOut, "rest of a line behind a NUL byte"},
    {FixKind::parameterVertex, "parameter-vertex", FixEffect::leftOut,
     "\"vp\" line, which the host takes for a vertex"},
    {FixKind::freeForm, "free-form", FixEffect::leftOut, "statement of a free-form curve or surface"},
    {FixKind::display, "display", FixEffect::leftOut, "statement about display or rendering"},
    {FixKind::inclusion, "included-file", FixEffect::leftOut, "call or csh statement"},
    {FixKind::unknownStatement, "unknown-statement", FixEffect::leftOut, "unknown statement"},
    {FixKind::emptyGroup, "empty-group", FixEffect::leftOut, "\"g\" line that no element follows"},
    // Cannot be said to the host.
    {FixKind::lineOrPoint, "line-or-point", FixEffect::unsaid,
     "line or point element, which the host passes over"},
    {FixKind::objectName, "object-name", FixEffect::unsaid, "object, which the host passes over"},
    {FixKind::materialNameBlank, "material-name-blank", FixEffect::unsaid,
     "material name with a blank, of which the host takes the first word"},
    {FixKind::libraryNameBlank, "library-name-blank", FixEffect::unsaid,
     "library name with a blank, of which the host takes the first word"},
    {FixKind::libraryMissing, "library-missing", FixEffect::unsaid,
     "material library missing or unreadable; faces have no material in the host"},
    {FixKind::libraryRefused, "library-refused", FixEffect::unsaid,
     "material library that the host refuses: \"newmtl\" is not its first statement"},
    {FixKind::materialMissing, "material-missing", FixEffect::unsaid,
     "material that is in no library; its faces have none in the host"},
    {FixKind::materialsPastTable, "materials-past-table", FixEffect::unsaid,
     "libraries of more than 1,048,576 materials, which the host has no room for: it reads nothing"},
};
static_assert(std::size(kFixKinds) == kFixKindCount);
static_assert([] {
  for (std::size_t i = 0; i < kFixKindCount; ++i) {
    if (static_cast<std::size_t>(kFixKinds[i].kind) != i) return false;
  }
  return true;
}());

constexpr const FixRow& rowOf(FixKind kind) {
  return kFixKinds[static_cast<std::size_t>(kind)];
}

/// One place.
struct FixPlace {
  FixKind kind;
  std::uint64_t line = 0;  ///< of the document, from 1; 0 when it concerns no single line
  std::string text;        ///< what stands there; at most `FixReport::kMaxText` bytes, may be empty
};

/// What was fixed: all are counted, and the first places of each kind kept.
class KSMTH_API FixReport {
 public:
  static constexpr std::size_t kMaxText = 120;

  explicit FixReport(std::size_t placesPerKind = 20) : placesPerKind_(placesPerKind) {}

  void add(FixKind kind, std::uint64_t line, std::string_view text);
  /// Counts `count` more of `kind` without a place.
  void addPlaceless(FixKind kind, std::uint64_t count) { counts_[static_cast<std::size_t>(kind)] += count; }
  /// The next `add` of `kind` keeps the place.
  bool keepsNext(FixKind kind) const { return counts_[static_cast<std::size_t>(kind)] < placesPerKind_; }

  /// The kept places, of each kind in the order in which they were met.
  const std::vector<FixPlace>& places() const { return places_; }
  std::uint64_t count(FixKind kind) const { return counts_[static_cast<std::size_t>(kind)]; }
  std::uint64_t count(FixEffect effect) const;

 private:
  std::size_t placesPerKind_;
  std::vector<FixPlace> places_;
  std::array<std::uint64_t, kFixKindCount> counts_{};
};

}  // namespace WavefrontOBJ
