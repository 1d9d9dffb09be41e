#include "document/Split.h"

#include <algorithm>
#include <map>
#include <new>

#include "document/DocumentWriterRun.h"
#include "document/LineText.h"
#include "document/LogicalLine.h"
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

/// What all parts say alike, and the items of one.
PartNotes notesOf(const OBJDocument& document, std::uint64_t checksum) {
  PartNotes notes;
  notes.document = checksum;
  for (const VectorKind kind : kVectors)
    notes.totals[static_cast<std::size_t>(kind)] = document.vectorCount(kind);
  notes.totals[kItemRow] = itemCount(document);
  return notes;
}

void addAll(std::vector<IndexRange>& ranges, std::uint32_t count) {
  if (count > 0) ranges = {{0, count - 1}};
}

std::vector<IndexRange> itemRanges(const OBJDocument& document, const ElementLists& lists) {
  std::vector<std::uint32_t> items;
  const auto add = [&](ElementKind kind, const std::vector<std::uint32_t>& list) {
    for (const std::uint32_t i : list) items.push_back(itemNumber(document, kind, i));
  };
  add(ElementKind::face, lists.faces);
  add(ElementKind::line, lists.lines);
  add(ElementKind::point, lists.points);
  if (!lists.lines.empty() || !lists.points.empty()) std::sort(items.begin(), items.end());
  std::vector<IndexRange> ranges;
  for (const std::uint32_t item : items) addIndex(ranges, item);
  return ranges;
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

Result DocumentSplit::takeChecksum() {
  if (checksum_) return {};
  std::uint64_t sum = 0;
  Result result = checksum(document_, sum);
  if (result) checksum_ = sum;
  return result;
}

Result DocumentSplit::writePart(std::size_t part, WriteOptions options, Sink& sink, WriteCounts* counts) {
  try {
    if (Result result = takeChecksum(); !result) return result;
    const ElementLists lists = elements(part);
    options.partNotes = [&](const std::array<std::span<const std::uint32_t>, 3>& used) {
      PartNotes notes = notesOf(document_, *checksum_);
      for (std::size_t k = 0; k < used.size(); ++k) {
        if (options.keepOrder) {
          addAll(notes.ranges[k], notes.totals[k]);
          used_[k].assign(used_[k].size(), true);
        }
        for (const std::uint32_t i : used[k]) {
          addIndex(notes.ranges[k], i);
          used_[k][i] = true;
        }
      }
      notes.ranges[kItemRow] = itemRanges(document_, lists);
      return noteLines(notes);
    };
    return writer_.write(lists, options, sink, counts);
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, document_.source().name() + ": out of memory"};
  }
}

bool DocumentSplit::inRest(VectorKind kind, std::uint32_t index) const {
  return !document_.statements().empty() || !used_[static_cast<std::size_t>(kind)][index];
}

bool DocumentSplit::hasRest() const {
  return !document_.statements().empty() || std::any_of(used_.begin(), used_.end(), [](const auto& used) {
    return std::find(used.begin(), used.end(), false) != used.end();
  });
}

Result DocumentSplit::writeRest(WriteOptions options, Sink& sink, WriteCounts* counts) {
  try {
    if (Result result = takeChecksum(); !result) return result;
    PartNotes notes = notesOf(document_, *checksum_);
    for (const VectorKind kind : kVectors) {
      for (std::uint32_t i = 0; i < document_.vectorCount(kind); ++i) {
        if (inRest(kind, i)) addIndex(notes.ranges[static_cast<std::size_t>(kind)], i);
      }
    }
    std::uint32_t number = 0;
    for (const DocumentItem& item : itemsInOrder(document_)) {
      if (item.kind == DocumentItem::kStatement) addIndex(notes.ranges[kItemRow], number);
      ++number;
    }
    // A part of nothing has the comments and the libraries.
    options.notes = noteLines(notes);
    options.keepOrder = false;
    WriteCounts written;
    if (Result result = writer_.write({}, options, sink, &written); !result) return result;
    SinkBuffer out(sink);
    LineText lines(document_.source());
    std::string_view line;
    for (const VectorKind kind : kVectors) {
      const auto offsets = document_.vectorOffsets(kind);
      for (std::uint32_t i = 0; i < offsets.size(); ++i) {
        if (!inRest(kind, i)) continue;
        if (Result result = lines.fetch(offsets[i], line); !result) return result;
        writeVectorLine(out, kind, line);
        ++written.vectors[static_cast<std::size_t>(kind)];
      }
    }
    for (const OBJStatement& statement : document_.statements()) {
      if (Result result = lines.fetch(statement.offset, line); !result) return result;
      out.endLine(absoluteStatement(document_, statement.offset, joinedText(line)));
    }
    out.flush();
    written.bytes += out.bytes();
    if (counts != nullptr) *counts = written;
    return out.result();
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, document_.source().name() + ": out of memory"};
  }
}

}  // namespace WavefrontOBJ
