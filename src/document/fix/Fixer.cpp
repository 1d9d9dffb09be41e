#include "document/fix/Fixer.h"

#include <algorithm>
#include <new>

#include "document/Findings.h"
#include "obj/OBJBasic.h"

namespace WavefrontOBJ {
namespace {

/// Corners of a face that the host has room for.
constexpr std::size_t kMostCorners = 88;

/// What the read found, and the writer writes otherwise or leaves out.
struct FoundRow {
  FindingKind finding;
  FixKind kind;
};
constexpr FoundRow kFound[] = {
    {FindingKind::byteOrderMark, FixKind::byteOrderMark},
    {FindingKind::carriageReturn, FixKind::carriageReturn},
    {FindingKind::leadingBlank, FixKind::leadingBlank},
    {FindingKind::trailingBlank, FixKind::trailingBlank},
    {FindingKind::continuationLine, FixKind::continuationLine},
    {FindingKind::longLine, FixKind::longLine},
    {FindingKind::tabAfterKeyword, FixKind::tabAfterKeyword},
    {FindingKind::relativeIndex, FixKind::relativeIndex},
    {FindingKind::forwardReference, FixKind::forwardReference},
    {FindingKind::emptyPart, FixKind::emptyPart},
    {FindingKind::nameMissing, FixKind::nameMissing},
    {FindingKind::indexZero, FixKind::elementIndex},
    {FindingKind::indexOutOfRange, FixKind::elementIndex},
    {FindingKind::indexOverflow, FixKind::elementIndex},
    {FindingKind::indexNotANumber, FixKind::elementIndex},
    {FindingKind::tooFewCorners, FixKind::fewCorners},
    {FindingKind::smoothingMalformed, FixKind::smoothingMalformed},
    {FindingKind::nulByte, FixKind::nulByte},
    {FindingKind::oldFace, FixKind::oldFace},
    {FindingKind::trailingComment, FixKind::trailingComment},
};

constexpr FixKind kindOf(OBJStatement::Kind kind) {
  switch (kind) {
    case OBJStatement::Kind::freeForm:
      return FixKind::freeForm;
    case OBJStatement::Kind::display:
      return FixKind::display;
    case OBJStatement::Kind::inclusion:
      return FixKind::inclusion;
    case OBJStatement::Kind::unknown:
      break;
  }
  return FixKind::unknownStatement;
}

std::size_t digitCount(std::int32_t number) {
  std::size_t digits = 1;
  for (; number >= 10; number /= 10) ++digits;
  return digits;
}

}  // namespace

Result fix(const OBJDocument& document, const FixOptions& options, Sink& sink, FixReport& report,
           WriteCounts* counts) {
  try {
    return Fixer(document, options, report).fix(sink, counts);
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, document.source().name() + ": out of memory"};
  }
}

Result Fixer::fix(Sink& sink, WriteCounts* counts) {
  reportFindings();
  reportStatements();
  fixNames();
  fixLibraries();
  planSmoothing();
  planCuts();
  if (cuts_) {
    Result result = document_.positions(positions_);
    if (!result) return result;
  }
  WriteOptions options;
  options.statements = false;
  options.emptyGroups = false;
  options.vectorsFirst = document_.findings().count(FindingKind::forwardReference) > 0;
  options.librariesApart = true;
  options.libraries = &libraries_;
  options.rewriter = this;
  options.progress = options_.progress;
  return DocumentWriter(document_).write(ElementLists::all(), options, sink, counts);
}

void Fixer::report(FixKind kind, std::uint64_t offset, std::string_view text) {
  std::uint64_t line = 0;
  // Without a line where the file cannot be read any more: writing it will say so.
  if (report_.keepsNext(kind)) static_cast<void>(document_.lineNumber(offset, line));
  report_.add(kind, line, text);
}

/// Takes over what the read has found of one kind.
void Fixer::report(FixKind kind, FindingKind finding) {
  std::uint64_t left = document_.findings().count(finding);
  for (const Finding& place : document_.findings().kept()) {
    if (place.kind != finding) continue;
    report_.add(kind, place.line, place.text);
    --left;
  }
  report_.addPlaceless(kind, left);
}

