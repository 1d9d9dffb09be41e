#include "document/DocumentReader.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

#include "document/TextKind.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

/// Characters of a line that the host takes at a time.
constexpr std::ptrdiff_t kHostLine = 1024;
/// Bytes between two marks of line numbers.
constexpr std::uint64_t kMarkBytes = 64U * 1024;
constexpr std::size_t kMaxLineBytes = std::size_t{1} << 30;

struct StatementWord {
  std::string_view word;
  OBJStatement::Kind kind;
};
constexpr StatementWord kStatements[] = {
    {"bevel", OBJStatement::Kind::display},      {"bmat", OBJStatement::Kind::freeForm},
    {"bsp", OBJStatement::Kind::freeForm},       {"bzp", OBJStatement::Kind::freeForm},
    {"c_interp", OBJStatement::Kind::display},   {"call", OBJStatement::Kind::inclusion},
    {"cdc", OBJStatement::Kind::freeForm},       {"cdp", OBJStatement::Kind::freeForm},
    {"con", OBJStatement::Kind::freeForm},       {"csh", OBJStatement::Kind::inclusion},
    {"cstype", OBJStatement::Kind::freeForm},    {"ctech", OBJStatement::Kind::display},
    {"curv", OBJStatement::Kind::freeForm},      {"curv2", OBJStatement::Kind::freeForm},
    {"d_interp", OBJStatement::Kind::display},   {"deg", OBJStatement::Kind::freeForm},
    {"end", OBJStatement::Kind::freeForm},       {"hole", OBJStatement::Kind::freeForm},
    {"lod", OBJStatement::Kind::display},        {"maplib", OBJStatement::Kind::display},
    {"mg", OBJStatement::Kind::freeForm},        {"parm", OBJStatement::Kind::freeForm},
    {"res", OBJStatement::Kind::freeForm},       {"scrv", OBJStatement::Kind::freeForm},
    {"shadow_obj", OBJStatement::Kind::display}, {"sp", OBJStatement::Kind::freeForm},
    {"stech", OBJStatement::Kind::display},      {"step", OBJStatement::Kind::freeForm},
    {"surf", OBJStatement::Kind::freeForm},      {"trace_obj", OBJStatement::Kind::display},
    {"trim", OBJStatement::Kind::freeForm},      {"usemap", OBJStatement::Kind::display}};

const StatementWord* findStatement(std::string_view keyword) {
  const auto* const found = std::find_if(std::begin(kStatements), std::end(kStatements),
                                         [&](const StatementWord& row) { return row.word == keyword; });
  return found == std::end(kStatements) ? nullptr : found;
}

bool isKnownWord(std::string_view keyword) {
  constexpr std::string_view kWords[] = {"v", "vt", "vn", "vp", "f",      "fo",    "l",
                                         "p", "g",  "s",  "o",  "usemtl", "mtllib"};
  return std::find(std::begin(kWords), std::end(kWords), keyword) != std::end(kWords) ||
         findStatement(keyword) != nullptr;
}

bool hasUpperCase(const char* begin, const char* end) {
  return std::any_of(begin, end, [](char c) { return c != lowerCase(c); });
}

}  // namespace

DocumentReader::DocumentReader(OBJDocument& document, const DocumentReadOptions& options)
    : document_(document),
      options_(options),
      plain_(document.vectors_, document.elements_[static_cast<std::size_t>(ElementKind::face)],
             PlainLines::Before::nothing, options.placesPerKind) {
  std::fill(std::begin(firstForward_), std::end(firstForward_), std::numeric_limits<std::uint32_t>::max());
}

std::size_t DocumentReader::StateHash::operator()(const ElementState& state) const {
  std::uint64_t hash = 0;
  for (const std::int32_t part : {state.groupSet, state.smoothing, state.material, state.object}) {
    hash = (hash ^ static_cast<std::uint32_t>(part)) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 29;
  }
  return static_cast<std::size_t>(hash);
}

/// A finding about `at`, which lies in the line in work.
void DocumentReader::find(FindingKind kind, std::string_view at) {
  if (!document_.findings_.keepsNext(kind)) {
    document_.findings_.addUncounted(kind, 1);
    return;
  }
  const char* lineBegin = line_;
  std::uint64_t number = lineNumber_;
  for (;;) {
    const char* const lineEnd = physicalLineEnd(lineBegin, at.data());
    if (lineEnd == at.data()) break;
    lineBegin = behindLineEnd(lineEnd, at.data());
    ++number;
  }
  document_.findings_.add(kind, number, static_cast<std::uint64_t>(at.data() - lineBegin) + 1,
                          offsetOf(at.data()), at);
}

