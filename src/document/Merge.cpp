#include "document/Merge.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <new>
#include <optional>
#include <unordered_map>

#include "document/DocumentWriterRun.h"
#include "document/FileOrder.h"
#include "document/LineText.h"
#include "document/LogicalLine.h"
#include "document/PartNotes.h"
#include "document/VectorLines.h"
#include "obj/text/FormatNumber.h"

namespace WavefrontOBJ {
namespace {

constexpr std::uint32_t kNowhere = std::numeric_limits<std::uint32_t>::max();
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
  LineText text;
  std::vector<DocumentLine> lines;
  std::vector<Aside> asides;
  std::size_t aside = 0;  ///< the next one
  /// The index that each vertex line gets.
  std::array<std::vector<std::uint32_t>, kVectorKinds> newIndex;

  explicit Input(const OBJDocument& d) : document(&d), text(d.source(), kMostBytes) {}
  std::uint64_t offset(std::uint32_t line) const {
    return lineOffset(*document, lines[line].kind, lines[line].index);
  }
};

/// Where a line of a unit is found first.
struct Place {
  std::uint32_t input = kNowhere;
  std::uint32_t line = 0;
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
    for (std::size_t u = 0; result && u < units_.size(); ++u) {
      std::vector<Place> places;
      result = findPlaces(units_[u], places);
      if (result) result = numberVectors(units_[u], places);
      if (result) result = writeLines(units_[u], places);
    }
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
  Result findPlaces(const Unit& unit, std::vector<Place>& places);
  Result compare(std::uint32_t input, std::uint32_t line, const Place& first, bool& differs);
  Result numberVectors(const Unit& unit, const std::vector<Place>& places);
  std::uint32_t weldOrAdd(std::size_t kind, const std::string& text);
  Result writeLines(const Unit& unit, const std::vector<Place>& places);
  Result writeAsides(Input& input, std::uint64_t anchor);
  Result writeLine(std::uint32_t input, std::uint32_t line);
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
  std::array<std::uint32_t, kVectorKinds> written_{};

