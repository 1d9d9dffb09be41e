#include "document/DocumentWriter.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "document/DocumentWriterRun.h"
#include "document/LogicalLine.h"
#include "document/PartNotes.h"
#include "document/VectorLines.h"
#include "obj/text/FastNumber.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

constexpr std::string_view kVectorWords[kVectorKinds] = {"v", "vt", "vn", "vp"};

/// Copies the vertex line that `text` begins with, where it is plain: keyword and blank stand first, no
/// control characters, neither blank nor backslash last, and its end is there. False where it is not.
bool copyPlainVector(SinkBuffer& out, VectorKind kind, std::string_view text) {
  constexpr std::size_t kMost = 128;
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  const std::size_t wordLength = kVectorWords[static_cast<std::size_t>(kind)].size();
  text = text.substr(0, kMost);
  if (text.size() < 8 || text[0] != 'v' || text[wordLength] != ' ') return false;
  char* const to = out.reserve(kMost);
  for (std::size_t i = 0; i + 8 <= text.size(); i += 8) {
    const std::uint64_t eight = fastNumber::loadLittleEndian(text.data() + i);
    std::memcpy(to + i, text.data() + i, 8);
    // The top bit of each byte: below a blank, or a delete.
    const std::uint64_t low = eight & 0x7F * kOnes;
    const std::uint64_t controls = (~(low + 0x60 * kOnes) | (low + kOnes)) & ~eight & 0x80 * kOnes;
    if (controls == 0) continue;
    const std::size_t end = i + static_cast<std::size_t>(std::countr_zero(controls)) / 8;
    const char last = text[end - 1];
    if ((text[end] != '\n' && text[end] != '\r') || last == ' ' || last == '\\') return false;
    to[end] = '\n';
    out.advanceTo(to + end + 1);
    return true;
  }
  return false;
}

}  // namespace

Rewriter::~Rewriter() = default;
bool Rewriter::commentText(std::string&) {
  return false;
}
bool Rewriter::vectorText(VectorKind, std::uint32_t, std::string&) {
  return false;
}
bool Rewriter::groupText(std::int32_t, std::int32_t, std::string&) {
  return false;
}
bool Rewriter::nameText(Division, std::int32_t, std::string&) {
  return false;
}
bool Rewriter::smoothingText(ElementKind, std::uint32_t, std::string&) {
  return false;
}
bool Rewriter::cutFace(std::uint32_t, std::vector<std::uint32_t>&) {
  return false;
}
bool Rewriter::cutElement(ElementKind kind, std::uint32_t index, std::vector<std::uint32_t>& pieces) {
  return kind == ElementKind::face && cutFace(index, pieces);
}
void Rewriter::dropColumns(ElementKind, std::uint32_t, bool&, bool&) {}

SinkBuffer::SinkBuffer(Sink& sink)
    : sink_(sink),
      buffer_(std::make_unique_for_overwrite<char[]>(kBytes)),
      position_(buffer_.get()),
      end_(position_ + kBytes) {}

void SinkBuffer::flush() {
  const auto held = static_cast<std::size_t>(position_ - buffer_.get());
  position_ = buffer_.get();
  if (held == 0 || !result_) return;
  result_ = sink_.write({buffer_.get(), held});
  bytes_ += held;
}

void SinkBuffer::text(std::string_view text) {
  // At the head of a file these bytes would be its byte order mark, and not the line's.
  if (bytes_ == 0 && position_ == buffer_.get() && text.starts_with("\xEF\xBB\xBF")) this->text("\n");
  while (!text.empty()) {
    const std::size_t part = std::min(text.size(), kMaxReserve);
    char* const out = reserve(part);
    std::memcpy(out, text.data(), part);
    position_ = out + part;
    text.remove_prefix(part);
  }
}

void SinkBuffer::endLine(std::string_view line) {
  text(line);
  text(!line.empty() && line.back() == '\\' ? " \n" : "\n");
}