/// A finding about the whole line in work.
void DocumentReader::findLine(FindingKind kind, std::string_view text) {
  document_.findings_.add(kind, lineNumber_, 0, offsetOf(line_), text);
}

/// Makes the bytes from `offset` on visible, and some more than are.
Result DocumentReader::fill(std::uint64_t offset) {
  const std::uint64_t size = document_.source_.size();
  const auto held = static_cast<std::size_t>(end_ - begin_);
  windowOffset_ = offset;
  // A line that does not fit makes the window grow as it does.
  std::size_t bytes = std::max(std::max<std::size_t>(options_.windowBytes, 1), held);
  if (held > kMaxLineBytes) {
    return {Status::tooLarge, document_.source_.name() + ": has a line of more than 1 GiB"};
  }
  bytes = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, size - windowOffset_ - held));
  const std::size_t room = OBJDigitMap::kUnderread + held + bytes + 1 + OBJDigitMap::kOverread;
  if (buffer_.size() < room) {
    std::vector<char> larger(room);
    if (held > 0) std::memcpy(larger.data() + OBJDigitMap::kUnderread, begin_, held);
    buffer_ = std::move(larger);
  } else if (held > 0) {
    std::memmove(buffer_.data() + OBJDigitMap::kUnderread, begin_, held);
  }
  char* const base = buffer_.data() + OBJDigitMap::kUnderread;
  base_ = begin_ = base;
  end_ = base + held;
  Result result = document_.source_.read(windowOffset_ + held, base + held, bytes);
  if (!result) return result;
  end_ += bytes;
  // Something that ends every scan.
  base[held + bytes] = '\n';
  isWhole_ = windowOffset_ + held + bytes == size;
  return beginWindow(true);
}

/// To be called when the window shows another text.
Result DocumentReader::beginWindow(bool callingThread) {
  const std::uint64_t size = document_.source_.size();
  if (document_.lineMarks_.empty() || windowOffset_ - document_.lineMarks_.back().offset >= kMarkBytes) {
    document_.lineMarks_.push_back({windowOffset_, lineNumber_});
  }
  if (callingThread && options_.progress && size > 0 &&
      !options_.progress(static_cast<double>(windowOffset_) / static_cast<double>(size))) {
    return {Status::cancelled, document_.source_.name() + ": cancelled"};
  }
  return checkLimits();
}

Result DocumentReader::checkLimits() const {
  constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
  bool tooMany = false;
  for (const auto& offsets : document_.vectors_) tooMany |= offsets.size() > kMost;
  for (const ElementTable& table : document_.elements_) tooMany |= table.offsets_.size() > kMost;
  if (!tooMany) return {};
  return {Status::tooLarge, document_.source_.name() + ": has more lines of one kind than 2,147,483,647"};
}

Result DocumentReader::read() {
  std::string head(
      static_cast<std::size_t>(std::min<std::uint64_t>(document_.source_.size(), kTextKindBytes)), 0);
  Result result = document_.source_.read(0, head.data(), head.size());
  if (!result) return result;
  const TextKind kind = textKindOf(head);
  if (kind != TextKind::text) {
    const bool utf16 = kind == TextKind::utf16;
    document_.findings_.add(utf16 ? FindingKind::utf16 : FindingKind::notText, 0, 0, 0, {});
    return {Status::notText,
            document_.source_.name() + (utf16 ? ": is UTF-16 text" : ": is not a text file")};
  }
  const bool mark = head.starts_with("\xEF\xBB\xBF");
  if (mark) document_.findings_.add(FindingKind::byteOrderMark, 1, 0, 0, {});
  std::uint64_t offset = mark ? 3 : 0;
  if (document_.threads_ > 1) {
    result = readPieces(offset);
    if (!result) return result;
  }
  while (begin_ != end_ || !isWhole_) {
    result = fill(offset);
    if (!result) return result;
    takeLines();
    offset = offsetOf(begin_);
  }
  if (groupIsEmpty_) document_.emptyGroups_.push_back(groupOffset_);
  bool dropped = false;
  for (const ElementKind element : {ElementKind::face, ElementKind::line, ElementKind::point}) {
    dropped |= checkForwardReferences(element);
  }
  if (dropped) forgetUnused();
  return checkLimits();
}

/// Takes the lines of the window that are whole.
void DocumentReader::takeLines() {
  if (options_.fastPath) plain_.setText(begin_, end_, windowOffset_);
  for (;;) {
    if (options_.fastPath) takePlainLines();
    const char* const lineEnd = logicalLineEnd(begin_, end_);
    // A carriage return that stands last may have a line feed behind it.
    if (begin_ == end_ || (!isWhole_ && end_ - lineEnd < 2)) return;
    const char* const next = behindLineEnd(lineEnd, end_);
    takeLine(begin_, lineEnd, next);
    lineNumber_ += countLineEnds(begin_, next);
    begin_ = next;
  }
}

