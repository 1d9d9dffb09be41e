#include "document/Merge.h"

#include <algorithm>
#include <limits>
#include <map>
#include <new>
#include <optional>
#include <unordered_map>

#include "document/DocumentWriterRun.h"
#include "document/LineText.h"
#include "document/LogicalLine.h"
#include "document/PartNotes.h"
#include "document/VectorLines.h"
#include "obj/text/FormatNumber.h"

namespace WavefrontOBJ {
namespace {

constexpr std::uint32_t kNowhere = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kStatement = DocumentItem::kStatement;
/// Read ahead in each of what may be thousands of files.
constexpr std::size_t kMostBytes = std::size_t{64} * 1024;
constexpr char kElementWords[kElementKinds] = {'f', 'l', 'p'};

/// Calls visit(place in the part, place in the document) for each index of the ranges.
template <class Visit>
void forEachIndex(const std::vector<IndexRange>& ranges, Visit visit) {
  std::uint32_t at = 0;
  for (const IndexRange& range : ranges) {
    for (std::uint32_t i = range.first;; ++i) {
      visit(at++, i);
      if (i == range.last) break;
    }
  }
}

/// The words of a vertex line behind its keyword, however they are parted.
std::string vectorText(std::string_view line) {
  LineWords words(line);
  words.next();
  std::string text;
  for (std::string_view word = words.next(); !word.empty(); word = words.next()) {
    text.append(text.empty() ? "" : " ").append(word);
  }
  return text;
}

/// One of the documents that are merged.
struct Input {
  const OBJDocument* document = nullptr;
  PartNotes notes;  ///< of a document by itself: all of it
  LineText lines;
  /// Of each vertex line: first its place in the unit, then the index it gets.
  std::array<std::vector<std::uint32_t>, kVectorKinds> newIndex;
  std::vector<DocumentItem> items;

  explicit Input(const OBJDocument& d) : document(&d), lines(d.source(), kMostBytes) {}
};

/// Where something of a unit is found first.
struct Place {
  std::uint32_t input = kNowhere;
  std::uint32_t index = 0;
};

/// The inputs that are parts of one document, or one input by itself.
using Unit = std::vector<std::uint32_t>;

class Merger {
 public:
  Merger(std::span<const OBJDocument* const> documents, const MergeOptions& options, Sink& sink)
      : options_(options), out_(sink) {
    inputs_.reserve(documents.size());
    for (const OBJDocument* const document : documents) inputs_.emplace_back(*document);
  }

  Result run(MergeReport& report) {
    Result result = findUnits();
    if (result) result = writeHead();
    for (std::size_t k = 0; result && k < kVectorKinds; ++k) {
      for (std::size_t u = 0; result && u < units_.size(); ++u)
        result = writeVectors(units_[u], static_cast<VectorKind>(k));
      known_.clear();
    }
    for (std::size_t u = 0; result && u < units_.size(); ++u) result = writeItems(units_[u]);
    out_.flush();
    report_.counts.bytes = out_.bytes();
    report = report_;
    return result ? out_.result() : result;
  }

 private:
  Result findUnits();
  Result writeHead();
  Result writeComments(Unit& unit);
  void writeLibraries();
  Result writeVectors(const Unit& unit, VectorKind kind);
  Result compare(const Unit& unit, VectorKind kind, const std::vector<Place>& places);
  std::uint32_t weldOrAdd(std::size_t kind, const std::string& text);
  Result writeItems(const Unit& unit);
  void writeState(std::uint32_t input, const ElementState& state);
  void writeElement(const Input& input, ElementKind kind, std::uint32_t index);
  Result writeStatement(Input& input, std::uint32_t index);
  /// Counts one more line. False when the work has to stop.
  bool advance();

  const MergeOptions& options_;
  SinkBuffer out_;
  MergeReport report_;
  std::vector<Input> inputs_;
  std::vector<Unit> units_;
  std::uint64_t done_ = 0;
  std::uint64_t total_ = 0;

  /// For welding: the index of each text, and of the text with how often it came before in one unit.
  std::unordered_map<std::string, std::uint32_t> known_;