DocumentWriter::DocumentWriter(const OBJDocument& document)
    : document_(document),
      lines_(document.source()),
      asides_(asidesOf(document, document.headCommentCount())) {
  for (std::size_t kind = 0; kind < kLineKinds; ++kind) {
    const std::uint32_t count = lineCount(document, kind);
    if (count == 0) continue;
    const std::uint64_t last = lineOffset(document, kind, count - 1);
    lastOffset_ = lastOffset_ == kNoOffset ? last : std::max(lastOffset_, last);
  }
}

Result DocumentWriter::write(const ElementLists& lists, const WriteOptions& options, Sink& sink,
                             WriteCounts* counts) {
  return write(lists, nullptr, options, sink, counts);
}

Result DocumentWriter::writeRest(const VectorLists& vectors, const WriteOptions& options, Sink& sink,
                                 WriteCounts* counts) {
  return write({}, &vectors, options, sink, counts);
}

Result DocumentWriter::write(const ElementLists& lists, const VectorLists* rest, const WriteOptions& options,
                             Sink& sink, WriteCounts* counts) {
  try {
    Run run(*this, lists, rest, options, sink);
    Result result = run.write();
    if (counts != nullptr) *counts = run.counts();
    return result;
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, document_.source().name() + ": out of memory"};
  }
}

DocumentWriter::Run::Run(DocumentWriter& writer, const ElementLists& lists, const VectorLists* rest,
                         const WriteOptions& options, Sink& sink)
    : writer_(writer),
      document_(writer.document_),
      lists_(lists),
      rest_(rest),
      options_(options),
      out_(sink),
      allVectors_(rest == nullptr && (lists.whole || options.keepOrder)) {}

DocumentWriter::Run::~Run() {
  for (NewIndices& indices : writer_.newIndices_) indices.clear();
}

Result DocumentWriter::Run::write() {
  useVectors();
  layOut();
  if (!writeHead() || !writeLines()) return failure_;
  out_.flush();
  counts_.bytes = out_.bytes();
  return out_.result();
}

/// Sets up the streams of the lines that are written.
void DocumentWriter::Run::layOut() {
  const bool statements = rest_ != nullptr || (lists_.whole && options_.statements);
  for (std::size_t kind = 0; kind < kFirstElementLine; ++kind) {
    const bool parameter = kind == static_cast<std::size_t>(VectorKind::parameter);
    if (rest_ != nullptr) {
      streams_[kind] = LineStream(document_, kind, &(*rest_)[kind]);
    } else if (parameter ? statements : allVectors_) {
      streams_[kind] = LineStream(document_, kind);
    } else if (!parameter) {
      streams_[kind] = LineStream(document_, kind, &writer_.newIndices_[kind].added());
    }
  }
  const std::vector<std::uint32_t>* const lists[kElementKinds] = {&lists_.faces, &lists_.lines,
                                                                  &lists_.points};
  for (std::size_t k = 0; k < kElementKinds; ++k)
    streams_[kFirstElementLine + k] =
        LineStream(document_, kFirstElementLine + k, lists_.whole ? nullptr : lists[k]);
  if (statements) streams_[kStatementLine] = LineStream(document_, kStatementLine);
  for (const LineStream& stream : streams_) total_ += stream.left();
}

/// Counts one more line. False when the work has to stop.
bool DocumentWriter::Run::advance() {
  if (done_++ % kProgressLines != 0) return true;
  failure_ = out_.result();
  if (failure_ && options_.progress &&
      !options_.progress(static_cast<double>(done_) / static_cast<double>(std::max(total_, done_)))) {
    failure_ = {Status::cancelled, document_.source().name() + ": cancelled"};
  }
  return static_cast<bool>(failure_);
}

bool DocumentWriter::Run::fetch(std::uint64_t offset, std::string_view& line) {
  failure_ = writer_.lines_.fetch(offset, line);
  return static_cast<bool>(failure_);
}