void DocumentReader::takePlainLines() {
  ElementTable& faces = document_.elements_[static_cast<std::size_t>(ElementKind::face)];
  for (;;) {
    const std::uint32_t before = faces.size();
    begin_ = plain_.take(begin_, lineNumber_);
    anyStatement_ |= plain_.anyTaken();
    if (faces.size() > before) enterState(faces, before);
    if (plain_.returnCount() > 0) {
      std::size_t next = 0;
      addReturns(plain_, 0, std::numeric_limits<std::uint64_t>::max(), next);
      plain_.forget();
    }
    const char* const nameEnd = plain_.groupEnd(begin_);
    if (nameEnd == nullptr) return;
    takePlainGroup(begin_, nameEnd);
    begin_ = behindLineEnd(nameEnd, end_);
    ++lineNumber_;
  }
}

/// Takes a line of one name in plain letters.
void DocumentReader::takePlainGroup(const char* line, const char* nameEnd) {
  anyStatement_ = true;
  line_ = line;
  groupText_.assign(line + 2, nameEnd);
  beginGroups();
  if (*nameEnd == '\r') findLine(FindingKind::carriageReturn);
}

/// Reads [begin, end), whose line end reaches to `next`.
void DocumentReader::takeLine(const char* begin, const char* end, const char* next) {
  line_ = begin;
  doubtLine(begin, end, next);
  LineWords words(begin, end);
  const std::string_view keyword = words.next();
  if (keyword.empty()) return;
  if (keyword[0] == '#') {
    takeComment(begin, end, next);
    return;
  }
  anyStatement_ = true;
  if (keyword.data() != begin) find(FindingKind::leadingBlank, keyword.substr(0, 0));
  if (takeVector(keyword) || takeElement(keyword, words) || takeState(keyword, words)) return;
  takeStatement(keyword);
}

/// What can be doubted about a line whatever stands in it.
void DocumentReader::doubtLine(const char* begin, const char* end, const char* next) {
  if (end != next && *end == '\r') findLine(FindingKind::carriageReturn);
  if (end != next && *end == '\\' && physicalLineEnd(begin, end) == end)
    find(FindingKind::continuationLine, end);
  const auto length = static_cast<std::size_t>(end - begin);
  if (length == 0) return;
  if (const void* const nul = std::memchr(begin, '\0', length)) {
    find(FindingKind::nulByte, static_cast<const char*>(nul));
  }
  const char* const control = std::find_if(begin, end, [](char c) { return c != '\0' && isControl(c); });
  if (control != end) find(FindingKind::controlByte, control);
  const char* part = begin;
  for (;;) {
    const char* const partEnd = physicalLineEnd(part, end);
    if (partEnd - part > kHostLine) find(FindingKind::longLine, part);
    if (partEnd == end) break;
    if (part == begin) find(FindingKind::continuationLine, partEnd - 1);
    part = behindLineEnd(partEnd, end);
  }
}

void DocumentReader::takeComment(const char* begin, const char* end, const char* next) {
  document_.comments_.push_back(offsetOf(begin));
  if (!anyStatement_) ++document_.headComments_;
  if (end != next && end[-1] == '\\') find(FindingKind::continuedComment, end - 1);
}

bool DocumentReader::takeVector(std::string_view keyword) {
  if (keyword[0] != 'v' || keyword.size() > 2) return false;
  VectorKind kind = VectorKind::position;
  if (keyword.size() == 2) {
    if (keyword[1] == 't') {
      kind = VectorKind::texture;
    } else if (keyword[1] == 'n') {
      kind = VectorKind::normal;
    } else if (keyword[1] == 'p') {
      kind = VectorKind::parameter;
      find(FindingKind::freeForm, keyword);
    } else {
      return false;
    }
  }
  document_.vectors_[static_cast<std::size_t>(kind)].push_back(offsetOf(line_));
  return true;
}

bool DocumentReader::takeState(std::string_view keyword, LineWords& words) {
  const bool group = keyword == "g";
  const bool material = keyword == "usemtl";
  const bool library = keyword == "mtllib";
  if (group || material || library) {
    // The host lower-cases all up to the first blank.
    const char* const behind = keyword.data() + keyword.size();
    if (behind < words.end() && *behind == '\t' &&
        hasUpperCase(behind, std::find(behind, words.end(), ' '))) {
      find(FindingKind::tabAfterKeyword, behind);
    }
  }
  if (group) {
    takeGroups(words);
  } else if (material) {
    materialText_ = takeName(words);
    materialOffset_ = offsetOf(line_);
    anyMaterial_ = stateIsNew_ = true;
  } else if (keyword == "s") {
    takeSmoothing(words);
  } else if (keyword == "o") {
    objectText_ = takeName(words);
    if (!objectText_.empty()) find(FindingKind::objectName, words.rest());
    objectOffset_ = offsetOf(line_);
    anyObject_ = stateIsNew_ = true;
  } else if (library) {
    takeLibraries(words);
  } else {
    return false;
  }
  return true;
}

