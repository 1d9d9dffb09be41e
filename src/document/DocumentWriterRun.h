#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "document/DocumentWriter.h"

namespace WavefrontOBJ {

/// Text on its way to a sink, through one buffer.
class SinkBuffer {
 public:
  explicit SinkBuffer(Sink& sink);

  /// Room for `bytes` more, at most `kMaxReserve`, from `position` on.
  char* reserve(std::size_t bytes) {
    if (static_cast<std::size_t>(end_ - position_) < bytes) flush();
    return position_;
  }
  /// Takes over what was written up to `position`.
  void advanceTo(char* position) { position_ = position; }
  void text(std::string_view text);
  /// `text` as the end of a line. A backslash that stands last gets a blank, lest it continue the line.
  void endLine(std::string_view text);
  void character(char c) {
    *reserve(1) = c;
    ++position_;
  }
  void flush();

  /// The sink's first failure. What comes after it is dropped.
  const Result& result() const { return result_; }
  std::uint64_t bytes() const { return bytes_; }

  static constexpr std::size_t kMaxReserve = 4096;

 private:
  static constexpr std::size_t kBytes = 128U * 1024;

  Sink& sink_;
  std::unique_ptr<char[]> buffer_;
  char* position_;
  char* end_;
  Result result_;
  std::uint64_t bytes_ = 0;
};

/// Writes a vertex line as it is, joined where it is continued.
void writeVectorLine(SinkBuffer& out, VectorKind kind, std::string_view line);

/// One write of a part.
class DocumentWriter::Run {
 public:
  /// Writes the elements of `lists` and what they need, or, where there is a `rest`, these vertex lines.
  Run(DocumentWriter& writer, const ElementLists& lists, const VectorLists* rest, const WriteOptions& options,
      Sink& sink);
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  /// Cleans the writer's tables for the next part.
  ~Run();

  Result write();
  const WriteCounts& counts() const { return counts_; }

 private:
  bool writeHead();
  bool writeLibraries();
  void useVectors();
  void layOut();
  bool writeLines();
  void expectLine(const LineStream& stream) const;
  bool writeAsides(std::uint64_t anchor);
  void writeComment(std::string_view line);
  bool writeLine(const LineStream& stream);
  bool writeVector(VectorKind kind, std::uint32_t index);
  void writeElement(ElementKind kind, std::uint32_t element);
  std::uint32_t stateOf(ElementKind kind, std::uint32_t element);
  void writeState(ElementKind kind, std::uint32_t element);
  void writeName(Division division, std::int32_t index);
  void writeGroups(const ElementState& state);
  std::string smoothingText(std::int32_t index) const;
  void writeCorners(ElementKind kind, std::uint32_t element, const std::vector<std::uint32_t>* pieces);
  char* writeCorner(char* out, const ElementTable& table, std::uint32_t corner) const;
  bool writeStatement(const OBJStatement& statement);
  bool advance();
  bool fetch(std::uint64_t offset, std::string_view& line);

  DocumentWriter& writer_;
  const OBJDocument& document_;
  const ElementLists& lists_;
  const VectorLists* rest_;
  const WriteOptions& options_;
  SinkBuffer out_;
  Result failure_;
  WriteCounts counts_;
  bool allVectors_;
  std::uint64_t done_ = 0;
  std::uint64_t total_ = 0;

  std::array<LineStream, kLineKinds> streams_;
  std::size_t run_[kElementKinds] = {};  ///< that of the last element of each kind
  std::size_t aside_ = 0;                ///< the next one
  std::uint64_t nextAnchor_ = kNoOffset;
  std::uint64_t lastWritten_ = kNoOffset;

  ElementState written_;       ///< what the lines so far put in force
  std::string groupText_;      ///< of the last "g" line
  std::string smoothingText_;  ///< of the last "s" line
  std::string scratch_;
  bool restate_ = true;  ///< the next element's state is looked at, even if it is that of the last one
  std::uint32_t lastState_ = 0;
  std::vector<std::uint32_t> pieces_;
  bool dropTextures_ = false;  ///< of the element in work
  bool dropNormals_ = false;
};

/// Turns the index of a vertex line, from 0, into the one to write.
using IndexMap = std::function<std::int64_t(VectorKind kind, std::int64_t index)>;

/// The text of a free-form statement with indices of vertex lines that count back, from where it stands, made
/// absolute and, where there is a `map`, all of them mapped. `text` is a whole line, joined.
std::string absoluteStatement(const OBJDocument& document, std::uint64_t offset, const std::string& text,
                              const IndexMap& map = {});

}  // namespace WavefrontOBJ
