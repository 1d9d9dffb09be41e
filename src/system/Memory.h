#pragma once

#include <cstdint>

#include "KSmthExport.h"

// Memory blocks with a running count, and plain fills and copies. Sizes are signed 32-bit, as the images that
// they serve have them.

/// Bytes of all blocks ever obtained through `MY_MEM_MALLOC`, by the sizes that `Sys_GetMemSize` tells. Wraps
/// round. Freeing does not subtract: fixed by the host's contract.
KSMTH_API extern std::int32_t gAllocatedMem;
/// Set to 1 by every allocation that fails. Whoever looks at it clears it; nothing here does.
KSMTH_API extern std::int32_t gMemAllocationFailed;
/// Cleared by every allocation, successful or not.
KSMTH_API extern std::int32_t gMem_SkipNExtErrorMessage;

/// A block of at least `size` bytes with undefined content, aligned for every type; the caller releases it
/// with `MY_MEM_FREE`. A size of 0 gives a block of its own. Null when `size` is negative or there is no
/// memory. `tag` names the caller ("ABitMap::Allocate") and is not read; it may be null.
KSMTH_API void* MY_MEM_MALLOC(int size, const char* tag);
/// The same with the first `size` bytes zero.
KSMTH_API void* MY_MEM_MALLOC_CLEAR(int size, const char* tag);
/// Releases a block; null is nothing.
KSMTH_API void MY_MEM_FREE(void* block);

/// Usable bytes of a block of `MY_MEM_MALLOC`, at least the size asked for; 0 for null.
KSMTH_API std::int32_t Sys_GetMemSize(void* block);
/// Bytes of memory that the system has to give, at most 2^31 - 1. Both flags are ignored.
KSMTH_API std::int32_t Sys_AvailableSystemMem(bool unused1, bool unused2);

// These four do nothing for an `n` below 1 and where a pointer is null.

/// Copies `n` bytes between areas that do not overlap.
KSMTH_API void Sys_MemCopy(void* to, const void* from, std::int32_t n);
/// Copies `n` bytes between areas that may overlap.
KSMTH_API void Sys_MemMove(void* to, const void* from, std::int32_t n);
/// Zeroes `n` bytes.
KSMTH_API void Sys_MemZero(void* to, std::int32_t n);
/// Sets `n` bytes to `value`.
KSMTH_API void Sys_MemSet(void* to, unsigned char value, std::int32_t n);
