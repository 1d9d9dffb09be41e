#include "document/TableMemory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "LargePages.h"

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace WavefrontOBJ {

#if defined(__linux__)

namespace {

/// Below it the allocator is as quick.
constexpr std::size_t kLarge = kLargePage / 4;
/// Of every system's pages.
constexpr std::size_t kPages = std::size_t{1} << 16;

bool isLarge(std::size_t bytes) {
  return bytes >= kLarge;
}

/// Whole pages, of which nothing is there before it is touched.
std::size_t pagesOf(std::size_t bytes) {
  return roundUp(bytes, kPages);
}

unsigned char* mapAnywhere(std::size_t size) {
  void* const pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return pages != MAP_FAILED ? static_cast<unsigned char*>(pages) : nullptr;
}

/// New pages that begin as large ones do; where addresses are short, anywhere. Null without memory.
unsigned char* map(std::size_t bytes) {
  const std::size_t used = pagesOf(bytes);
  const std::size_t whole = roundUp(used, kLargePage) + kLargePage;
  if (used < bytes || whole < bytes) return nullptr;
  unsigned char* const first = mapAnywhere(whole);
  if (first == nullptr) return mapAnywhere(used);
  const std::size_t before = (kLargePage - reinterpret_cast<std::uintptr_t>(first) % kLargePage) % kLargePage;
  unsigned char* const begin = first + before;
  // All alike, as the system moves only such pages at once.
  preferLargePages(begin, whole - kLargePage);
  if (before != 0) munmap(first, before);
  munmap(begin + used, whole - before - used);
  return begin;
}

/// Moved by large pages, which takes no more than a look at each; where addresses are short, anywhere.
void* remap(void* block, std::size_t bytes, std::size_t newBytes) {
  const std::size_t from = pagesOf(bytes);
  const std::size_t to = pagesOf(newBytes);
  if (to < newBytes) return nullptr;
  if (to <= from) {
    // By munmap, since emulators of 32-bit programs are known to lose what lies behind a block that mremap
    // shrinks.
    const bool isDone = to == from || munmap(static_cast<unsigned char*>(block) + to, from - to) == 0;
    return isDone ? block : nullptr;
  }
  void* moved = mremap(block, from, to, 0);
  if (moved != MAP_FAILED) return moved;
  if (unsigned char* const place = map(newBytes)) {
    // Where it fails, the place may be another's already: it is not given back.
    moved = mremap(block, from, to, MREMAP_MAYMOVE | MREMAP_FIXED, place);
  } else {
    moved = mremap(block, from, to, MREMAP_MAYMOVE);
  }
  return moved != MAP_FAILED ? moved : nullptr;
}

}  // namespace

void* resizeTable(void* block, std::size_t bytes, std::size_t newBytes) {
  if (!isLarge(bytes) && !isLarge(newBytes)) return std::realloc(block, newBytes);
  if (isLarge(bytes) && isLarge(newBytes)) return remap(block, bytes, newBytes);
  void* const other = isLarge(newBytes) ? map(newBytes) : std::malloc(newBytes);
  if (other == nullptr) return nullptr;
  if (block != nullptr) std::memcpy(other, block, std::min(bytes, newBytes));
  freeTable(block, bytes);
  return other;
}

std::size_t growingTableRoom(std::size_t bytes) {
  // Large pages are given only where there is room for the whole of one.
  return isLarge(bytes) ? roundUp(bytes, kLargePage) : bytes;
}

void freeTable(void* block, std::size_t bytes) {
  if (isLarge(bytes)) {
    munmap(block, pagesOf(bytes));
  } else {
    std::free(block);
  }
}

#else

void* resizeTable(void* block, std::size_t, std::size_t newBytes) {
  return std::realloc(block, newBytes);
}

std::size_t growingTableRoom(std::size_t bytes) {
  return bytes;
}

void freeTable(void* block, std::size_t) {
  std::free(block);
}

#endif

}  // namespace WavefrontOBJ
