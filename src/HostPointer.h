#pragma once

#include <cstdint>

/// A pointer field of a host record: 32 bits wide on every build, zero for null.
///
/// On a 32-bit build the field is the pointer. On a 64-bit build it holds the lower half of the address, and
/// the upper half is that of the record around it: a host keeps all records of one mesh or bitmap, and what
/// they point to, in one 4 GiB window of its address space. The field therefore means something only where it
/// lies, and cannot be copied out: read it in place.
template <class T>
class HostPointer {
 public:
  HostPointer(const HostPointer&) = delete;
  HostPointer& operator=(const HostPointer&) = delete;

  T* get() const {
    if (bits_ == 0) return nullptr;
    constexpr std::uintptr_t kLowerHalf = UINT32_MAX;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the pointer's two halves come from different places.
    return reinterpret_cast<T*>((reinterpret_cast<std::uintptr_t>(this) & ~kLowerHalf) | bits_);
  }
  T* operator->() const { return get(); }
  T& operator*() const { return *get(); }
  explicit operator bool() const { return bits_ != 0; }

 private:
  std::uint32_t bits_;
};
