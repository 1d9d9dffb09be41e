#include "system/Memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#if defined(__APPLE__)
#include <malloc/malloc.h>
#elif defined(__linux__)
#include <malloc.h>
#endif
#include <unistd.h>

std::int32_t gAllocatedMem = 0;
std::int32_t gMemAllocationFailed = 0;
std::int32_t gMem_SkipNExtErrorMessage = 0;

namespace {

std::size_t blockSize(void* block) {
#if defined(__APPLE__)
  return malloc_size(block);
#else
  return malloc_usable_size(block);
#endif
}

template <class Allocate>
void* allocate(int size, Allocate allocate) {
  gMem_SkipNExtErrorMessage = 0;
  // A block of at least one byte: whether malloc(0) answers null differs between platforms.
  void* block = size < 0 ? nullptr : allocate(static_cast<std::size_t>(std::max(size, 1)));
  if (block == nullptr) {
    gMemAllocationFailed = 1;
  } else {
    gAllocatedMem = static_cast<std::int32_t>(static_cast<std::uint32_t>(gAllocatedMem) +
                                              static_cast<std::uint32_t>(Sys_GetMemSize(block)));
  }
  return block;
}

}  // namespace

void* MY_MEM_MALLOC(int size, const char* /*tag*/) {
  return allocate(size, [](std::size_t bytes) { return std::malloc(bytes); });
}

// calloc, which need not touch memory that is fresh from the system.
void* MY_MEM_MALLOC_CLEAR(int size, const char* /*tag*/) {
  return allocate(size, [](std::size_t bytes) { return std::calloc(bytes, 1); });
}

void MY_MEM_FREE(void* block) {
  std::free(block);
}

std::int32_t Sys_GetMemSize(void* block) {
  if (block == nullptr) return 0;
  return static_cast<std::int32_t>(std::min<std::size_t>(blockSize(block), INT32_MAX));
}

std::int32_t Sys_AvailableSystemMem(bool /*unused1*/, bool /*unused2*/) {
#if defined(_SC_AVPHYS_PAGES)
  const auto pages = static_cast<std::int64_t>(sysconf(_SC_AVPHYS_PAGES));
  const auto pageSize = static_cast<std::int64_t>(sysconf(_SC_PAGESIZE));
  if (pages < 0 || pageSize <= 0) return INT32_MAX;
  return static_cast<std::int32_t>(std::min<std::int64_t>(pages, INT32_MAX / pageSize) * pageSize);
#else
  return INT32_MAX;
#endif
}

void Sys_MemCopy(void* to, const void* from, std::int32_t n) {
  if (n > 0 && to != nullptr && from != nullptr) std::memcpy(to, from, static_cast<std::size_t>(n));
}

void Sys_MemMove(void* to, const void* from, std::int32_t n) {
  if (n > 0 && to != nullptr && from != nullptr) std::memmove(to, from, static_cast<std::size_t>(n));
}

void Sys_MemZero(void* to, std::int32_t n) {
  Sys_MemSet(to, 0, n);
}

// The platform's fill works in words and wider.
void Sys_MemSet(void* to, unsigned char value, std::int32_t n) {
  if (n > 0 && to != nullptr) std::memset(to, value, static_cast<std::size_t>(n));
}
