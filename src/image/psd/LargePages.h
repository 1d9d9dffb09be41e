#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace psd {

/// Tells the system that the block, fresh from the allocator, will be written to from end to end. Where it
/// can give such memory in large pages, that saves most of the time that a document's first touch takes.
/// Changes nothing that a program could see.
inline void preferLargePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t size) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
  const auto start = (reinterpret_cast<std::uintptr_t>(block) + kLargePage - 1) & ~(kLargePage - 1);
  const auto end = (reinterpret_cast<std::uintptr_t>(block) + size) & ~(kLargePage - 1);
  // Small blocks share their pages with others.
  if (block == nullptr || end <= start) return;
  static_cast<void>(madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE));
#endif
}

}  // namespace psd
