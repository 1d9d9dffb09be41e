// The fast path of the OBJ reader, as far as it is not in OBJPlainLines.h.
#include <string_view>

#include "obj/internal/OBJReader.h"

namespace WavefrontOBJ {

/// Reads a line of one name that an earlier line had, with nothing behind it: files that change the group at
/// every face have millions of them.
const char* OBJReader::readGroup(const char* line) {
  const char* const begin = line + 2;
  const char* end = begin;
  while (static_cast<unsigned char>(*end) > ' ') ++end;
  if (end == begin || *end != '\n') return nullptr;
  const char* const lineFeed = OBJPlainLines<OBJReader>::lineEnd(line, end);
  if (lineFeed == nullptr) return nullptr;
  const std::string_view name(begin, static_cast<std::size_t>(end - begin));
  const auto known = knownGroups_.find(name);
  if (known == knownGroups_.end()) return nullptr;
  groupNames_.clear();
  groupLists_.assign(1, known->second);
  plain_.lastToken = name;
  return lineFeed;
}

/// Reads lines up to the first that is not plain, or to where the source's window must be moved on.
void OBJReader::readFastLines() {
  const char* line = source_.begin();
  std::size_t lines = 0;
  while (source_.showsLineAt(line)) {
    const char* const lineFeed = plain_.read(line);
    if (lineFeed == nullptr) break;
    line = lineFeed;
    // Behind the text, no line feed may have been read yet.
    if (line == source_.end()) break;
    ++line;
    ++lines;
  }
  source_.advanceTo(line);
  nextLineNumber_ += lines;
}

}  // namespace WavefrontOBJ
