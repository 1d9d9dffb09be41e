#pragma once

#include <cstdint>

#include "KSmthExport.h"

/// Writes `size` bytes as the whole content of the file, which is created where it is missing. 0, or -1 where
/// it cannot be opened, `size` is negative, or `data` is null and `size` is not 0 (all leave the file as it
/// was) or the disk takes less: the file then ends where the writing did, and what it held before is lost.
KSMTH_API int SaveToFile(const char* path, const void* data, std::int32_t size);

/// The whole content of a file in a block that the caller releases with `MY_MEM_FREE`. Null where the file
/// cannot be opened or is empty, or there is no memory. `size`, unless null, gets the file's size in
/// bytes, 0 where it cannot be opened. Where the file turns out shorter than that, and where `Sys_GetMemSize`
/// tells a larger size of the block, the rest of the block is zero.
KSMTH_API void* LoadFromFile(const char* path, std::int32_t* size);
