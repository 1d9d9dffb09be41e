#include "system/Files.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "system/PathNames.h"
#include "system/PlatformFile.h"
#include "system/Strings.h"

std::int32_t _openFilesCount = 0;
std::int32_t gIncompleteSaveCount = 0;

namespace {

bool isOpen(const FileSpec* file) {
  return file != nullptr && file->isOpen != 0;
}

void reverse(void* buffer, std::int32_t count) {
  auto* const bytes = static_cast<std::byte*>(buffer);
  if (bytes != nullptr && count > 1) std::reverse(bytes, bytes + count);
}

/// Whether the folder is there that a file of this path can be created in. `path` has lost a prefix already.
bool hasFolder(const char* path) {
  const std::size_t length = std::strlen(path);
  char copy[kMaxPath];
  if (length >= sizeof copy) return false;
  std::memcpy(copy, path, length + 1);
  // The lower case stays in this question: a new file is named as its path spells it.
  if (length > 3 && copy[length - 4] == '.') STR_LowerCase(copy + length - 3);
  return MakeFileSpec(copy, false, nullptr, true) != nullptr;
}

}  // namespace

FileSpec* Sys_FileOpen(const char* path, bool write) {
  gIncompleteSaveCount = 0;
  if (path == nullptr) return nullptr;
  FileSpec* const file = MakeFileSpec(withoutPathPrefix(path), true, nullptr, true);
  if (file == nullptr) return nullptr;
  const int descriptor = platform::openFile(file->ref.path, write);
  if (descriptor < 0) return nullptr;
  const std::int64_t size = platform::size(descriptor);
  if (size < 0 || size > INT32_MAX) {
    platform::closeFile(descriptor);
    return nullptr;
  }
  file->forkRefNum = descriptor;
  file->isOpen = 1;
  ++_openFilesCount;
  return file;
}

FileSpec* Sys_FileOpenOrCreate(const char* path, bool write, std::int32_t /*fileType*/) {
  FileSpec* const file = Sys_FileOpen(path, write);
  if (file != nullptr || !write || path == nullptr) return file;
  // Whole, where Sys_FileOpen will look for it: folder, name and extension as ExtructFileNameComponents parts
  // them would lose names with a comma or with a dash behind the dot.
  const char* const bare = withoutPathPrefix(path);
  const char* const created = withoutPathPrefix(bare);
  if (!hasFolder(bare) || !platform::createFile(created)) return nullptr;
  FileSpec* const newFile = Sys_FileOpen(path, true);
  // The process may give new files no right to be opened.
  if (newFile == nullptr) ::unlink(created);
  return newFile;
}

void Sys_FileClose(FileSpec* file, bool setEndOfFile) {
  if (!isOpen(file)) return;
  if (setEndOfFile) Sys_SetEndOfFile(file);
  const platform::Closed closed = platform::closeFile(file->forkRefNum);
  if (closed == platform::Closed::kNotOpen) return;
  if (closed == platform::Closed::kWithLoss) gIncompleteSaveCount = 1;
  file->forkRefNum = 0;
  file->isOpen = 0;
  --_openFilesCount;
}

std::int32_t Sys_FileRead(FileSpec* file, void* buffer, std::int32_t count) {
  return isOpen(file) ? platform::readBytes(file->forkRefNum, buffer, count) : 0;
}

std::int32_t Sys_FileWrite(FileSpec* file, const void* buffer, std::int32_t count) {
  const std::int32_t written = isOpen(file) ? platform::writeBytes(file->forkRefNum, buffer, count) : 0;
  if (written != count) gIncompleteSaveCount = 1;
  return written;
}

std::int32_t Sys_FileReadReverse(FileSpec* file, void* buffer, std::int32_t count) {
  const std::int32_t read = Sys_FileRead(file, buffer, count);
  reverse(buffer, read);
  return read;
}

std::int32_t Sys_FileWriteReverse(FileSpec* file, void* buffer, std::int32_t count) {
  if (!isOpen(file)) return 0;
  reverse(buffer, count);
  const std::int32_t written = platform::writeBytes(file->forkRefNum, buffer, count);
  reverse(buffer, count);
  return written;
}

std::int32_t Sys_FileSeek(FileSpec* file, std::int32_t offset, bool relative) {
  const std::int64_t position = Sys_FileGetPos(file);
  if (position < 0) return -1;
  const std::int64_t target = offset + (relative ? position : 0);
  if (target < 0 || target > INT32_MAX) return -1;
  const auto answer = static_cast<std::int32_t>(target);
  if (target == position) return answer;
  const int descriptor = file->forkRefNum;
  const std::int64_t size = platform::size(descriptor);
  if (target > size && !platform::setSize(descriptor, target)) {
    // At the end, so that a reader who skips past it reads nothing more.
    platform::setPosition(descriptor, std::clamp<std::int64_t>(size, 0, INT32_MAX));
    return -1;
  }
  return platform::setPosition(descriptor, target) ? answer : -1;
}

std::int32_t Sys_FileGetPos(FileSpec* file) {
  const std::int64_t position = isOpen(file) ? platform::position(file->forkRefNum) : -1;
  return position <= INT32_MAX ? static_cast<std::int32_t>(position) : -1;
}

std::int32_t Sys_FileGetSize(FileSpec* file) {
  if (!isOpen(file)) return 0;
  const std::int64_t size = platform::size(file->forkRefNum);
  return size <= INT32_MAX ? static_cast<std::int32_t>(size) : -1;
}

void Sys_SetEndOfFile(FileSpec* file) {
  const std::int32_t position = Sys_FileGetPos(file);
  if (position >= 0) platform::setSize(file->forkRefNum, position);
}

bool Sys_FileAvialable(const char* path, bool write) {
  FileSpec* const file = Sys_FileOpen(path, write);
  Sys_FileClose(file, false);
  return file != nullptr;
}

int Sys_FileDelete(const char* path) {
  gIncompleteSaveCount = 0;
  FileSpec file = {};
  if (path == nullptr || MakeFileSpec(withoutPathPrefix(path), true, &file, false) == nullptr) return 0;
  // Without the pool and its limit of size: neither a full pool nor a long file stands in the way.
  const int descriptor = platform::openFile(file.ref.path, false);
  if (descriptor < 0) return 0;
  platform::closeFile(descriptor);
  return ::unlink(file.ref.path) == 0 ? 0 : -1;
}