void DocumentReader::doubtName(std::string_view name) {
  if (!isUtf8(name)) find(FindingKind::nameNotUtf8, name);
}

/// The rest of the line as one name.
std::string DocumentReader::takeName(LineWords& words) {
  const std::string_view rest = words.rest();
  if (rest.empty()) {
    findLine(FindingKind::nameMissing);
    return {};
  }
  if (std::any_of(rest.begin(), rest.end(), isSpace)) find(FindingKind::nameWithBlank, rest);
  doubtName(rest);
  return joinedText(rest);
}

void DocumentReader::takeGroups(LineWords& words) {
  const std::string_view rest = words.rest();
  if (rest.empty()) {
    findLine(FindingKind::nameMissing);
  } else {
    doubtName(rest);
    if (std::any_of(rest.begin(), rest.end(), isSpace)) find(FindingKind::severalGroups, rest);
    const char* const behind = rest.data() + rest.size();
    if (behind != words.end()) find(FindingKind::trailingBlank, behind);
  }
  groupText_ = joinedText(rest);
  beginGroups();
}

/// The groups of the line in work are in force.
void DocumentReader::beginGroups() {
  if (groupIsEmpty_) document_.emptyGroups_.push_back(groupOffset_);
  groupOffset_ = offsetOf(line_);
  if (!forwardGroups_.empty()) {
    GroupLine& last = forwardGroups_.back();
    last.end = std::min(last.end, groupOffset_);
  }
  anyGroup_ = groupIsEmpty_ = stateIsNew_ = true;
}

void DocumentReader::takeSmoothing(LineWords& words) {
  const std::string_view word = words.next();
  const bool off =
      word.size() == 3 && lowerCase(word[0]) == 'o' && lowerCase(word[1]) == 'f' && lowerCase(word[2]) == 'f';
  OBJSmoothing smoothing{0, off, offsetOf(line_)};
  if (!off) {
    if (hostSmoothings_.size() > 255) find(FindingKind::smoothingTableFull, word);
    if (word.empty() || !std::all_of(word.begin(), word.end(), isDigit)) {
      word.empty() ? findLine(FindingKind::smoothingMalformed) : find(FindingKind::smoothingMalformed, word);
      return;
    }
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
    for (const char c : word) {
      const auto digit = static_cast<std::uint64_t>(c - '0');
      smoothing.number = smoothing.number > (kMax - digit) / 10 ? kMax : smoothing.number * 10 + digit;
    }
    if (smoothing.number == 0) find(FindingKind::smoothingZero, word);
    if (smoothing.number > std::numeric_limits<std::uint32_t>::max()) {
      find(FindingKind::smoothingNumberWide, word);
    } else if (hostSmoothings_.size() <= 255) {
      hostSmoothings_.insert(static_cast<std::uint32_t>(smoothing.number));
    }
  }
  smoothing_ = smoothing;
  anySmoothing_ = true;
  stateIsNew_ = true;
}

void DocumentReader::takeLibraries(LineWords& words) {
  std::size_t names = 0;
  for (std::string_view word = words.next(); !word.empty(); word = words.next()) {
    doubtName(word);
    if (++names == 2) find(FindingKind::severalLibraries, word);
    document_.libraries_.push_back({std::string(word), offsetOf(line_), names > 1});
  }
  if (names == 0) findLine(FindingKind::nameMissing);
}

void DocumentReader::takeStatement(std::string_view keyword) {
  const StatementWord* const known = findStatement(keyword);
  OBJStatement::Kind kind = OBJStatement::Kind::unknown;
  if (known != nullptr) {
    kind = known->kind;
    find(kind == OBJStatement::Kind::inclusion ? FindingKind::includedFile : FindingKind::freeForm, keyword);
  } else {
    std::string lower(keyword.substr(0, 16));
    std::transform(lower.begin(), lower.end(), lower.begin(), lowerCase);
    find(isKnownWord(lower) ? FindingKind::upperCaseKeyword : FindingKind::unknownStatement, keyword);
  }
  document_.statements_.push_back({offsetOf(line_), kind});
}

}  // namespace WavefrontOBJ
