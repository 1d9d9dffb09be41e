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
  Run(DocumentWriter& writer, const ElementLists& lists, const WriteOptions& options, Sink& sink);
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  /// Cleans the writer's tables for the next part.
  ~Run();

  Result write();
  const WriteCounts& counts() const { return counts_; }

 private:
  /// The elements of one kind that are to be written, and how far that has come.
  struct Cursor {
    ElementKind kind = ElementKind::face;
    const ElementTable* table = nullptr;
    const std::vector<std::uint32_t>* list = nullptr;  ///< null for all
    std::uint32_t position = 0;
    std::size_t run = 0;  ///< that of the last element

    std::uint32_t size() const {
      return list != nullptr ? static_cast<std::uint32_t>(list->size()) : table->size();
    }
    std::uint32_t element() const { return list != nullptr ? (*list)[position] : position; }
    std::uint64_t offset() const;
    std::uint32_t state();
  };

  bool writeHead();
  bool writeLibraries();
  void useVectors();
  bool writeVectors(VectorKind kind);
  bool writeVector(VectorKind kind, std::uint32_t index);
  bool writeElements();
  void writeElement(Cursor& cursor);
  void writeState(Cursor& cursor, std::uint32_t element);
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
  const WriteOptions& options_;
  SinkBuffer out_;
  Result failure_;
  WriteCounts counts_;
  bool allVectors_;
  std::uint64_t done_ = 0;
  std::uint64_t total_ = 0;

  ElementState written_;       ///< what the lines so far put in force
  std::string groupText_;      ///< of the last "g" line
  std::string smoothingText_;  ///< of the last "s" line
  std::string scratch_;
  bool first_ = true;  ///< no element is written yet
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
