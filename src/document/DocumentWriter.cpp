#include "document/DocumentWriter.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "document/DocumentWriterRun.h"
#include "document/LogicalLine.h"
#include "document/PartNotes.h"
#include "document/VectorLines.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

constexpr std::string_view kVectorWords[kVectorKinds] = {"v", "vt", "vn", "vp"};

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
    : document_(document), lines_(document.source()) {}

Result DocumentWriter::write(const ElementLists& lists, const WriteOptions& options, Sink& sink,
                             WriteCounts* counts) {
  try {
    Run run(*this, lists, options, sink);
    Result result = run.write();
    if (counts != nullptr) *counts = run.counts();
    return result;
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, document_.source().name() + ": out of memory"};
  }
}

DocumentWriter::Run::Run(DocumentWriter& writer, const ElementLists& lists, const WriteOptions& options,
                         Sink& sink)
    : writer_(writer),
      document_(writer.document_),
      lists_(lists),
      options_(options),
      out_(sink),
      allVectors_(lists.whole || options.keepOrder) {}

DocumentWriter::Run::~Run() {
  for (std::size_t k = 0; k < writer_.used_.size(); ++k) {
    for (const std::uint32_t index : writer_.used_[k]) writer_.newIndex_[k][index] = 0;
    writer_.used_[k].clear();
  }
}

Result DocumentWriter::Run::write() {
  useVectors();
  const bool done = writeHead() && writeVectors(VectorKind::position) && writeVectors(VectorKind::texture) &&
                    writeVectors(VectorKind::normal) &&
                    (!lists_.whole || !options_.statements || writeVectors(VectorKind::parameter)) &&
                    writeElements();
  if (!done) return failure_;
  out_.flush();
  counts_.bytes = out_.bytes();
  return out_.result();
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
    scratch_ = joinedText(line);
    if (options_.rewriter != nullptr) options_.rewriter->commentText(scratch_);
    out_.text(scratch_);
    out_.character('\n');
  }
  const auto writeNotes = [this](const std::vector<std::string>& notes) {
    for (const std::string& note : notes) {
      out_.text("# ");
      out_.endLine(note);
    }
  };
  writeNotes(options_.notes);
  if (options_.partNotes)
    writeNotes(options_.partNotes({writer_.used_[0], writer_.used_[1], writer_.used_[2]}));
  return writeLibraries();
}

bool DocumentWriter::Run::writeLibraries() {
  if (!options_.materials) return true;
  const std::vector<OBJLibrary>& libraries = document_.libraries();
  bool open = false;
  for (std::size_t i = 0; i < libraries.size(); ++i) {
    const std::string& name = options_.libraries != nullptr ? (*options_.libraries)[i] : libraries[i].text;
    if (name.empty()) continue;
    const bool joins = open && libraries[i].sameLine && !options_.librariesApart;
    if (open && !joins) out_.character('\n');
    out_.text(joins ? " " : "mtllib ");
    out_.text(name);
    open = true;
  }
  if (open) out_.endLine({});
  return true;
}

/// Notes which vertex lines the part uses, and what their indices become.
void DocumentWriter::Run::useVectors() {
  constexpr VectorKind kKinds[] = {VectorKind::position, VectorKind::texture, VectorKind::normal};
  const auto forEachElement = [&](auto visit) {
    const auto list = [&](const ElementTable& table, const std::vector<std::uint32_t>& indices) {
      for (const std::uint32_t i : indices) visit(table, i);
    };
    list(document_.faces(), lists_.faces);
    list(document_.lines(), lists_.lines);
    list(document_.points(), lists_.points);
  };
  for (const VectorKind kind : kKinds) total_ += allVectors_ ? document_.vectorCount(kind) : 0;
  if (lists_.whole) {
    for (std::size_t k = 0; k < kElementKinds; ++k)
      total_ += document_.elements(static_cast<ElementKind>(k)).size();
  } else {
    total_ += lists_.faces.size() + lists_.lines.size() + lists_.points.size();
  }
  if (allVectors_) return;
  for (const VectorKind kind : kKinds) {
    const auto k = static_cast<std::size_t>(kind);
    std::vector<std::uint32_t>& newIndex = writer_.newIndex_[k];
    std::vector<std::uint32_t>& used = writer_.used_[k];
    const std::uint32_t count = document_.vectorCount(kind);
    newIndex.resize(count);
    forEachElement([&](const ElementTable& table, std::uint32_t i) {
      const auto row = kind == VectorKind::position  ? table.vertices(i)
                       : kind == VectorKind::texture ? table.textures(i)
                                                     : table.normals(i);
      for (const std::int32_t index : row) {
        if (index == kNoIndex || newIndex[static_cast<std::size_t>(index)] != 0) continue;
        newIndex[static_cast<std::size_t>(index)] = 1;
        used.push_back(static_cast<std::uint32_t>(index));
      }
    });
    // Whichever is less work: a look at every line, or a sort.
    if (used.size() * static_cast<std::size_t>(std::bit_width(used.size())) > count) {
      used.clear();
      for (std::uint32_t i = 0; i < count; ++i) {
        if (newIndex[i] != 0) used.push_back(i);
      }
    } else {
      std::sort(used.begin(), used.end());
    }
    for (std::size_t i = 0; i < used.size(); ++i) newIndex[used[i]] = static_cast<std::uint32_t>(i + 1);
    total_ += used.size();
  }
}

bool DocumentWriter::Run::writeVectors(VectorKind kind) {
  const auto k = static_cast<std::size_t>(kind);
  const bool all = allVectors_ || kind == VectorKind::parameter;
  const std::uint32_t count =
      all ? document_.vectorCount(kind) : static_cast<std::uint32_t>(writer_.used_[k].size());
  // Lines of a part may lie far from one another, each a wait for memory.
  constexpr std::uint32_t kAhead = 8;
  const auto offsets = document_.vectorOffsets(kind);
  const std::vector<std::uint32_t>* const used = all ? nullptr : &writer_.used_[k];
  for (std::uint32_t i = 0; i < count; ++i) {
    if (used != nullptr && i + 2 * kAhead < count) {
      __builtin_prefetch(&offsets[(*used)[i + 2 * kAhead]]);
      writer_.lines_.prefetch(offsets[(*used)[i + kAhead]]);
    }
    if (!advance() || !writeVector(kind, used == nullptr ? i : (*used)[i])) return false;
  }
  counts_.vectors[k] = count;
  return true;
}

bool DocumentWriter::Run::writeVector(VectorKind kind, std::uint32_t index) {
  std::string_view line;
  if (!fetch(document_.vectorOffsets(kind)[index], line)) return false;
  if (options_.rewriter == nullptr) {
    writeVectorLine(out_, kind, line);
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
