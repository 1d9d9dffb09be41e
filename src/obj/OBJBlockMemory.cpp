#include "obj/OBJBlockMemory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

#include "LargePages.h"

namespace WavefrontOBJ {
namespace {

constexpr std::size_t kAlignment = alignof(std::max_align_t);
/// Larger pieces would gain nothing, and leave more of the last unused.
constexpr std::size_t kMaxPiece = std::size_t{32} << 20;

}  // namespace

/// What stands before the memory of a piece.
struct OBJBlockMemory::Piece {
  Piece* next;
  unsigned char* begin;
  unsigned char* end;
};

OBJBlockMemory::~OBJBlockMemory() {
  while (pieces_ != nullptr) std::free(std::exchange(pieces_, pieces_->next));
}

/// Gets a piece of `bytes`, whole large pages where there is room for such.
bool OBJBlockMemory::addPiece(std::size_t bytes) {
  // Of smaller ones there is nothing to be had.
  const std::size_t alignment = bytes < kLargePage ? kAlignment : kLargePage;
  bytes = roundUp(bytes, alignment);
  // What alignment passes over is never touched.
  const std::size_t before = sizeof(Piece) + alignment;
  void* const memory = std::malloc(before + bytes);
  if (memory == nullptr) return false;
  auto* const first = static_cast<unsigned char*>(memory);
  unsigned char* const begin = first + before - reinterpret_cast<std::uintptr_t>(first + before) % alignment;
  preferLargePages(begin, bytes);
  pieces_ = new (memory) Piece{pieces_, begin, begin + bytes};
  next_ = begin;
  total_ += bytes;
  return true;
}

void* OBJBlockMemory::take(std::size_t count, std::size_t size) {
  if (size != 0 && count > SIZE_MAX / 4 / size) return nullptr;
  const std::size_t bytes = roundUp(count * size, kAlignment);
  const std::size_t left = pieces_ != nullptr ? static_cast<std::size_t>(pieces_->end - next_) : 0;
  // As much again as there is, so that small arrays stay small, or, where memory is short, just the block.
  if (bytes > left && !addPiece(std::max(bytes, std::min(total_, kMaxPiece))) && !addPiece(bytes)) {
    return nullptr;
  }
  return std::exchange(next_, next_ + bytes);
}

void expectBlock([[maybe_unused]] std::size_t bytes) {
  // Elsewhere such memory is never the heap's.
#if defined(__GLIBC__) && SIZE_MAX > UINT32_MAX
  constexpr std::size_t kBytes = std::size_t{16} << 20;
  // Of the memory prepared last, as the blocks of all arrays lie in it.
  thread_local std::size_t left = 0;
  if (left < bytes && bytes < kLargePage) {
    // A part goes to what else is asked for meanwhile.
    left = kBytes - kBytes / 8;
    // What was asked for at once and has been given back is where the next blocks lie. So much comes from the
    // heap once as much has been given back: the second time at the latest, unless the program wants
    // otherwise. Then it ends where a large page does, so that the next can begin there.
    std::size_t more = kLargePage;
    for (int i = 0; i < 3; ++i) {
      void* const memory = std::malloc(kBytes + more);
      preferLargePages(memory, kBytes + more);
      std::free(memory);
      more = kLargePage - (reinterpret_cast<std::uintptr_t>(memory) + kBytes) % kLargePage;
    }
  }
  left -= std::min(left, bytes);
#endif
}

}  // namespace WavefrontOBJ
