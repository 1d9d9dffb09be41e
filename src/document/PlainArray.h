#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

#include "document/TableMemory.h"

namespace WavefrontOBJ {

/// A growing array of plain values. Unlike those of std::vector, tables of millions of rows are neither
/// copied nor twice in memory while they grow.
template <class T>
class PlainArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  PlainArray() = default;
  PlainArray(const PlainArray&) = delete;
  PlainArray& operator=(const PlainArray&) = delete;
  PlainArray(PlainArray&& other) noexcept { swap(other); }
  PlainArray& operator=(PlainArray&& other) noexcept {
    swap(other);
    return *this;
  }
  ~PlainArray() { freeTable(data_, memoryBytes()); }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T* data() { return data_; }
  const T* data() const { return data_; }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }
  const T* begin() const { return data_; }
  const T* end() const { return data_ + size_; }
  T& back() { return data_[size_ - 1]; }
  const T& back() const { return data_[size_ - 1]; }
  std::span<const T> span() const { return {data_, size_}; }

  /// Throws std::bad_alloc, as everything here that takes more room.
  void push_back(T value) {
    reserve(1);
    data_[size_++] = value;
  }
  /// Makes room for `more` values behind the last.
  void reserve(std::size_t more) {
    if (capacity_ - size_ < more) grow(more);
  }
  /// Takes over `count` values that were written behind the last, into room that was reserved.
  void extend(std::size_t count) { size_ += count; }
  void append(const T* values, std::size_t count) {
    if (count == 0) return;
    reserve(count);
    std::memcpy(data_ + size_, values, count * sizeof(T));
    size_ += count;
  }
  void resize(std::size_t size, T value) {
    if (size > size_) reserve(size - size_);
    for (std::size_t i = size_; i < size; ++i) data_[i] = value;
    size_ = size;
  }
  void truncate(std::size_t size) { size_ = size; }
  /// Gives unused room back.
  void shrink() {
    if (size_ == 0 || size_ == capacity_) return;
    if (void* const block = resizeTable(data_, memoryBytes(), size_ * sizeof(T))) {
      data_ = static_cast<T*>(block);
      capacity_ = size_;
    }
  }
  /// Bytes of memory in use.
  std::size_t memoryBytes() const { return capacity_ * sizeof(T); }

 private:
  void swap(PlainArray& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
  }
  [[gnu::noinline]] void grow(std::size_t more) {
    constexpr std::size_t kMax =
        static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(T);
    if (more > kMax - size_) throw std::bad_alloc();
    std::size_t capacity = capacity_ < 64 ? 64 : capacity_ + capacity_ / 2;
    if (capacity < size_ + more) capacity = size_ + more;
    capacity = std::min(growingTableRoom(std::min(capacity, kMax) * sizeof(T)) / sizeof(T), kMax);
    void* const block = resizeTable(data_, memoryBytes(), capacity * sizeof(T));
    if (block == nullptr) throw std::bad_alloc();
    data_ = static_cast<T*>(block);
    capacity_ = capacity;
  }

  T* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace WavefrontOBJ
