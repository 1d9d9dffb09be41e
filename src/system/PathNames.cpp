#include "system/PathNames.h"

#include <cstring>
#include <string_view>

#include "system/Files.h"
#include "system/Strings.h"

const char* withoutPathPrefix(const char* path) {
  if (path[0] == '!') return path + (path[1] == '\0' ? 1 : 2);
  const char* const behind = STR_Compare("file:", path, false, false);
  return behind == nullptr ? path : behind;
}

bool ExtructFileNameComponents(const char* path, char* out, bool wantFolder, bool wantName,
                               bool wantExtension) {
  if (out == nullptr) return false;
  const std::string_view whole(path == nullptr ? "" : path);
  const std::size_t length = whole.size();

  std::size_t nameEnd = length;
  std::size_t extensionEnd = length;
  // Exactly the fourth from the end: a longer ending belongs to the name, fixed by the host's contract.
  if (length > 3 && whole[length - 4] == '.' && !STR_IsDelimiter(whole[length - 1])) {
    nameEnd = length - 4;
    extensionEnd = nameEnd + 1;
    while (extensionEnd < length && STR_IsAlphaNumeic(whole[extensionEnd])) ++extensionEnd;
  }

  std::size_t nameStart = 0;
  // Bare paths have no folder part: fixed by the host's contract.
  if (length > 1 && whole[1] == ':') {
    nameStart = nameEnd;
    while (nameStart > 0 && !STR_IsDelimiter(whole[nameStart - 1])) --nameStart;
  }

  const struct {
    bool wanted;
    std::size_t start;
    std::size_t end;
  } parts[] = {
      {wantFolder, 0, nameStart}, {wantName, nameStart, nameEnd}, {wantExtension, nameEnd, extensionEnd}};
  bool foundAll = true;
  std::size_t written = 0;
  for (const auto& part : parts) {
    if (!part.wanted) continue;
    const std::size_t size = part.end - part.start;
    if (size == 0) {
      foundAll = false;
    } else {
      std::memmove(out + written, whole.data() + part.start, size);
      written += size;
    }
  }
  out[written] = '\0';

  for (std::size_t i = written > 1 && out[1] == ':' ? 2 : 0; i < written; ++i) {
    if (out[i] == '\\' || out[i] == ':') out[i] = '/';
  }
  return foundAll;
}