  // What the lines so far put in force.
  std::string groups_;
  std::string smoothing_;
  std::string material_;
  std::string object_;
};

bool Merger::advance() {
  if (done_++ % kProgressLines != 0 || !options_.progress) return static_cast<bool>(out_.result());
  return out_.result() &&
         options_.progress(static_cast<double>(done_) / static_cast<double>(std::max(total_, done_)));
}

Result Merger::findUnits() {
  std::map<std::uint64_t, std::size_t> known;
  for (std::uint32_t i = 0; i < inputs_.size(); ++i) {
    Input& input = inputs_[i];
    const OBJDocument& document = *input.document;
    auto found = PartNotesFound::none;
    if (!options_.concatenate) {
      if (Result result = readPartNotes(document, input.notes, found); !result) return result;
    }
    if (found == PartNotesFound::damaged) {
      return {Status::changed, document.source().name() +
                                   ": does not hold what its note of the part it is says; it was changed"};
    }
    input.items = itemsInOrder(document);
    total_ += input.items.size();
    for (std::size_t k = 0; k < kVectorKinds; ++k) total_ += document.vectorCount(static_cast<VectorKind>(k));
    if (found == PartNotesFound::good) {
      const auto [unit, isNew] = known.emplace(input.notes.document, units_.size());
      if (!isNew && inputs_[units_[unit->second][0]].notes.totals == input.notes.totals) {
        units_[unit->second].push_back(i);
        continue;
      }
      ++report_.documents;
    } else {
      input.notes = {};
      for (std::size_t k = 0; k < kVectorKinds; ++k)
        input.notes.totals[k] = document.vectorCount(static_cast<VectorKind>(k));
      input.notes.totals[kItemRow] = static_cast<std::uint32_t>(input.items.size());
      for (std::size_t row = 0; row <= kItemRow; ++row) {
        if (input.notes.totals[row] > 0) input.notes.ranges[row] = {{0, input.notes.totals[row] - 1}};
      }
    }
    units_.push_back({i});
  }
  return {};
}

Result Merger::writeHead() {
  for (Unit& unit : units_) {
    if (Result result = writeComments(unit); !result) return result;
  }
  writeLibraries();
  return {};
}

/// The comments of the first file of the unit that has any of its own.
Result Merger::writeComments(Unit& unit) {
  for (const std::uint32_t i : unit) {
    Input& input = inputs_[i];
    bool any = false;
    for (const std::uint64_t offset : input.document->comments().first(input.document->headCommentCount())) {
      std::string_view line;
      if (Result result = input.lines.fetch(offset, line); !result) return result;
      if (isPartNote(line)) continue;
      any = true;
      out_.text(joinedText(line));
      out_.character('\n');
    }
    if (any) break;
  }
  return {};
}

/// The libraries of the first file of each unit that has any, but for those that a unit before it has.
void Merger::writeLibraries() {
  std::vector<std::string> known;
  for (const Unit& unit : units_) {
    const auto has = [this](std::uint32_t i) { return !inputs_[i].document->libraries().empty(); };
    const auto input = std::find_if(unit.begin(), unit.end(), has);
    if (input == unit.end()) continue;
    const std::vector<OBJLibrary>& libraries = inputs_[*input].document->libraries();
    const auto before = static_cast<std::ptrdiff_t>(known.size());
    std::string text;
    const auto endLine = [&] {
      if (!text.empty()) out_.endLine(text);
      text.clear();
    };
    for (std::size_t l = 0; l < libraries.size(); ++l) {
      const std::string& name =
          options_.libraries.empty() ? libraries[l].text : options_.libraries[*input][l];
      if (!libraries[l].sameLine) endLine();
      if (name.empty() || std::find(known.begin(), known.begin() + before, name) != known.begin() + before)
        continue;
      text += (text.empty() ? "mtllib " : " ") + name;
      known.push_back(name);
    }
    endLine();
  }
}

/// The index of a line with these words in a unit before this one, or that of a new line.
std::uint32_t Merger::weldOrAdd(std::size_t kind, const std::string& text) {
  const auto [known, isNew] = known_.emplace(text, report_.counts.vectors[kind]);
  if (isNew) ++report_.counts.vectors[kind];
  return known->second;
}

Result Merger::writeVectors(const Unit& unit, VectorKind kind) {
  const auto k = static_cast<std::size_t>(kind);
  std::vector<Place> places(inputs_[unit[0]].notes.totals[k]);
  for (const std::uint32_t i : unit) {
    Input& input = inputs_[i];
    input.newIndex[k].resize(input.document->vectorCount(kind));
    forEachIndex(input.notes.ranges[k], [&](std::uint32_t at, std::uint32_t place) {
      input.newIndex[k][at] = place;
      if (places[place].input == kNowhere) places[place] = {i, at};
    });
  }
  if (Result result = compare(unit, kind, places); !result) return result;
  // Of lines with the same words in one unit, the n-th is welded to the n-th of another.
  std::unordered_map<std::string, std::uint32_t> repeats;
  std::vector<std::uint32_t> newIndex(places.size(), kNowhere);
  for (std::size_t p = 0; p < places.size(); ++p) {
    if (places[p].input == kNowhere) {
      ++report_.missing;
      continue;
    }
    Input& input = inputs_[places[p].input];
    std::string_view line;
    Result result = input.lines.fetch(input.document->vectorOffsets(kind)[places[p].index], line);
    if (!result) return result;
    if (!advance()) return out_.result() ? Result{Status::cancelled, "cancelled"} : out_.result();
    std::uint32_t& count = report_.counts.vectors[k];
    if (options_.weld) {
      std::string text = vectorText(line);
      const std::uint32_t repeat = repeats[text]++;
      if (repeat > 0) text += "\n" + std::to_string(repeat);
      const std::uint32_t before = count;
      newIndex[p] = weldOrAdd(k, text);
      if (count == before) {
        ++report_.welded;
        continue;
      }
    } else {
      newIndex[p] = count++;
    }
    writeVectorLine(out_, kind, line);
  }
  for (const std::uint32_t i : unit) {
    for (std::uint32_t& index : inputs_[i].newIndex[k]) index = newIndex[index];
  }
  return {};
}

/// Counts the lines that parts have in common but not alike.
Result Merger::compare(const Unit& unit, VectorKind kind, const std::vector<Place>& places) {
  const auto k = static_cast<std::size_t>(kind);
  std::vector<bool> differs(places.size());
  for (const std::uint32_t i : unit) {
    Input& input = inputs_[i];
    for (std::uint32_t at = 0; at < input.newIndex[k].size(); ++at) {
      const Place& first = places[input.newIndex[k][at]];
      if (first.input == i) continue;
      Input& other = inputs_[first.input];
      std::string_view ours;
      std::string_view theirs;
      const std::uint64_t offset = input.document->vectorOffsets(kind)[at];
      if (Result result = input.lines.fetch(offset, ours); !result) return result;
      if (Result result = other.lines.fetch(other.document->vectorOffsets(kind)[first.index], theirs);
          !result)
        return result;
      if (ours == theirs || vectorText(ours) == vectorText(theirs) || differs[input.newIndex[k][at]])
        continue;
      differs[input.newIndex[k][at]] = true;
      if (report_.differing++ > 0) continue;
      std::uint64_t number = 0;
      if (Result result = input.document->lineNumber(offset, number); !result) return result;
      report_.firstDiffering = input.document->source().name() + ":" + std::to_string(number);
    }
  }
  return {};
}

Result Merger::writeItems(const Unit& unit) {
  std::vector<Place> places(inputs_[unit[0]].notes.totals[kItemRow]);
  for (const std::uint32_t i : unit) {
    forEachIndex(inputs_[i].notes.ranges[kItemRow], [&](std::uint32_t at, std::uint32_t place) {
      if (places[place].input == kNowhere) places[place] = {i, at};
    });
  }
  std::uint32_t lastInput = kNowhere;
  std::uint32_t lastState = 0;
  for (const Place& place : places) {
    if (place.input == kNowhere) {
      ++report_.missing;
      continue;
    }
    if (!advance()) return out_.result() ? Result{Status::cancelled, "cancelled"} : out_.result();
    Input& input = inputs_[place.input];
    const DocumentItem item = input.items[place.index];
    if (item.kind == kStatement) {
      if (Result result = writeStatement(input, item.index); !result) return result;
      continue;
    }
    const auto kind = static_cast<ElementKind>(item.kind);
    const std::uint32_t state = input.document->elements(kind).stateOf(item.index);
    if (place.input != lastInput || state != lastState)
      writeState(place.input, input.document->states()[state]);
    lastInput = place.input;
    lastState = state;
    writeElement(input, kind, item.index);
  }
  return {};
}

void Merger::writeState(std::uint32_t i, const ElementState& state) {
  const OBJDocument& document = *inputs_[i].document;
  const auto change = [this](std::string& current, std::string_view keyword, std::string_view name) {
    if (name == current) return;
    current = name;
    out_.text(keyword);
    if (!name.empty()) out_.character(' ');
    out_.endLine(name);
  };
  const auto nameOf = [](const std::vector<OBJName>& names, std::int32_t index) {
    return index == kNoIndex ? std::string_view() : names[static_cast<std::size_t>(index)].text;
  };
  change(object_, "o", nameOf(document.objects(), state.object));
  // Before the first "g" and "s" lines nothing needs to be said; behind them it does.
  std::string text;
  if (state.groupSet != kNoIndex || !groups_.empty()) {
    for (const std::int32_t group : document.groupSet(state.groupSet)) {
      if (!text.empty()) text += ' ';
      text += document.groups()[static_cast<std::size_t>(group)].text;
    }
  }
  change(groups_, "g", text);
  text.clear();
  if (state.smoothing != kNoIndex) {
    const OBJSmoothing& smoothing = document.smoothings()[static_cast<std::size_t>(state.smoothing)];
    text = smoothing.off ? "off" : std::to_string(smoothing.number);
  } else if (!smoothing_.empty()) {
    text = "off";
  }
  change(smoothing_, "s", text);
  change(material_, "usemtl", nameOf(document.materials(), state.material));
}

void Merger::writeElement(const Input& input, ElementKind kind, std::uint32_t index) {
  const ElementTable& table = input.document->elements(kind);
  const auto vertices = table.vertices(index);
  const auto textures = table.textures(index);
  const auto normals = table.normals(index);
  out_.character(kElementWords[static_cast<std::size_t>(kind)]);
  for (std::size_t c = 0; c < vertices.size(); ++c) {
    constexpr std::size_t kCornerBytes = 3 * kMaxNumberText + 4;
    char* out = out_.reserve(kCornerBytes);
    const auto number = [&](VectorKind vector, std::int32_t i) {
      out = formatUnsigned(out,
                           input.newIndex[static_cast<std::size_t>(vector)][static_cast<std::size_t>(i)] + 1);
    };
    const bool texture = !textures.empty() && textures[c] != kNoIndex;
    const bool normal = !normals.empty() && normals[c] != kNoIndex;
    *out++ = ' ';
    number(VectorKind::position, vertices[c]);
    if (texture || normal) *out++ = '/';
    if (texture) number(VectorKind::texture, textures[c]);
    if (normal) {
      *out++ = '/';
      number(VectorKind::normal, normals[c]);
    }
    out_.advanceTo(out);
  }
  out_.character('\n');
  ++report_.counts.elements[static_cast<std::size_t>(kind)];
}

Result Merger::writeStatement(Input& input, std::uint32_t index) {
  const std::uint64_t offset = input.document->statements()[index].offset;
  std::string_view line;
  if (Result result = input.lines.fetch(offset, line); !result) return result;
  const auto map = [&input](VectorKind kind, std::int64_t i) {
    const std::vector<std::uint32_t>& newIndex = input.newIndex[static_cast<std::size_t>(kind)];
    return i < 0 || i >= static_cast<std::int64_t>(newIndex.size())
               ? i
               : std::int64_t{newIndex[static_cast<std::size_t>(i)]};
  };
  out_.endLine(absoluteStatement(*input.document, offset, joinedText(line), map));
  return {};
}

}  // namespace

Result merge(std::span<const OBJDocument* const> documents, const MergeOptions& options, Sink& sink,
             MergeReport* report) {
  try {
    MergeReport own;
    return Merger(documents, options, sink).run(report != nullptr ? *report : own);
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, "not enough memory to merge"};
  }
}

}  // namespace WavefrontOBJ