bool DocumentWriter::Run::writeHead() {
  const auto comments = document_.comments().first(options_.headComments ? document_.headCommentCount() : 0);
  for (const std::uint64_t offset : comments) {
    std::string_view line;
    if (!fetch(offset, line)) return false;
    // They would tell of what is left out.
    if (!lists_.whole && isPartNote(line)) continue;
    writeComment(line);
  }
  const auto writeNotes = [this](const std::vector<std::string>& notes) {
    for (const std::string& note : notes) {
      out_.text("# ");
      out_.endLine(note);
    }
  };
  writeNotes(options_.notes);
  const auto& newIndices = writer_.newIndices_;
  if (options_.partNotes)
    writeNotes(options_.partNotes({newIndices[0].added(), newIndices[1].added(), newIndices[2].added()}));
  return writeLibraries();
}

void DocumentWriter::Run::writeComment(std::string_view line) {
  scratch_ = joinedText(line);
  if (options_.rewriter != nullptr) options_.rewriter->commentText(scratch_);
  // A backslash at its end continues no comment.
  out_.text(scratch_);
  out_.character('\n');
}

bool DocumentWriter::Run::writeLibraries() {
  if (!options_.materials) return true;
  const std::vector<OBJLibrary>& libraries = document_.libraries();
  scratch_.clear();
  for (std::size_t i = 0; i < libraries.size(); ++i) {
    const std::string& name = options_.libraries != nullptr ? (*options_.libraries)[i] : libraries[i].text;
    if (name.empty()) continue;
    const bool joins = !scratch_.empty() && libraries[i].sameLine && !options_.librariesApart;
    if (!joins && !scratch_.empty()) {
      out_.endLine(scratch_);
      scratch_.clear();
    }
    scratch_.append(joins ? " " : "mtllib ").append(name);
  }
  if (!scratch_.empty()) out_.endLine(scratch_);
  return true;
}

/// Notes which vertex lines the part uses, and what their indices become.
void DocumentWriter::Run::useVectors() {
  if (allVectors_) return;
  std::array<NewIndices, 3>& newIndices = writer_.newIndices_;
  for (std::size_t k = 0; k < newIndices.size(); ++k)
    newIndices[k].resize(document_.vectorCount(static_cast<VectorKind>(k)));
  const auto use = [](NewIndices& indices, std::span<const std::int32_t> row) {
    for (const std::int32_t index : row) {
      if (index != kNoIndex) indices.add(static_cast<std::uint32_t>(index));
    }
  };
  const auto useAll = [&](const ElementTable& table, const std::vector<std::uint32_t>& elements) {
    for (const std::uint32_t i : elements) {
      use(newIndices[0], table.vertices(i));
      use(newIndices[1], table.textures(i));
      use(newIndices[2], table.normals(i));
    }
  };
  useAll(document_.faces(), lists_.faces);
  useAll(document_.lines(), lists_.lines);
  useAll(document_.points(), lists_.points);
  for (NewIndices& indices : newIndices) indices.number();
}

/// Writes the lines of all streams in their order.
bool DocumentWriter::Run::writeLines() {
  const std::span<LineStream> streams(streams_);
  nextAnchor_ = writer_.asides_.empty() ? kNoOffset : 0;
  const std::size_t parts = options_.vectorsFirst ? kFirstElementLine : kLineKinds;
  for (const auto some : {streams.first(parts), streams.subspan(parts)}) {
    std::uint64_t limit = 0;
    while (LineStream* const stream = nextStream(some, limit)) {
      for (std::uint64_t at = stream->offset(); at < limit; at = stream->offset()) {
        if (at >= nextAnchor_ && !writeAsides(at)) return false;
        if (stream->hasList()) expectLine(*stream);
        if (!advance() || !writeLine(*stream)) return false;
        stream->advance();
        lastWritten_ = at;
      }
    }
  }
  return (!lists_.whole && lastWritten_ != writer_.lastOffset_) || writeAsides(kNoOffset);
}

