#include "document/FileOrder.h"

#include <algorithm>

namespace WavefrontOBJ {
namespace {

std::array<LineStream, kLineKinds> allStreams(const OBJDocument& document) {
  std::array<LineStream, kLineKinds> streams;
  for (std::size_t kind = 0; kind < kLineKinds; ++kind) streams[kind] = LineStream(document, kind);
  return streams;
}

}  // namespace

std::uint32_t lineCount(const OBJDocument& document, std::size_t kind) {
  if (kind < kFirstElementLine) return document.vectorCount(static_cast<VectorKind>(kind));
  if (kind < kStatementLine)
    return document.elements(static_cast<ElementKind>(kind - kFirstElementLine)).size();
  return static_cast<std::uint32_t>(document.statements().size());
}

std::uint32_t lineCount(const OBJDocument& document) {
  std::uint32_t count = 0;
  for (std::size_t kind = 0; kind < kLineKinds; ++kind) count += lineCount(document, kind);
  return count;
}

std::uint64_t lineOffset(const OBJDocument& document, std::size_t kind, std::uint32_t index) {
  if (kind < kFirstElementLine) return document.vectorOffsets(static_cast<VectorKind>(kind))[index];
  if (kind < kStatementLine)
    return document.elements(static_cast<ElementKind>(kind - kFirstElementLine)).offset(index);
  return document.statements()[index].offset;
}

LineStream* nextStream(std::span<LineStream> streams, std::uint64_t& limit) {
  LineStream* next = nullptr;
  std::uint64_t first = kNoOffset;
  limit = kNoOffset;
  for (LineStream& stream : streams) {
    const std::uint64_t offset = stream.offset();
    if (offset < first) {
      limit = first;
      first = offset;
      next = &stream;
    } else {
      limit = std::min(limit, offset);
    }
  }
  return next;
}

std::vector<DocumentLine> linesInOrder(const OBJDocument& document) {
  std::vector<DocumentLine> lines;
  lines.reserve(lineCount(document));
  auto streams = allStreams(document);
  std::uint64_t limit = 0;
  while (LineStream* const stream = nextStream(streams, limit)) {
    for (; stream->offset() < limit; stream->advance())
      lines.push_back({static_cast<std::uint8_t>(stream->kind()), stream->index()});
  }
  return lines;
}

std::vector<Aside> asidesOf(const OBJDocument& document, std::size_t firstComment) {
  std::vector<Aside> asides;
  const auto comments = document.comments().subspan(firstComment);
  const auto groups = document.emptyGroups();
  asides.reserve(comments.size() + groups.size());
  for (const std::uint64_t offset : comments) asides.push_back({kNoOffset, offset, false});
  for (const std::uint64_t offset : groups) asides.push_back({kNoOffset, offset, true});
  std::inplace_merge(asides.begin(), asides.begin() + static_cast<std::ptrdiff_t>(comments.size()),
                     asides.end(), [](const Aside& a, const Aside& b) { return a.offset < b.offset; });
  for (std::size_t kind = 0; kind < kLineKinds; ++kind) {
    const std::uint32_t count = lineCount(document, kind);
    std::uint32_t next = 0;
    for (Aside& aside : asides) {
      // Most stand between lines of other kinds.
      if (next < count && lineOffset(document, kind, next) < aside.offset) {
        std::uint32_t end = count;
        while (next < end) {
          const std::uint32_t middle = next + (end - next) / 2;
          if (lineOffset(document, kind, middle) < aside.offset) {
            next = middle + 1;
          } else {
            end = middle;
          }
        }
      }
      if (next < count) aside.anchor = std::min(aside.anchor, lineOffset(document, kind, next));
    }
  }
  return asides;
}

}  // namespace WavefrontOBJ