void Fixer::reportFindings() {
  for (const FoundRow& row : kFound) report(row.kind, row.finding);
  if (!options_.objects) report(FixKind::objectName, FindingKind::objectName);
}

void Fixer::reportStatements() {
  for (const OBJStatement& statement : document_.statements()) {
    const FixKind kind = kindOf(statement.kind);
    std::string text;
    if (report_.keepsNext(kind)) static_cast<void>(document_.lineText(statement.offset, text));
    report(kind, statement.offset, text);
  }
  for (const std::uint64_t offset : document_.vectorOffsets(VectorKind::parameter)) {
    report(FixKind::parameterVertex, offset);
  }
  for (const std::uint64_t offset : document_.emptyGroups()) report(FixKind::emptyGroup, offset);
  // Those that are there, in the order of the file.
  const ElementTable& lines = document_.lines();
  const ElementTable& points = document_.points();
  for (std::uint32_t l = 0, p = 0; l < lines.size() || p < points.size();) {
    const bool isLine = p == points.size() || (l < lines.size() && lines.offset(l) < points.offset(p));
    report(FixKind::lineOrPoint, isLine ? lines.offset(l++) : points.offset(p++), isLine ? "l" : "p");
  }
}

/// Sees whether faces have to be cut, and lists those that have no area.
void Fixer::planCuts() {
  const ElementTable& faces = document_.faces();
  for (std::uint32_t i = 0; i < faces.size(); ++i) {
    if (hasRepeats(faces.vertices(i))) {
      cuts_ = true;
      if (cutter_.isFlat(faces.vertices(i))) {
        report(FixKind::flatFace, faces.offset(i));
        flat_.push_back(i);
      }
    }
    cuts_ = cuts_ || faces.cornerCount(i) > mostCorners(ElementKind::face, i);
  }
}

void Fixer::planSmoothing() {
  smoothing_ = smoothingNumbers(document_);
  const std::vector<OBJSmoothing>& rows = document_.smoothings();
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (rows[row].off) continue;
    const std::uint64_t number = rows[row].number;
    if (number == 0) {
      if (smoothing_.zeroSaved || smoothing_.outcome != SmoothingNumbers::Outcome::kept) {
        report(FixKind::smoothingZero, rows[row].offset);
      }
    } else if (smoothing_.outcome == SmoothingNumbers::Outcome::renumbered) {
      if (number != smoothing_.byRow[row]) {
        report(FixKind::smoothingRenumbered, rows[row].offset,
               std::to_string(number) + " to " + std::to_string(smoothing_.byRow[row]));
      }
    } else if (smoothing_.outcome == SmoothingNumbers::Outcome::parted) {
      report(FixKind::smoothingParted, rows[row].offset, std::to_string(number));
    } else if (number != smoothing_.byRow[row]) {
      report(FixKind::smoothingWide, rows[row].offset,
             std::to_string(number) + " to " + std::to_string(smoothing_.byRow[row]));
    }
  }
  report_.addPlaceless(FixKind::smoothingBorder, smoothing_.bordersLost);
}

bool Fixer::vectorText(VectorKind kind, std::uint32_t index, std::string& text) {
  before_ = text;
  FixKindBits changes = repairVector(kind, text);
  for (std::size_t i = 0; changes != 0; ++i, changes >>= 1U) {
    if ((changes & 1U) != 0) report(static_cast<FixKind>(i), document_.vectorOffsets(kind)[index], before_);
  }
  return text != before_;
}

bool Fixer::smoothingText(ElementKind kind, std::uint32_t index, std::string& text) {
  if (smoothing_.outcome == SmoothingNumbers::Outcome::kept &&
      report_.count(FixKind::smoothingWide) + report_.count(FixKind::smoothingZero) == 0) {
    return false;
  }
  // Elements come in order.
  const auto k = static_cast<std::size_t>(kind);
  const std::span<const StateRun> runs = document_.elements(kind).runs();
  while (run_[k] + 1 < runs.size() && runs[run_[k] + 1].first <= index) ++run_[k];
  const std::int32_t row = document_.states()[runs[run_[k]].state].smoothing;
  if (row == kNoIndex) return false;
  std::uint32_t number = smoothing_.byRow[static_cast<std::size_t>(row)];
  if (kind == ElementKind::face && !smoothing_.byFace.empty()) number = smoothing_.byFace[index];
  text = number == 0 ? "off" : std::to_string(number);
  return true;
}