/// Tells the processor of a line that comes soon: those of a part may lie far from one another, each a wait
/// for memory.
void DocumentWriter::Run::expectLine(const LineStream& stream) const {
  constexpr std::uint32_t kAhead = 8;
  if (stream.left() <= kAhead) return;
  const std::uint32_t index = stream.indexAhead(kAhead);
  if (stream.kind() < kFirstElementLine) {
    writer_.lines_.prefetch(document_.vectorOffsets(static_cast<VectorKind>(stream.kind()))[index]);
  } else {
    document_.elements(static_cast<ElementKind>(stream.kind() - kFirstElementLine)).prefetch(index);
  }
}

/// Writes what belongs to the line at `anchor`, in a whole document also what belongs to lines before it that
/// are left out.
bool DocumentWriter::Run::writeAsides(std::uint64_t anchor) {
  const std::vector<Aside>& asides = writer_.asides_;
  auto next = asides.begin() + static_cast<std::ptrdiff_t>(aside_);
  if (!lists_.whole) {
    next = std::lower_bound(next, asides.end(), anchor,
                            [](const Aside& aside, std::uint64_t at) { return aside.anchor < at; });
  }
  for (; next != asides.end() && next->anchor <= anchor; ++next) {
    if (next->group ? !options_.emptyGroups || !options_.groups.empty() : !options_.comments) continue;
    std::string_view line;
    if (!fetch(next->offset, line)) return false;
    if (!next->group) {
      writeComment(line);
      continue;
    }
    out_.endLine(joinedText(line));
    // What it has put in force is to be said otherwise for the next element, even if it is the same.
    groupText_ = '\n';
    restate_ = true;
  }
  aside_ = static_cast<std::size_t>(next - asides.begin());
  nextAnchor_ = next == asides.end() ? kNoOffset : next->anchor;
  return true;
}

bool DocumentWriter::Run::writeLine(const LineStream& stream) {
  if (stream.kind() < kFirstElementLine) {
    return writeVector(static_cast<VectorKind>(stream.kind()), stream.index());
  }
  if (stream.kind() == kStatementLine) return writeStatement(document_.statements()[stream.index()]);
  writeElement(static_cast<ElementKind>(stream.kind() - kFirstElementLine), stream.index());
  return true;
}

bool DocumentWriter::Run::writeVector(VectorKind kind, std::uint32_t index) {
  const std::uint64_t offset = document_.vectorOffsets(kind)[index];
  const bool changes = options_.rewriter != nullptr;
  const bool copied = !changes && copyPlainVector(out_, kind, writer_.lines_.at(offset));
  std::string_view line;
  if (!copied && !fetch(offset, line)) return false;
  ++counts_.vectors[static_cast<std::size_t>(kind)];
  if (!changes) {
    if (!copied) writeVectorLine(out_, kind, line);
    return true;
  }
  LineWords words(line);
  words.next();
  scratch_ = joinedText(words.rest());
  options_.rewriter->vectorText(kind, index, scratch_);
  out_.text(kVectorWords[static_cast<std::size_t>(kind)]);
  if (!scratch_.empty()) out_.character(' ');
  out_.endLine(scratch_);
  return true;
}

/// For lines of other sources, longer ones, and those of which the end was looked for.
void writeVectorLine(SinkBuffer& out, VectorKind kind, std::string_view line) {
  const std::string_view word = kVectorWords[static_cast<std::size_t>(kind)];
  const bool plain = line.size() > word.size() && line[0] == 'v' && line[word.size()] == ' ' &&
                     line.size() < SinkBuffer::kMaxReserve && line.back() != ' ' && line.back() != '\\' &&
                     !hasControls(line.data(), line.data() + line.size()) &&
                     std::memchr(line.data(), '\n', line.size()) == nullptr;
  if (plain) {
    char* const to = out.reserve(line.size() + 1);
    std::memcpy(to, line.data(), line.size());
    to[line.size()] = '\n';
    out.advanceTo(to + line.size() + 1);
    return;
  }
  LineWords words(line);
  words.next();
  const std::string text = joinedText(words.rest());
  out.text(word);
  if (!text.empty()) out.character(' ');
  out.endLine(text);
}

}  // namespace WavefrontOBJ
