#include "document/Lint.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

#include "document/Materials.h"
#include "document/NumberText.h"
#include "document/VectorLines.h"

namespace WavefrontOBJ {
namespace {

/// Shares of the whole for the progress.
constexpr double kNumbersEnd = 0.7;

struct NumberRule {
  VectorKind kind;
  std::size_t least;  ///< numbers that have to be there
  std::size_t most;   ///< numbers that programs know of
};
/// Positions may have a weight, or a colour with or without an opacity.
constexpr NumberRule kNumberRules[] = {{VectorKind::position, 3, 7},
                                       {VectorKind::texture, 1, 3},
                                       {VectorKind::normal, 3, 3},
                                       {VectorKind::parameter, 1, 3}};

class Linter {
 public:
  Linter(const OBJDocument& document, const LintOptions& options, Findings& findings)
      : document_(document), options_(options), findings_(findings) {}

  Result numbers();
  Result geometry();
  void materials();

 private:
  void number(const NumberRule& rule, std::uint32_t index, std::string_view line, LineWords& words);
  void add(FindingKind kind, std::uint64_t offset, std::uint64_t column, std::string_view text);
  void addCount(FindingKind kind, std::uint64_t count);
  bool progress(double done) const { return !options_.progress || options_.progress(done); }
  Result cancelled() const { return {Status::cancelled, document_.source().name() + ": cancelled"}; }
  void unusedVertices();
  void duplicateFaces();
  Result coincidentVertices();

