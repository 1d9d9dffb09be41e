// What a document writer writes behind the vertex lines: elements, the state they are in, other statements.
#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>

#include "document/DocumentWriter.h"
#include "document/DocumentWriterRun.h"
#include "document/LogicalLine.h"
#include "obj/text/FormatNumber.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

constexpr char kElementWords[kElementKinds] = {'f', 'l', 'p'};

/// Statements of which some words are indices of vertex lines: those from word `first` on, 1 being the first
/// behind the keyword. "v/vt/vn" where the kind is a position.
struct IndexStatement {
  std::string_view keyword;
  std::size_t first;
  VectorKind kind;
};
constexpr IndexStatement kIndexStatements[] = {{"curv", 3, VectorKind::position},
                                               {"surf", 5, VectorKind::position},
                                               {"curv2", 1, VectorKind::parameter},
                                               {"sp", 1, VectorKind::parameter}};

/// Vertex lines of `kind` before `offset`.
std::int64_t countBefore(const OBJDocument& document, VectorKind kind, std::uint64_t offset) {
  const auto offsets = document.vectorOffsets(kind);
  return std::lower_bound(offsets.begin(), offsets.end(), offset) - offsets.begin();
}

}  // namespace

std::string absoluteStatement(const OBJDocument& document, std::uint64_t offset, const std::string& text,
                              const IndexMap& map) {
  LineWords words(text);
  const std::string_view keyword = words.next();
  const auto* const row = std::find_if(std::begin(kIndexStatements), std::end(kIndexStatements),
                                       [&](const IndexStatement& r) { return r.keyword == keyword; });
  if (row == std::end(kIndexStatements) || (!map && text.find('-') == std::string::npos)) return text;
  std::string absolute(keyword);
  std::size_t wordNumber = 0;
  bool changed = false;
  for (std::string_view word = words.next(); !word.empty(); word = words.next()) {
    absolute += ' ';
    if (++wordNumber < row->first) {
      absolute += word;
      continue;
    }
    auto kind = static_cast<std::size_t>(row->kind);
    for (;; ++kind) {
      const std::size_t slash = word.find('/');
      const std::string_view part = word.substr(0, slash);
      std::int64_t index = 0;
      const auto parsed = std::from_chars(part.data(), part.data() + part.size(), index);
      const bool whole = parsed.ec == std::errc() && parsed.ptr == part.data() + part.size();
      if (whole && (index < 0 || (map && index > 0)) && kind < kVectorKinds) {
        const auto vector = static_cast<VectorKind>(kind);
        const std::int64_t from0 = index < 0 ? index + countBefore(document, vector, offset) : index - 1;
        // One that counts back too far stays without a meaning.
        const std::int64_t from1 = from0 < 0 ? 0 : (map ? map(vector, from0) : from0) + 1;
        changed = changed || from1 != index;
        absolute += from1 == index ? std::string(part) : std::to_string(from1);
      } else {
        absolute += part;
      }
      if (slash == std::string_view::npos) break;
      absolute += '/';
      word.remove_prefix(slash + 1);
    }
  }
  return changed ? absolute : text;
}

/// The state of an element of those that are written, in order.
std::uint32_t DocumentWriter::Run::stateOf(ElementKind kind, std::uint32_t element) {
  const auto runs = document_.elements(kind).runs();
  std::size_t& run = run_[static_cast<std::size_t>(kind)];
  if (run + 1 < runs.size() && runs[run + 1].first <= element) {
    // Each run has an element at least, and often no more.
    const std::size_t last = std::min<std::size_t>(runs.size() - 1, run + (element - runs[run].first));
    if (runs[last].first <= element) {
      run = last;
    } else {
      const auto at = [&runs](std::size_t index) {
        return runs.begin() + static_cast<std::ptrdiff_t>(index);
      };
      const auto behind =
          std::upper_bound(at(run), at(last), element,
                           [](std::uint32_t index, const StateRun& row) { return index < row.first; });
      run = static_cast<std::size_t>(behind - runs.begin()) - 1;
    }
  }
  return runs[run].state;
}

bool DocumentWriter::Run::writeStatement(const OBJStatement& statement) {
  std::string_view line;
  if (!fetch(statement.offset, line)) return false;
  const std::string text = joinedText(line);
  out_.endLine(statement.kind == OBJStatement::Kind::freeForm
                   ? absoluteStatement(document_, statement.offset, text)
                   : text);
  return true;
}

void DocumentWriter::Run::writeElement(ElementKind kind, std::uint32_t element) {
  pieces_.clear();
  bool cut = false;
  if (options_.rewriter != nullptr) {
    dropTextures_ = dropNormals_ = false;
    cut = options_.rewriter->cutElement(kind, element, pieces_);
    if (cut && pieces_.empty()) return;
    options_.rewriter->dropColumns(kind, element, dropTextures_, dropNormals_);
  }
  writeState(kind, element);
  writeCorners(kind, element, cut ? &pieces_ : nullptr);
}

