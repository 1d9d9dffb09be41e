#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string_view>

#include "system/Files.h"
#include "system/PathNames.h"

FileSpec _fileSpec[kMaxOpenFiles];

namespace {

/// `path` without the slashes that it may end with; "/" stays.
std::string_view withoutEndSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

std::string_view lastName(const FileSpec::FSRef& ref) {
  const std::string_view path = withoutEndSlashes(ref.path);
  return path == "/" ? path : path.substr(path.rfind('/') + 1);
}

/// The folder that the file lies in, whether or not there is such a file.
FileSpec::FSRef folderOf(const FileSpec::FSRef& ref) {
  const std::string_view path = withoutEndSlashes(ref.path);
  const std::size_t slash = path.rfind('/');
  const std::string_view folder = slash == std::string_view::npos
                                      ? "."
                                      : withoutEndSlashes(path.substr(0, std::max<std::size_t>(slash, 1)));
  FileSpec::FSRef result = {};
  folder.copy(result.path, folder.size());
  return result;
}

enum class Found { kYes, kFolderOnly, kNo };

/// Fills the reference and looks what it leads to.
Found makeReference(const char* path, FileSpec::FSRef& ref) {
  const std::size_t length = std::strlen(path);
  if (length == 0 || length >= sizeof ref.path) {
    ref.path[0] = '\0';
    return Found::kNo;
  }
  std::memmove(ref.path, path, length + 1);
  struct stat status = {};
  if (::stat(ref.path, &status) == 0) return Found::kYes;
  if (errno != ENOENT) return Found::kNo;
  const bool inFolder = ::stat(folderOf(ref).path, &status) == 0 && S_ISDIR(status.st_mode);
  return inFolder ? Found::kFolderOnly : Found::kNo;
}

bool fillOldSpec(const FileSpec::FSRef& ref, FileSpec::FSSpec& spec) {
  spec = {};
  const std::string_view name = lastName(ref);
  struct stat status = {};
  if (name.size() >= sizeof spec.name || ::stat(ref.path, &status) != 0 ||
      ::stat(folderOf(ref).path, &status) != 0) {
    return false;
  }
  spec.volume = status.st_dev;
  spec.folder = status.st_ino;
  name.copy(spec.name, name.size());
  return true;
}

}  // namespace

FileSpec::FSSpec* FileSpec::GetFSSpec() {
  if (fsSpecCached == 0) fsSpecCached = fillOldSpec(ref, fsSpec) ? 1 : 0;
  return &fsSpec;
}

FileSpec* MakeFileSpec(const char* path, bool mustExist, FileSpec* spec, bool /*flag*/) {
  if (path == nullptr) return nullptr;
  if (spec == nullptr) {
    spec = std::find_if(std::begin(_fileSpec), std::end(_fileSpec),
                        [](const FileSpec& record) { return record.isOpen == 0; });
    if (spec == std::end(_fileSpec)) return nullptr;
  }
  spec->fsSpecCached = 0;
  const Found found = makeReference(withoutPathPrefix(path), spec->ref);
  return found == Found::kYes || (found == Found::kFolderOnly && !mustExist) ? spec : nullptr;
}
