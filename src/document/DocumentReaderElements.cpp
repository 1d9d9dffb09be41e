// Elements (faces, lines, points) and the state they are in: the exact path, and what both paths share.
#include <algorithm>
#include <iterator>
#include <limits>

#include "document/DocumentReader.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

/// Corners that a face of the host's has room for.
constexpr std::size_t kHostCorners = 88;
constexpr std::size_t kLeastCorners[kElementKinds] = {3, 2, 1};

}  // namespace

/// Turns the text of one index into one that counts from 0. Positive ones may lie ahead.
DocumentReader::IndexOutcome DocumentReader::resolve(std::string_view text, VectorKind kind,
                                                     std::int32_t& index) {
  const bool negative = text[0] == '-';
  if (negative || text[0] == '+') text.remove_prefix(1);
  if (text.empty() || !std::all_of(text.begin(), text.end(), isDigit)) return IndexOutcome::notANumber;
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  std::int64_t number = 0;
  for (const char c : text) {
    number = number * 10 + (c - '0');
    if (number > kMost) return IndexOutcome::overflow;
  }
  if (number == 0) return IndexOutcome::zero;
  const auto count = static_cast<std::int64_t>(document_.vectorCount(kind));
  if (!negative) {
    forward_ |= number > count;
    index = static_cast<std::int32_t>(number - 1);
    return IndexOutcome::good;
  }
  if (number > count) return IndexOutcome::outOfRange;
  index = static_cast<std::int32_t>(count - number);
  return IndexOutcome::good;
}

void DocumentReader::doubtIndex(IndexOutcome outcome, std::string_view text) {
  constexpr FindingKind kKinds[] = {FindingKind::kindCount, FindingKind::indexNotANumber,
                                    FindingKind::indexZero, FindingKind::indexOverflow,
                                    FindingKind::indexOutOfRange};
  find(kKinds[static_cast<std::size_t>(outcome)], text);
}

/// Reads "v", "v/vt", "v//vn" or "v/vt/vn", with parts that may be empty but for the first. False when there
/// is no vertex.
bool DocumentReader::takeCorner(std::string_view word, Corner& corner) {
  std::string_view parts[3];
  std::size_t count = 0;
  for (std::string_view left = word;;) {
    const std::size_t slash = left.find('/');
    if (count == 3) {
      find(FindingKind::indexNotANumber, word);
      return false;
    }
    parts[count++] = left.substr(0, slash);
    if (slash == std::string_view::npos) break;
    left.remove_prefix(slash + 1);
  }
  const IndexOutcome vertex =
      parts[0].empty() ? IndexOutcome::notANumber : resolve(parts[0], VectorKind::position, corner.vertex);
  if (vertex != IndexOutcome::good) {
    doubtIndex(vertex, word);
    return false;
  }
  const auto other = [&](std::string_view part, VectorKind kind, std::int32_t& index, bool& drop) {
    if (part.empty()) return;
    const IndexOutcome outcome = resolve(part, kind, index);
    if (outcome == IndexOutcome::good) return;
    if (!drop) doubtIndex(outcome, word);
    drop = true;
  };
  other(parts[1], VectorKind::texture, corner.texture, dropTextures_);
  other(parts[2], VectorKind::normal, corner.normal, dropNormals_);
  return true;
}

bool DocumentReader::takeElement(std::string_view keyword, LineWords& words) {
  ElementKind kind = ElementKind::face;
  if (keyword == "l") {
    kind = ElementKind::line;
  } else if (keyword == "p") {
    kind = ElementKind::point;
  } else if (keyword != "f" && keyword != "fo") {
    return false;
  }
  if (kind != ElementKind::face) find(FindingKind::lineOrPoint, keyword);
  // An old name of "f", which the format's description still has readers take.
  if (keyword == "fo") find(FindingKind::oldFace, keyword);
  corners_.clear();
  forward_ = dropTextures_ = dropNormals_ = false;
  bool relative = false;
  bool emptyPart = false;
  for (std::string_view word = words.nextValue(); !word.empty(); word = words.nextValue()) {
    Corner corner;
    if (!takeCorner(word, corner)) return true;
    if (!relative && word.find('-') != std::string_view::npos) {
      relative = true;
      find(FindingKind::relativeIndex, word);
    }
    if (!emptyPart && word.back() == '/') {
      emptyPart = true;
      find(FindingKind::emptyPart, word);
    }
    corners_.push_back(corner);
  }
  if (const std::string_view comment = words.rest(); !comment.empty())
    find(FindingKind::trailingComment, comment);
  if (corners_.size() < kLeastCorners[static_cast<std::size_t>(kind)]) {
    findLine(FindingKind::tooFewCorners,
             std::string_view(line_, static_cast<std::size_t>(words.end() - line_)));
    return true;
  }
  bool textures = false;
  bool normals = false;
  for (Corner& corner : corners_) {
    if (dropTextures_) corner.texture = kNoIndex;
    if (dropNormals_) corner.normal = kNoIndex;
    textures |= corner.texture != kNoIndex;
    normals |= corner.normal != kNoIndex;
  }
  doubtCorners(kind);
  if (forward_) {
    std::uint32_t& first = firstForward_[static_cast<std::size_t>(kind)];
    first = std::min(first, document_.elements(kind).size());
    if (groupIsEmpty_) forwardGroups_.push_back({groupOffset_, std::numeric_limits<std::uint64_t>::max()});
  }
  add(kind, offsetOf(line_), corners_.data(), static_cast<std::uint32_t>(corners_.size()), textures, normals);
  return true;
}

