#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "KSmthExport.h"
#include "document/DocumentWriter.h"
#include "document/FileOrder.h"
#include "document/OBJDocument.h"
#include "document/Selection.h"

namespace WavefrontOBJ {

/// A document taken apart, so that `merge` can put it together again: each part says in comment lines what it
/// has of the document, see PartNotes.h. An element of several groups is in several parts.
class KSMTH_API DocumentSplit {
 public:
  /// One part for each group, smoothing group, material or object that has elements, in the order of the
  /// document's lists. Of what `within` chooses, each part has the elements that are its own; rows of the
  /// division itself that it does not choose are no parts. `document` must outlive this. May throw
  /// std::bad_alloc.
  DocumentSplit(const OBJDocument& document, Division by, const Selection& within = {});

  std::size_t partCount() const { return parts_.size(); }
  /// The group's, material's or object's name, or the smoothing number; none for the elements without.
  const std::optional<std::string>& name(std::size_t part) const { return parts_[part].name; }
  ElementLists elements(std::size_t part) const;

  /// Writes one part. Fails as `DocumentWriter::write` does. Not on several threads at a time.
  Result writePart(std::size_t part, WriteOptions options, Sink& sink, WriteCounts* counts = nullptr);

  /// Whether there are vertex lines that no part written so far has, or statements that are no elements.
  bool hasRest() const;
  /// Writes those. All vertex lines where there are statements, since these may refer to them by their
  /// numbers.
  Result writeRest(WriteOptions options, Sink& sink, WriteCounts* counts = nullptr);

 private:
  struct Part {
    std::optional<std::string> name;
    std::vector<std::size_t> rows;  ///< of the members: "off" and "0" are one part
  };

  using LineSpans = std::array<std::span<const std::uint32_t>, kLineKinds>;

  Result notesOf(const LineSpans& lines, std::vector<std::string>& text);

  const OBJDocument& document_;
  DocumentWriter writer_;
  std::array<OBJMembers, kElementKinds> members_;
  std::vector<Part> parts_;
  std::array<std::vector<bool>, kElementKinds> chosen_;         ///< all empty where all elements are
  std::array<std::vector<bool>, kVectorKinds> used_;            ///< vertex lines that are in a part
  std::array<std::vector<std::uint32_t>, kLineKinds> numbers_;  ///< of each line among all
  std::optional<std::uint64_t> checksum_;
};

}  // namespace WavefrontOBJ