/// A texture coordinate or normal at some corners only.
bool Fixer::isMixed(std::span<const std::int32_t> column) {
  return std::find(column.begin(), column.end(), kNoIndex) != column.end() &&
         std::any_of(column.begin(), column.end(), [](std::int32_t index) { return index != kNoIndex; });
}

void Fixer::dropColumns(ElementKind kind, std::uint32_t index, bool& textures, bool& normals) {
  const ElementTable& table = document_.elements(kind);
  textures = isMixed(table.textures(index));
  normals = isMixed(table.normals(index));
  if (textures || normals) report(FixKind::mixedForms, table.offset(index));
}

/// Corners that a piece of an element may have: all of its own where it need not be cut.
std::size_t Fixer::mostCorners(ElementKind kind, std::uint32_t index) const {
  // "f", and " ", three indices of ten digits and two slashes a corner.
  constexpr std::size_t kShortCorners = (kLongestFixedLine - 1) / 33;
  const ElementTable& table = document_.elements(kind);
  const std::size_t count = table.cornerCount(index);
  if (count <= kShortCorners) return count;
  const auto textures = table.textures(index);
  const auto normals = table.normals(index);
  const auto digits = [](std::span<const std::int32_t> column, std::size_t i) {
    return column.empty() || column[i] == kNoIndex ? 0 : 1 + digitCount(column[i] + 1);
  };
  std::size_t length = 1;
  std::size_t longest = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t normal = digits(normals, i);
    const std::size_t texture = digits(textures, i);
    // "1//2" has a slash for nothing.
    const std::size_t corner =
        digits(table.vertices(index), i) + texture + normal + (texture == 0 && normal != 0 ? 1 : 0);
    length += corner;
    longest = std::max(longest, corner);
  }
  const std::size_t most = kind == ElementKind::face ? kMostCorners : count;
  if (length <= kLongestFixedLine) return most;
  return std::min(most, (kLongestFixedLine - 1) / longest);
}

bool Fixer::cutElement(ElementKind kind, std::uint32_t index, std::vector<std::uint32_t>& pieces) {
  const ElementTable& table = document_.elements(kind);
  const auto vertices = table.vertices(index);
  const std::size_t most = mostCorners(kind, index);
  if (kind != ElementKind::face) {
    if (vertices.size() <= most) return false;
    report(FixKind::longElement, table.offset(index));
    // Pieces of a line share their ends.
    const std::uint32_t shared = kind == ElementKind::line ? 1 : 0;
    const auto count = static_cast<std::uint32_t>(vertices.size());
    for (std::uint32_t at = 0; at + shared < count;) {
      const std::uint32_t end = std::min(count, at + static_cast<std::uint32_t>(most));
      for (std::uint32_t i = at; i < end; ++i) pieces.push_back(i);
      pieces.push_back(kPieceEnd);
      at = end - (end < count ? shared : 0);
      if (end == count) break;
    }
    return true;
  }
  if (std::binary_search(flat_.begin(), flat_.end(), index)) return true;
  const bool repeats = cuts_ && hasRepeats(vertices);
  if (vertices.size() <= most && !repeats) return false;
  points_.clear();
  for (const std::int32_t vertex : vertices) {
    const float* const xyz = positions_.data() + 3 * static_cast<std::size_t>(vertex);
    points_.push_back({xyz[0], xyz[1], xyz[2]});
  }
  cutter_.cut(vertices, points_, most, pieces);
  if (vertices.size() > most) {
    report(most == kMostCorners ? FixKind::manyCorners : FixKind::longElement, table.offset(index));
  }
  if (repeats) {
    std::vector<std::uint32_t> positions;
    FaceCutter::corners(vertices, positions);
    const std::size_t together = vertices.size() - positions.size();
    for (std::size_t i = 0; i < together; ++i) report(FixKind::repeatedCorner, table.offset(index));
    std::vector<std::int32_t> others;
    others.reserve(positions.size());
    for (const std::uint32_t position : positions) others.push_back(vertices[position]);
    if (hasRepeats(others)) report(FixKind::vertexMetAgain, table.offset(index));
  }
  return true;
}

}  // namespace WavefrontOBJ
