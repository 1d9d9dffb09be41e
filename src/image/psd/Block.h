#pragma once

#include <cstddef>
#include <cstdint>

#include "LargePages.h"
#include "system/Memory.h"

namespace psd {

/// A block of memory, released at the end of its life.
class Block {
 public:
  /// Takes over a block of `MY_MEM_MALLOC`, or null.
  explicit Block(void* block) : data_(static_cast<unsigned char*>(block)) {}
  /// Null where there is no memory, and for more bytes than an `int` counts.
  Block(std::int64_t size, const char* tag)
      : Block(size > INT32_MAX ? nullptr : MY_MEM_MALLOC(static_cast<int>(size), tag)) {
    if (data_ != nullptr) preferLargePages(data_, static_cast<std::size_t>(size));
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;
  ~Block() { MY_MEM_FREE(data_); }

  unsigned char* data() const { return data_; }

 private:
  unsigned char* data_;
};

}  // namespace psd
