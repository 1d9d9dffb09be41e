#include "host/Arena.h"

#include <sys/mman.h>

#include <cstring>
#include <limits>
#include <new>

namespace host {
namespace {

void* mapMemory(std::size_t bytes) {
  void* const memory =
      mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return memory;
}

}  // namespace

std::uint64_t Arena::placeIn(std::uint64_t first, std::uint64_t bytes) {
  // Of two halves of that size side by side, a boundary can be inside of one only.
  return first >> 32U == (first + bytes - 1) >> 32U ? first : first + bytes;
}

Arena::Arena(std::size_t capacity) : capacity_(kAlignment) {
  constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max() / 2;
  if (capacity > kMost - kAlignment) throw std::bad_alloc();
  capacity_ += capacity;
  mappingBytes_ = capacity_;
  mapping_ = mapMemory(mappingBytes_);
  const auto offset = [this] {
    const auto first = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(mapping_));
    return static_cast<std::size_t>(placeIn(first, capacity_) - first);
  };
  if (offset() != 0) {
    munmap(mapping_, mappingBytes_);
    mappingBytes_ = 2 * capacity_;
    mapping_ = mapMemory(mappingBytes_);
  }
  base_ = static_cast<std::uint8_t*>(mapping_) + offset();
  // The first bytes stay unused: the area may begin right at a boundary, where an address would pass for
  // null.
  used_ = kAlignment;
  std::memset(base_, kPattern, used_);
}

Arena::~Arena() {
  munmap(mapping_, mappingBytes_);
}

std::size_t Arena::roomFor(std::size_t bytes) {
  return (bytes / kAlignment + 2) * kAlignment;
}

std::uint8_t* Arena::allocate(std::size_t bytes) {
  const std::size_t left = capacity_ - used_;
  if (bytes > left || roomFor(bytes) > left) throw std::bad_alloc();
  std::uint8_t* const memory = base_ + used_;
  std::memset(memory, kPattern, roomFor(bytes));
  used_ += roomFor(bytes);
  return memory;
}

std::uint32_t Arena::pointerField(const void* address) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
}

}  // namespace host
