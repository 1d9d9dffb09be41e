#include "document/OBJDocument.h"

#include <algorithm>
#include <new>
#include <utility>

#include "ThreadCount.h"
#include "document/DocumentReader.h"
#include "document/LineText.h"
#include "document/LogicalLine.h"

namespace WavefrontOBJ {

Result OBJDocument::read(const std::string& path, const DocumentReadOptions& options) {
  *this = OBJDocument();
  Result result = source_.open(path);
  return result ? readSource(options) : result;
}

Result OBJDocument::readDescriptor(int descriptor, const std::string& name,
                                   const DocumentReadOptions& options) {
  *this = OBJDocument();
  Result result = source_.readDescriptor(descriptor, name);
  return result ? readSource(options) : result;
}

Result OBJDocument::readBytes(std::string bytes, const std::string& name,
                              const DocumentReadOptions& options) {
  *this = OBJDocument();
  source_.hold(std::move(bytes), name);
  return readSource(options);
}

Result OBJDocument::readSource(const DocumentReadOptions& options) {
  findings_ = Findings(options.placesPerKind);
  Result result;
  if (options.fastPath && source_.size() >= options.threadBytes)
    threads_ = options.threads != 0 ? options.threads : threadCount();
  try {
    result = DocumentReader(*this, options).read();
  } catch (const std::bad_alloc&) {
    // Rows may have been added to some columns only.
    Source source = std::move(source_);
    *this = OBJDocument();
    source_ = std::move(source);
    return {Status::outOfMemory, source_.name() + ": out of memory"};
  }
  for (auto& offsets : vectors_) offsets.shrink();
  for (ElementTable& table : elements_) table.shrink();
  statements_.shrink();
  comments_.shrink();
  emptyGroups_.shrink();
  findings_.sortByPlace();
  return result;
}

std::span<const std::int32_t> OBJDocument::groupSet(std::int32_t set) const {
  if (set == kNoIndex) return {&defaultGroup_, defaultGroup_ == kNoIndex ? 0U : 1U};
  const auto i = static_cast<std::size_t>(set);
  return {groupSetNames_.data() + groupSetBegins_[i], groupSetBegins_[i + 1] - groupSetBegins_[i]};
}

std::size_t OBJDocument::rowCount(Division division) const {
  switch (division) {
    case Division::group:
      return groups_.size();
    case Division::smoothing:
      return smoothings_.size();
    case Division::material:
      return materials_.size();
    case Division::object:
      break;
  }
  return objects_.size();
}

std::int32_t OBJDocument::find(Division division, std::string_view name) const {
  if (division == Division::smoothing) return kNoIndex;
  const std::vector<OBJName>& names = division == Division::group      ? groups_
                                      : division == Division::material ? materials_
                                                                       : objects_;
  const auto found =
      std::find_if(names.begin(), names.end(), [&](const OBJName& row) { return row.text == name; });
  return found == names.end() ? kNoIndex : static_cast<std::int32_t>(found - names.begin());
}

OBJMembers OBJDocument::members(Division division, ElementKind kind) const {
  const ElementTable& table = elements(kind);
  const std::size_t none = rowCount(division);
  OBJMembers members;
  members.begins.assign(none + 2, 0);
  // Calls visit(row, first element, element behind the last) for each run and each of its rows.
  const auto forEachRow = [&](auto visit) {
    const std::span<const StateRun> runs = table.runs();
    for (std::size_t r = 0; r < runs.size(); ++r) {
      const std::uint32_t end = r + 1 < runs.size() ? runs[r + 1].first : table.size();
      const ElementState& state = states_[runs[r].state];
      if (division == Division::group) {
        for (const std::int32_t group : groupSet(state.groupSet)) {
          visit(static_cast<std::size_t>(group), runs[r].first, end);
        }
        continue;
      }
      const std::int32_t row = division == Division::smoothing  ? state.smoothing
                               : division == Division::material ? state.material
                                                                : state.object;
      visit(row == kNoIndex ? none : static_cast<std::size_t>(row), runs[r].first, end);
    }
  };
  forEachRow([&](std::size_t row, std::uint32_t first, std::uint32_t end) {
    members.begins[row + 1] += end - first;
  });
  for (std::size_t i = 1; i < members.begins.size(); ++i) members.begins[i] += members.begins[i - 1];
  members.indices.resize(static_cast<std::size_t>(members.begins.back()));
  std::vector<std::uint64_t> next(members.begins.begin(), members.begins.end() - 1);
  forEachRow([&](std::size_t row, std::uint32_t first, std::uint32_t end) {
    for (; first < end; ++first) members.indices[static_cast<std::size_t>(next[row]++)] = first;
  });
  return members;
}

Result OBJDocument::lineText(std::uint64_t offset, std::string& text) const {
  LineText lines(source_, 256);
  std::string_view line;
  Result result = lines.fetch(offset, line);
  if (result) text = joinedText(line);
  return result;
}

Result OBJDocument::lineNumber(std::uint64_t offset, std::uint64_t& number) const {
  const LineMark* const behind =
      std::upper_bound(lineMarks_.begin(), lineMarks_.end(), offset,
                       [](std::uint64_t place, const LineMark& mark) { return place < mark.offset; });
  number = 0;
  if (behind == lineMarks_.begin() || offset > source_.size()) return {};
  const LineMark& mark = behind[-1];
  std::string text;
  try {
    text.resize(static_cast<std::size_t>(offset - mark.offset));
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, source_.name() + ": out of memory"};
  }
  Result result = source_.read(mark.offset, text.data(), text.size());
  if (result) number = mark.number + countLineEnds(text.data(), text.data() + text.size());
  return result;
}

std::size_t OBJDocument::memoryBytes() const {
  std::size_t bytes = states_.memoryBytes() + groupSetBegins_.memoryBytes() + groupSetNames_.memoryBytes() +
                      statements_.memoryBytes() + comments_.memoryBytes() + emptyGroups_.memoryBytes() +
                      lineMarks_.memoryBytes();
  for (const auto& offsets : vectors_) bytes += offsets.memoryBytes();
  for (const ElementTable& table : elements_) bytes += table.memoryBytes();
  return bytes;
}

}  // namespace WavefrontOBJ