/// What can be doubted about the corners of an element as a whole.
void DocumentReader::doubtCorners(ElementKind kind) {
  const Corner& first = corners_[0];
  const bool mixed = std::any_of(corners_.begin(), corners_.end(), [&first](const Corner& corner) {
    return (corner.texture == kNoIndex) != (first.texture == kNoIndex) ||
           (corner.normal == kNoIndex) != (first.normal == kNoIndex);
  });
  if (mixed) findLine(FindingKind::mixedForms);
  if (kind != ElementKind::face) return;
  sorted_.clear();
  for (const Corner& corner : corners_) sorted_.push_back(corner.vertex);
  std::sort(sorted_.begin(), sorted_.end());
  const auto twice = std::adjacent_find(sorted_.begin(), sorted_.end());
  if (twice != sorted_.end()) findLine(FindingKind::repeatedCorner, std::to_string(std::int64_t{*twice} + 1));
  if (corners_.size() > kHostCorners) findLine(FindingKind::manyCorners, std::to_string(corners_.size()));
}

/// Appends one index of each corner to a column that has `before` rows, or should have.
void DocumentReader::appendColumn(PlainArray<std::int32_t>& column, std::size_t before,
                                  const std::int32_t* first, std::uint32_t count) {
  constexpr std::size_t kStride = sizeof(Corner) / sizeof(std::int32_t);
  // The first element that uses the column.
  if (column.size() < before) column.resize(before, kNoIndex);
  column.reserve(count);
  std::int32_t* const out = column.data() + before;
  for (std::uint32_t i = 0; i < count; ++i) out[i] = first[kStride * i];
  column.extend(count);
}

/// The elements from `first` on have the state in force.
void DocumentReader::enterState(ElementTable& table, std::uint32_t first) {
  const std::uint32_t state = stateIsNew_ ? currentState() : state_;
  if (table.runs_.empty() || table.runs_.back().state != state) table.runs_.push_back({first, state});
}

void DocumentReader::add(ElementKind kind, std::uint64_t offset, const Corner* corners, std::uint32_t count,
                         bool textures, bool normals) {
  static_assert(sizeof(Corner) == 3 * sizeof(std::int32_t));
  ElementTable& table = document_.elements_[static_cast<std::size_t>(kind)];
  const std::size_t before = table.vertices_.size();
  enterState(table, table.size());
  table.addRow(offset, count);
  appendColumn(table.vertices_, before, &corners->vertex, count);
  if (textures || !table.textures_.empty()) appendColumn(table.textures_, before, &corners->texture, count);
  if (normals || !table.normals_.empty()) appendColumn(table.normals_, before, &corners->normal, count);
}

std::int32_t DocumentReader::indexOfName(std::vector<OBJName>& names, KnownNames& known,
                                         std::string_view name, std::uint64_t offset) {
  if (const auto found = known.find(name); found != known.end()) return found->second;
  const auto index = static_cast<std::int32_t>(names.size());
  known.emplace(name, index);
  names.push_back({std::string(name), offset});
  return index;
}

std::int32_t DocumentReader::currentGroupSet() {
  OBJDocument& d = document_;
  if (!anyGroup_) {
    d.defaultGroup_ = indexOfName(d.groups_, knownGroups_, "default", 0);
    return kNoIndex;
  }
  if (const auto found = knownGroupSets_.find(groupText_); found != knownGroupSets_.end())
    return found->second;
  if (d.groupSetBegins_.empty()) d.groupSetBegins_.push_back(0);
  LineWords words(groupText_);
  std::string_view name = words.next();
  if (name.empty()) name = "default";
  std::unordered_set<std::int32_t> taken;
  for (; !name.empty(); name = words.next()) {
    const std::int32_t group = indexOfName(d.groups_, knownGroups_, name, groupOffset_);
    if (taken.insert(group).second) d.groupSetNames_.push_back(group);
  }
  d.groupSetBegins_.push_back(static_cast<std::uint32_t>(d.groupSetNames_.size()));
  const auto set = static_cast<std::int32_t>(d.groupSetBegins_.size() - 2);
  knownGroupSets_.emplace(groupText_, set);
  return set;
}

std::int32_t DocumentReader::currentSmoothing() {
  if (!anySmoothing_) return kNoIndex;
  const auto next = static_cast<std::int32_t>(document_.smoothings_.size());
  if (smoothing_.off && offSmoothing_ == kNoIndex) offSmoothing_ = next;
  const std::int32_t index =
      smoothing_.off ? offSmoothing_ : knownSmoothings_.try_emplace(smoothing_.number, next).first->second;
  if (index == next) document_.smoothings_.push_back(smoothing_);
  return index;
}

/// The index of the state in force, which has changed since the last element.
std::uint32_t DocumentReader::currentState() {
  ElementState state;
  state.groupSet = currentGroupSet();
  state.smoothing = currentSmoothing();
  if (anyMaterial_) {
    state.material = indexOfName(document_.materials_, knownMaterials_, materialText_, materialOffset_);
  }
  if (anyObject_) {
    state.object = indexOfName(document_.objects_, knownObjects_, objectText_, objectOffset_);
  }
  const auto next = static_cast<std::uint32_t>(document_.states_.size());
  const auto [position, isNew] = knownStates_.try_emplace(state, next);
  if (isNew) document_.states_.push_back(state);
  state_ = position->second;
  stateIsNew_ = groupIsEmpty_ = false;
  return state_;
}

}  // namespace WavefrontOBJ
