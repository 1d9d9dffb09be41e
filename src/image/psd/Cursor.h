#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

// All multi-byte numbers of a PSD file are big-endian and pass through one of the two cursors here. A cursor
// belongs to a section and cannot leave it: what does not fit fails, and a failure sticks, so that it is
// asked for once, after a run of reads or writes.

namespace psd {

/// Reads a section from its beginning on. After a failure every number is 0 and every block null.
class Reader {
 public:
  Reader(const unsigned char* data, std::size_t size)
      : at_(data), left_(data == nullptr ? 0 : size), ok_(data != nullptr) {}

  bool ok() const { return ok_; }
  /// Bytes not read yet.
  std::size_t left() const { return left_; }
  bool holds(std::uint64_t count) const { return ok_ && count <= left_; }

  /// The next `count` bytes, which are passed; null where there are fewer, and from then on.
  const unsigned char* take(std::uint64_t count) {
    if (!holds(count)) {
      ok_ = false;
      left_ = 0;
      return nullptr;
    }
    const unsigned char* const taken = at_;
    at_ += static_cast<std::size_t>(count);
    left_ -= static_cast<std::size_t>(count);
    return taken;
  }
  void skip(std::uint64_t count) { take(count); }
  /// The next `count` bytes as a section of their own, which are passed.
  Reader section(std::uint64_t count) {
    const unsigned char* const data = take(count);
    return {data, data == nullptr ? 0 : static_cast<std::size_t>(count)};
  }

  std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
  std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u32() { return number(4); }
  std::int16_t i16() { return static_cast<std::int16_t>(number(2)); }
  std::int32_t i32() { return static_cast<std::int32_t>(number(4)); }
  /// `count` characters into `to`, which is left alone where they are not there.
  void text(char* to, std::size_t count) {
    const unsigned char* const from = take(count);
    if (from != nullptr) std::memcpy(to, from, count);
  }

 private:
  std::uint32_t number(int bytes) {
    const unsigned char* const from = take(static_cast<std::uint64_t>(bytes));
    std::uint32_t value = 0;
    for (int i = 0; from != nullptr && i < bytes; ++i) value = value << 8 | from[i];
    return value;
  }

  const unsigned char* at_;
  std::size_t left_;
  bool ok_;
};

/// Writes a section from its beginning on. After a failure nothing more is written.
class Writer {
 public:
  Writer(unsigned char* to, std::size_t size) : at_(to), left_(size), ok_(to != nullptr) {}

  /// All of the section is written, and nothing failed.
  bool full() const { return ok_ && left_ == 0; }
  /// The place of the next byte; where a failed cursor stopped.
  unsigned char* position() const { return at_; }

  /// Room for `count` bytes, which the caller fills; null where there is less.
  unsigned char* take(std::uint64_t count) {
    if (!ok_ || count > left_) {
      ok_ = false;
      return nullptr;
    }
    unsigned char* const taken = at_;
    at_ += static_cast<std::size_t>(count);
    left_ -= static_cast<std::size_t>(count);
    return taken;
  }
  /// The next `count` bytes as a section of their own, which are passed.
  Writer section(std::uint64_t count) {
    unsigned char* const to = take(count);
    return {to, to == nullptr ? 0 : static_cast<std::size_t>(count)};
  }

  void u8(std::uint32_t value) { number(value, 1); }
  void u16(std::uint32_t value) { number(value, 2); }
  void u32(std::uint32_t value) { number(value, 4); }
  void i32(std::int32_t value) { number(static_cast<std::uint32_t>(value), 4); }
  void bytes(std::span<const unsigned char> from) {
    unsigned char* const to = take(from.size());
    if (to != nullptr && !from.empty()) std::memcpy(to, from.data(), from.size());
  }
  void text(std::string_view from) {
    unsigned char* const to = take(from.size());
    if (to != nullptr && !from.empty()) std::memcpy(to, from.data(), from.size());
  }
  void fill(unsigned char value, std::uint64_t count) {
    unsigned char* const to = take(count);
    if (to != nullptr && count > 0) std::memset(to, value, static_cast<std::size_t>(count));
  }

 private:
  void number(std::uint32_t value, int bytes) {
    unsigned char* const to = take(static_cast<std::uint64_t>(bytes));
    for (int i = 0; to != nullptr && i < bytes; ++i) {
      to[i] = static_cast<unsigned char>(value >> (8 * (bytes - 1 - i)));
    }
  }

  unsigned char* at_;
  std::size_t left_;
  bool ok_;
};

}  // namespace psd