void DocumentWriter::Run::writeName(Division division, std::int32_t index) {
  const bool material = division == Division::material;
  // The blank stays without a name: some readers know the line by it.
  out_.text(material ? "usemtl " : "o ");
  const std::vector<OBJName>& names = material ? document_.materials() : document_.objects();
  scratch_ = index != kNoIndex ? names[static_cast<std::size_t>(index)].text : std::string();
  if (options_.rewriter != nullptr) options_.rewriter->nameText(division, index, scratch_);
  out_.endLine(scratch_);
}

/// Writes a "g" line where the names differ from those in force.
void DocumentWriter::Run::writeGroups(const ElementState& state) {
  scratch_.clear();
  for (const std::int32_t group : document_.groupSet(state.groupSet)) {
    const auto& wanted = options_.groups;
    if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), group) == wanted.end()) continue;
    if (!scratch_.empty()) scratch_ += ' ';
    scratch_ += document_.groups()[static_cast<std::size_t>(group)].text;
  }
  if (scratch_.empty()) scratch_ = "default";
  const bool changed =
      options_.rewriter != nullptr && options_.rewriter->groupText(state.groupSet, state.object, scratch_);
  // Before the first "g" line nothing needs to be said.
  if (!changed && state.groupSet == kNoIndex && groupText_.empty()) return;
  if (scratch_ == groupText_) return;
  groupText_ = scratch_;
  out_.text("g ");
  out_.endLine(groupText_);
}

std::string DocumentWriter::Run::smoothingText(std::int32_t index) const {
  if (index == kNoIndex) return smoothingText_.empty() ? "" : "off";
  const OBJSmoothing& smoothing = document_.smoothings()[static_cast<std::size_t>(index)];
  return smoothing.off ? "off" : std::to_string(smoothing.number);
}

void DocumentWriter::Run::writeState(ElementKind kind, std::uint32_t element) {
  const std::uint32_t index = stateOf(kind, element);
  const bool isNew = restate_ || index != lastState_;
  if (!isNew && options_.rewriter == nullptr) return;
  const ElementState& state = document_.states()[index];
  if (isNew) {
    if (options_.objects && state.object != written_.object) writeName(Division::object, state.object);
    writeGroups(state);
  }
  if (options_.smoothing && (options_.rewriter != nullptr || state.smoothing != written_.smoothing)) {
    std::string text = smoothingText(state.smoothing);
    if (options_.rewriter != nullptr) options_.rewriter->smoothingText(kind, element, text);
    if (text != smoothingText_) {
      smoothingText_ = std::move(text);
      out_.text("s ");
      out_.endLine(smoothingText_);
    }
  }
  if (isNew && options_.materials && state.material != written_.material) {
    writeName(Division::material, state.material);
  }
  written_ = state;
  lastState_ = index;
  restate_ = false;
}

inline char* DocumentWriter::Run::writeCorner(char* out, const ElementTable& table,
                                              std::uint32_t corner) const {
  const auto number = [&](std::size_t kind, std::int32_t index) {
    const auto i = static_cast<std::uint32_t>(index);
    out = formatUnsigned(out, allVectors_ ? i + 1 : writer_.newIndices_[kind][i]);
  };
  *out++ = ' ';
  number(0, table.vertexColumn()[corner]);
  const std::int32_t texture =
      dropTextures_ || table.textureColumn().empty() ? kNoIndex : table.textureColumn()[corner];
  const std::int32_t normal =
      dropNormals_ || table.normalColumn().empty() ? kNoIndex : table.normalColumn()[corner];
  if (texture != kNoIndex) {
    *out++ = '/';
    number(1, texture);
  }
  if (normal != kNoIndex) {
    *out++ = '/';
    if (texture == kNoIndex) *out++ = '/';
    number(2, normal);
  }
  return out;
}

/// Writes an element, or the pieces that it is cut into.
void DocumentWriter::Run::writeCorners(ElementKind kind, std::uint32_t element,
                                       const std::vector<std::uint32_t>* pieces) {
  constexpr std::size_t kCornerBytes = 3 * kMaxNumberText + 4;
  const ElementTable& table = document_.elements(kind);
  const auto k = static_cast<std::size_t>(kind);
  const std::uint32_t begin = table.begin(element);
  const std::uint32_t count =
      pieces != nullptr ? static_cast<std::uint32_t>(pieces->size()) : table.cornerCount(element);
  bool open = false;
  for (std::uint32_t i = 0; i < count; ++i) {
    char* out = out_.reserve(kCornerBytes);
    if (pieces != nullptr && (*pieces)[i] == Rewriter::kPieceEnd) {
      if (open) *out++ = '\n';
      open = false;
    } else {
      if (!open) {
        *out++ = kElementWords[k];
        ++counts_.elements[k];
      }
      open = true;
      out = writeCorner(out, table, begin + (pieces != nullptr ? (*pieces)[i] : i));
    }
    out_.advanceTo(out);
  }
  if (open) out_.character('\n');
}

}  // namespace WavefrontOBJ