  const OBJDocument& document_;
  const LintOptions& options_;
  Findings& findings_;
};

/// `offset` is that of the line, `column` from 1 within it.
void Linter::add(FindingKind kind, std::uint64_t offset, std::uint64_t column, std::string_view text) {
  if (!findings_.keepsNext(kind)) {
    findings_.addUncounted(kind, 1);
    return;
  }
  std::uint64_t line = 0;
  // Without a line where the file cannot be read any more.
  static_cast<void>(document_.lineNumber(offset, line));
  findings_.add(kind, line, column, offset + (column > 0 ? column - 1 : 0), text);
}

/// For the file as a whole.
void Linter::addCount(FindingKind kind, std::uint64_t count) {
  if (count == 0) return;
  findings_.add(kind, 0, 0, 0, std::to_string(count));
  findings_.addUncounted(kind, count - 1);
}

void Linter::number(const NumberRule& rule, std::uint32_t index, std::string_view line, LineWords& words) {
  const std::uint64_t offset = document_.vectorOffsets(rule.kind)[index];
  const auto columnOf = [&](std::string_view word) {
    return static_cast<std::uint64_t>(word.data() - line.data()) + 1;
  };
  std::size_t count = 0;
  for (std::string_view word = words.nextValue(); !word.empty(); word = words.nextValue()) {
    if (++count == rule.most + 1) add(FindingKind::extraNumbers, offset, columnOf(word), word);
    const NumberForm form = numberForm(word);
    if (form == NumberForm::decimal) {
      // No number is out of range without an exponent or a lot of digits.
      const bool maybe = word.size() > 38 || word.find_first_of("eE") != std::string_view::npos;
      if (maybe && std::isinf(numberValue<float>(word))) {
        add(FindingKind::numberOutOfFloatRange, offset, columnOf(word), word);
      }
      continue;
    }
    add(form == NumberForm::comma       ? FindingKind::numberWithComma
        : form == NumberForm::notFinite ? FindingKind::numberNotFinite
                                        : FindingKind::numberMalformed,
        offset, columnOf(word), word);
  }
  if (const std::string_view comment = words.rest(); !comment.empty())
    add(FindingKind::trailingComment, offset, columnOf(comment), comment);
  if (count < rule.least) add(FindingKind::vectorNumberMissing, offset, 0, line);
  if (rule.kind == VectorKind::texture && count == 1) add(FindingKind::oneTextureValue, offset, 0, line);
}

Result Linter::numbers() {
  double from = 0;
  for (const NumberRule& rule : kNumberRules) {
    const double to = from + kNumbersEnd / static_cast<double>(std::size(kNumberRules));
    Result result = forEachVector(document_, rule.kind, ProgressRange(options_.progress, from, to),
                                  [&](std::uint32_t index, std::string_view line, LineWords& words) {
                                    number(rule, index, line, words);
                                  });
    if (!result) return result;
    from = to;
  }
  return {};
}

void Linter::unusedVertices() {
  std::vector<bool> used(document_.vectorCount(VectorKind::position));
  for (std::size_t k = 0; k < kElementKinds; ++k) {
    for (const std::int32_t index : document_.elements(static_cast<ElementKind>(k)).vertexColumn()) {
      used[static_cast<std::size_t>(index)] = true;
    }
  }
  const auto unused = std::count(used.begin(), used.end(), false);
  const auto last = std::find(used.rbegin(), used.rend(), true);
  // A file of vertices alone is a cloud of points, or a set of positions.
  if (last == used.rend()) return;
  addCount(FindingKind::unusedVertices, static_cast<std::uint64_t>(unused));
  addCount(FindingKind::trailingVertices, static_cast<std::uint64_t>(last - used.rbegin()));
}

std::size_t mixed(std::uint64_t hash, std::uint64_t value) {
  hash = (hash ^ value) * 0x9E3779B97F4A7C15U;
  return static_cast<std::size_t>(hash ^ (hash >> 32));
}

/// Faces with the same vertices, in whatever order.
void Linter::duplicateFaces() {
  const ElementTable& faces = document_.faces();
  std::vector<std::int32_t> a;
  std::vector<std::int32_t> b;
  const auto sorted = [&](std::uint32_t face, std::vector<std::int32_t>& row) -> std::vector<std::int32_t>& {
    const auto vertices = faces.vertices(face);
    row.assign(vertices.begin(), vertices.end());
    std::sort(row.begin(), row.end());
    return row;
  };
  const auto hash = [&](std::uint32_t face) {
    // A sum does not care for the order.
    std::uint64_t sum = faces.cornerCount(face);
    for (const std::int32_t vertex : faces.vertices(face))
      sum += mixed(0, static_cast<std::uint64_t>(vertex) + 1);
    return mixed(sum, 0);
  };
  const auto equal = [&](std::uint32_t x, std::uint32_t y) { return sorted(x, a) == sorted(y, b); };
  std::unordered_set<std::uint32_t, decltype(hash), decltype(equal)> known(faces.size(), hash, equal);
  for (std::uint32_t face = 0; face < faces.size(); ++face) {
    if (known.insert(face).second) continue;
    add(FindingKind::duplicateFaces, faces.offset(face), 0, {});
  }
}

Result Linter::coincidentVertices() {
  std::vector<double> xyz;
  Result result = document_.positions(xyz);
  if (!result) return result;
  const auto hash = [&](std::uint32_t i) {
    std::uint64_t sum = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      // Both zeros are one place.
      const double value = xyz[3 * std::size_t{i} + k] + 0.0;
      std::uint64_t bits = 0;
      std::memcpy(&bits, &value, sizeof bits);
      sum = mixed(sum, bits);
    }
    return static_cast<std::size_t>(sum);
  };
  const auto placeOf = [&](std::uint32_t i) { return std::span(xyz).subspan(3 * std::size_t{i}, 3); };
  const auto equal = [&](std::uint32_t a, std::uint32_t b) {
    return std::ranges::equal(placeOf(a), placeOf(b));
  };
  const auto count = document_.vectorCount(VectorKind::position);
  std::unordered_set<std::uint32_t, decltype(hash), decltype(equal)> known(count, hash, equal);
  std::uint64_t coincident = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto place = placeOf(i);
    // One that is no number is nowhere, and equal to none.
    if (std::any_of(place.begin(), place.end(), [](double value) { return std::isnan(value); })) continue;
    coincident += known.insert(i).second ? 0 : 1;
  }
  addCount(FindingKind::coincidentVertices, coincident);
  return result;
}

Result Linter::geometry() {
  unusedVertices();
  if (!progress(0.75)) return cancelled();
  duplicateFaces();
  if (!progress(0.85)) return cancelled();
  return coincidentVertices();
}

void Linter::materials() {
  const std::vector<std::string> paths = libraryPaths(document_);
  std::unordered_set<std::string> names;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    if (paths[i].empty()) continue;
    MaterialLibrary library;
    const Result result = readMaterialLibrary(paths[i], library);
    const OBJLibrary& named = document_.libraries()[i];
    if (!result) add(FindingKind::libraryUnreadable, named.offset, 0, named.text);
    for (MaterialLibrary::Name& name : library.materials) names.insert(std::move(name.text));
  }
  for (const OBJName& material : document_.materials()) {
    // One without a name has a finding of its own.
    if (!material.text.empty() && material.text != kNoMaterial && !names.contains(material.text))
      add(FindingKind::materialMissing, material.offset, 0, material.text);
  }
}

}  // namespace

Result lint(const OBJDocument& document, const LintOptions& options, Findings& findings) {
  try {
    Linter linter(document, options, findings);
    Result result;
    if (options.numbers) result = linter.numbers();
    if (result && options.geometry) result = linter.geometry();
    if (result && options.materials) linter.materials();
    findings.sortByPlace();
    return result;
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, document.source().name() + ": out of memory"};
  }
}

}  // namespace WavefrontOBJ
