#include "system/WholeFile.h"

#include "LargePages.h"
#include "system/Files.h"
#include "system/Host.h"
#include "system/Memory.h"

int SaveToFile(const char* path, const void* data, std::int32_t size) {
  constexpr std::int32_t kPhotoshopType = 0x50534420;  // "PSD "
  if (size < 0 || (data == nullptr && size > 0)) return -1;
  FileSpec* const file = Sys_FileOpenOrCreate(path, true, kPhotoshopType);
  if (file == nullptr) return -1;
  const std::int32_t written = Sys_FileWrite(file, data, size);
  Sys_FileClose(file, true);
  // The flag tells also of what the disk refused as late as at the close.
  return written == size && gIncompleteSaveCount == 0 ? 0 : -1;
}

void* LoadFromFile(const char* path, std::int32_t* size) {
  if (size != nullptr) *size = 0;
  FileSpec* const file = Sys_FileOpen(path, false);
  if (file == nullptr) return nullptr;
  const std::int32_t wanted = Sys_FileGetSize(file);
  if (size != nullptr) *size = wanted;
  void* const block = wanted > 0 ? MY_MEM_MALLOC(wanted, "LoadFromFile") : nullptr;
  if (block != nullptr) {
    preferLargePages(block, static_cast<std::size_t>(wanted));
    const std::int32_t read = Sys_FileRead(file, block, wanted);
    if (read != wanted) Sys_BreakToDebugger();
    // Up to the block's end as `Sys_GetMemSize` tells it, which may lie beyond the file's.
    Sys_MemZero(static_cast<char*>(block) + read, Sys_GetMemSize(block) - read);
  }
  Sys_FileClose(file, false);
  return block;
}
