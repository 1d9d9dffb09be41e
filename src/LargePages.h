#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

/// Bytes of a large page, where there are any, and their alignment.
inline constexpr std::size_t kLargePage = std::size_t{2} << 20;

constexpr std::size_t roundUp(std::size_t bytes, std::size_t unit) {
  return (bytes + unit - 1) / unit * unit;
}

/// Tells the system that the block, fresh from the allocator, will be written to from end to end. Where it
/// can give such memory in large pages, that saves most of the time that the first touch of it takes.
/// Changes nothing that a program could see.
inline void preferLargePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t size) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t before = (kLargePage - address % kLargePage) % kLargePage;
  // Small blocks share their pages with others.
  if (block == nullptr || size < before + kLargePage) return;
  const std::size_t whole = (size - before) / kLargePage * kLargePage;
  static_cast<void>(madvise(static_cast<unsigned char*>(block) + before, whole, MADV_HUGEPAGE));
#endif
}