  // What the lines so far put in force.
  std::string groups_;
  std::string smoothing_;
  std::optional<std::string> material_;
  std::optional<std::string> object_;
  std::uint32_t lastInput_ = kNowhere;
  std::uint32_t lastState_ = 0;
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
    input.lines = linesInOrder(document);
    total_ += input.lines.size();
    const bool part = found == PartNotesFound::good;
    input.asides = asidesOf(document, part ? input.notes.comments : document.headCommentCount());
    if (part) {
      const auto [unit, isNew] = known.emplace(input.notes.document, units_.size());
      if (!isNew && inputs_[units_[unit->second][0]].notes.total == input.notes.total) {
        units_[unit->second].push_back(i);
        continue;
      }
      ++report_.documents;
    } else {
      input.notes = {};
      input.notes.total = static_cast<std::uint32_t>(input.lines.size());
      if (input.notes.total > 0) input.notes.lines = {{0, input.notes.total - 1}};
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

/// The comments at the head of the first file of the unit: its own, which stand in front of the notes.
Result Merger::writeComments(Unit& unit) {
  Input& input = inputs_[unit[0]];
  const std::size_t count =
      input.notes.comments > 0 ? input.notes.comments : input.document->headCommentCount();
  for (const std::uint64_t offset : input.document->comments().first(count)) {
    std::string_view line;
    if (Result result = input.text.fetch(offset, line); !result) return result;
    if (isPartNote(line)) continue;
    out_.text(joinedText(line));
    out_.character('\n');
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
    const bool own = options_.libraries.empty() || options_.libraries[*input].empty();
    for (std::size_t l = 0; l < libraries.size(); ++l) {
      const std::string& name = own ? libraries[l].text : options_.libraries[*input][l];
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

/// Fills `places` with where each line of the unit is found first.
Result Merger::findPlaces(const Unit& unit, std::vector<Place>& places) {
  places.resize(inputs_[unit[0]].notes.total);
  std::vector<bool> differs(places.size());
  for (const std::uint32_t i : unit) {
    Result result;
    forEachIndex(inputs_[i].notes.lines, [&](std::uint32_t line, std::uint32_t place) {
      Place& first = places[place];
      if (first.input == kNowhere) {
        first = {i, line};
      } else if (result) {
        bool differ = differs[place];
        result = compare(i, line, first, differ);
        differs[place] = differ;
      }
    });
    if (!result) return result;
  }
  return {};
}

/// Compares a line of an input with what another one has in its place. Counts vertex lines that are not
/// alike, each once.
Result Merger::compare(std::uint32_t i, std::uint32_t line, const Place& first, bool& differs) {
  Input& input = inputs_[i];
  Input& other = inputs_[first.input];
  const std::size_t kind = input.lines[line].kind;
  if (kind != other.lines[first.line].kind) {
    return {Status::changed, input.document->source().name() + " and " + other.document->source().name() +
                                 ": have lines of different kinds in one place; one of them was changed"};
  }
  if (kind >= kFirstElementLine || differs) return {};
  std::string_view ours;
  std::string_view theirs;
  if (Result result = input.text.fetch(input.offset(line), ours); !result) return result;
  if (Result result = other.text.fetch(other.offset(first.line), theirs); !result) return result;
  if (ours == theirs || vectorText(ours) == vectorText(theirs)) return {};
  differs = true;
  if (report_.differing++ > 0) return {};
  std::uint64_t number = 0;
  if (Result result = input.document->lineNumber(input.offset(line), number); !result) return result;
  report_.firstDiffering = input.document->source().name() + ":" + std::to_string(number);
  return {};
}

/// Gives every vertex line of the unit its index in what is written.
Result Merger::numberVectors(const Unit& unit, const std::vector<Place>& places) {
  // Of lines with the same words in one unit, the n-th is welded to the n-th of another.
  std::unordered_map<std::string, std::uint32_t> repeats;
  std::vector<std::uint32_t> newIndex(places.size(), kNowhere);
  for (std::size_t p = 0; p < places.size(); ++p) {
    if (places[p].input == kNowhere) {
      ++report_.missing;
      continue;
    }
    Input& input = inputs_[places[p].input];
    const std::size_t kind = input.lines[places[p].line].kind;
    if (kind >= kFirstElementLine) continue;
    if (!options_.weld) {
      newIndex[p] = report_.counts.vectors[kind]++;
      continue;
    }
    std::string_view line;
    if (Result result = input.text.fetch(input.offset(places[p].line), line); !result) return result;
    std::string text = std::to_string(kind) + " " + vectorText(line);
    const std::uint32_t repeat = repeats[text]++;
    if (repeat > 0) text += "\n" + std::to_string(repeat);
    newIndex[p] = weldOrAdd(kind, text);
  }
  for (const std::uint32_t i : unit) {
    Input& input = inputs_[i];
    for (std::size_t k = 0; k < kVectorKinds; ++k)
      input.newIndex[k].resize(input.document->vectorCount(static_cast<VectorKind>(k)));
    forEachIndex(input.notes.lines, [&](std::uint32_t line, std::uint32_t place) {
      const DocumentLine& row = input.lines[line];
      if (row.kind < kFirstElementLine) input.newIndex[row.kind][row.index] = newIndex[place];
    });
  }
  return {};
}

Result Merger::writeLines(const Unit& unit, const std::vector<Place>& places) {
  for (const Place& place : places) {
    if (place.input == kNowhere) continue;
    if (!advance()) return out_.result() ? Result{Status::cancelled, "cancelled"} : out_.result();
    Input& input = inputs_[place.input];
    if (Result result = writeAsides(input, input.offset(place.line)); !result) return result;
    if (Result result = writeLine(place.input, place.line); !result) return result;
  }
  // What stands behind the last line is in the parts that have this line.
  const std::uint32_t last = places.empty() ? unit[0] : places.back().input;
  return last == kNowhere ? Result() : writeAsides(inputs_[last], kNoOffset);
}

/// Writes the comments and empty groups of an input that belong to the line at `anchor`, and passes over
/// those of lines before it.
Result Merger::writeAsides(Input& input, std::uint64_t anchor) {
  for (; input.aside < input.asides.size() && input.asides[input.aside].anchor <= anchor; ++input.aside) {
    const Aside& aside = input.asides[input.aside];
    if (aside.anchor < anchor) continue;
    std::string_view line;
    if (Result result = input.text.fetch(aside.offset, line); !result) return result;
    if (aside.group) {
      out_.endLine(joinedText(line));
      groups_ = '\n';  // is said otherwise for the next element
      lastInput_ = kNowhere;
    } else {
      out_.text(joinedText(line));
      out_.character('\n');
    }
  }
  return {};
}

Result Merger::writeLine(std::uint32_t i, std::uint32_t line) {
  Input& input = inputs_[i];
  const DocumentLine row = input.lines[line];
  if (row.kind == kStatementLine) return writeStatement(input, row.index);
  if (row.kind < kFirstElementLine) {
    // One that is welded to an earlier one is there already.
    if (input.newIndex[row.kind][row.index] < written_[row.kind]) {
      ++report_.welded;
      return {};
    }
    ++written_[row.kind];
    std::string_view text;
    if (Result result = input.text.fetch(input.offset(line), text); !result) return result;
    writeVectorLine(out_, static_cast<VectorKind>(row.kind), text);
    return {};
  }
  const auto kind = static_cast<ElementKind>(row.kind - kFirstElementLine);
  const std::uint32_t state = input.document->elements(kind).stateOf(row.index);
  if (i != lastInput_ || state != lastState_) writeState(i, input.document->states()[state]);
  lastInput_ = i;
  lastState_ = state;
  writeElement(input, kind, row.index);
  return {};
}

void Merger::writeState(std::uint32_t i, const ElementState& state) {
  const OBJDocument& document = *inputs_[i].document;
  const auto write = [this](std::string_view keyword, std::string_view name) {
    out_.text(keyword);
    out_.character(' ');
    out_.endLine(name);
  };
  const auto change = [&write](std::string& current, std::string_view keyword, const std::string& name) {
    if (name != current) write(keyword, name);
    current = name;
  };
  // Before the first line of its kind there is none, which is another state than one without a name.
  const auto rename = [&write](std::optional<std::string>& current, std::string_view keyword,
                               const std::vector<OBJName>& names, std::int32_t index) {
    if (index == kNoIndex && !current) return;
    const std::string name = index == kNoIndex ? "" : names[static_cast<std::size_t>(index)].text;
    if (name != current) write(keyword, name);
    current = name;
  };
  rename(object_, "o", document.objects(), state.object);
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
  rename(material_, "usemtl", document.materials(), state.material);
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
  if (Result result = input.text.fetch(offset, line); !result) return result;
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
