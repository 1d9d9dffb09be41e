#include "document/Split.h"

#include <algorithm>
#include <map>
#include <new>
#include <numeric>

#include "document/PartNotes.h"

namespace WavefrontOBJ {
namespace {

constexpr std::array<VectorKind, kVectorKinds> kVectors = {VectorKind::position, VectorKind::texture,
                                                           VectorKind::normal, VectorKind::parameter};

std::vector<bool> marks(const std::vector<std::uint32_t>& indices, std::uint32_t count) {
  std::vector<bool> marked(count);
  for (const std::uint32_t i : indices) marked[i] = true;
  return marked;
}

template <class Predicate>
std::vector<std::uint32_t> indicesWhere(const std::vector<bool>& marked, Predicate wanted) {
  std::vector<std::uint32_t> indices;
  for (std::uint32_t i = 0; i < marked.size(); ++i) {
    if (wanted(marked[i])) indices.push_back(i);
  }
  return indices;
}

}  // namespace

DocumentSplit::DocumentSplit(const OBJDocument& document, Division by, const Selection& within)
    : document_(document), writer_(document) {
  for (std::size_t k = 0; k < kElementKinds; ++k)
    members_[k] = document.members(by, static_cast<ElementKind>(k));
  const ElementLists chosen = select(document, within);
  if (!chosen.whole) {
    chosen_ = {marks(chosen.faces, document.faces().size()), marks(chosen.lines, document.lines().size()),
               marks(chosen.points, document.points().size())};
  }
  const std::size_t rows = document.rowCount(by);
  std::map<std::uint64_t, std::size_t> smoothing;  // the part of each number
  for (std::size_t row = 0; row <= rows; ++row) {
    const std::int32_t index = row < rows ? static_cast<std::int32_t>(row) : kNoIndex;
    std::optional<std::string> name;
    const auto unwanted = [index](const std::vector<std::int32_t>& list) {
      return !list.empty() && std::find(list.begin(), list.end(), index) == list.end();
    };
    if (by == Division::smoothing) {
      const std::uint64_t number = row < rows ? document.smoothings()[row].number : 0;
      const auto [known, isNew] = smoothing.emplace(number, parts_.size());
      if (!isNew) {
        parts_[known->second].rows.push_back(row);
        continue;
      }
      if (number != 0) name = std::to_string(number);
    } else if (by == Division::group) {
      if (index == kNoIndex || unwanted(within.groups)) continue;
      name = document.groups()[row].text;
    } else {
      const bool material = by == Division::material;
      if (unwanted(material ? within.materials : within.objects)) continue;
      if (index != kNoIndex) name = (material ? document.materials() : document.objects())[row].text;
    }
    parts_.push_back({std::move(name), {row}});
  }
  const auto isEmpty = [this](const Part& part) {
    return elements(static_cast<std::size_t>(&part - parts_.data())).empty();
  };
  std::vector<Part> kept;
  for (const Part& part : parts_) {
    if (!isEmpty(part)) kept.push_back(part);
  }
  parts_ = std::move(kept);
  for (const VectorKind kind : kVectors)
    used_[static_cast<std::size_t>(kind)].resize(document.vectorCount(kind));
  for (std::size_t kind = 0; kind < kLineKinds; ++kind) numbers_[kind].reserve(lineCount(document, kind));
  std::uint32_t number = 0;
  for (const DocumentLine& line : linesInOrder(document)) numbers_[line.kind].push_back(number++);
}

ElementLists DocumentSplit::elements(std::size_t part) const {
  ElementLists lists;
  std::vector<std::uint32_t>* const kinds[kElementKinds] = {&lists.faces, &lists.lines, &lists.points};
  for (std::size_t k = 0; k < kElementKinds; ++k) {
    for (const std::size_t row : parts_[part].rows) {
      for (const std::uint32_t i : members_[k].row(row)) {
        if (chosen_[k].empty() || chosen_[k][i]) kinds[k]->push_back(i);
      }
    }
    if (parts_[part].rows.size() > 1) std::sort(kinds[k]->begin(), kinds[k]->end());
  }
  return lists;
}

/// The notes of a part with these lines: their indices by kind.
Result DocumentSplit::notesOf(const LineSpans& lines, std::vector<std::string>& text) {
  if (!checksum_) {
    std::uint64_t sum = 0;
    if (Result result = checksum(document_, sum); !result) return result;
    checksum_ = sum;
  }
  std::vector<std::uint32_t> numbers;
  for (std::size_t kind = 0; kind < kLineKinds; ++kind) {
    for (const std::uint32_t i : lines[kind]) numbers.push_back(numbers_[kind][i]);
  }
  if (!std::is_sorted(numbers.begin(), numbers.end())) std::sort(numbers.begin(), numbers.end());
  PartNotes notes;
  notes.document = *checksum_;
  notes.total = lineCount(document_);
  for (const std::uint32_t number : numbers) addIndex(notes.lines, number);
  text = noteLines(notes);
  return {};
}

Result DocumentSplit::writePart(std::size_t part, WriteOptions options, Sink& sink, WriteCounts* counts) {
  try {
    const ElementLists lists = elements(part);
    Result noted;
    options.partNotes = [&](const std::array<std::span<const std::uint32_t>, 3>& used) {
      LineSpans lines;
      std::array<std::vector<std::uint32_t>, 3> all;
      for (std::size_t k = 0; k < used.size(); ++k) {
        if (options.keepOrder) all[k] = indicesWhere(used_[k], [](bool) { return true; });
        lines[k] = options.keepOrder ? all[k] : used[k];
        for (const std::uint32_t i : lines[k]) used_[k][i] = true;
      }
      const std::vector<std::uint32_t>* const kinds[kElementKinds] = {&lists.faces, &lists.lines,
                                                                      &lists.points};
      for (std::size_t k = 0; k < kElementKinds; ++k) lines[kFirstElementLine + k] = *kinds[k];
      std::vector<std::string> text;
      noted = notesOf(lines, text);
      return text;
    };
    Result result = writer_.write(lists, options, sink, counts);
    return noted ? result : noted;
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, document_.source().name() + ": out of memory"};
  }
}

bool DocumentSplit::hasRest() const {
  return !document_.statements().empty() || std::any_of(used_.begin(), used_.end(), [](const auto& used) {
    return std::find(used.begin(), used.end(), false) != used.end();
  });
}

Result DocumentSplit::writeRest(WriteOptions options, Sink& sink, WriteCounts* counts) {
  try {
    // Statements may refer to any.
    const bool all = !document_.statements().empty();
    std::array<std::vector<std::uint32_t>, kVectorKinds> vectors;
    LineSpans lines;
    for (std::size_t k = 0; k < kVectorKinds; ++k) {
      vectors[k] = indicesWhere(used_[k], [all](bool used) { return all || !used; });
      lines[k] = vectors[k];
    }
    std::vector<std::uint32_t> statements(document_.statements().size());
    std::iota(statements.begin(), statements.end(), 0U);
    lines[kStatementLine] = statements;
    if (Result result = notesOf(lines, options.notes); !result) return result;
    return writer_.writeRest(vectors, options, sink, counts);
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, document_.source().name() + ": out of memory"};
  }
}

}  // namespace WavefrontOBJ
