#pragma once

#include <vector>

#include "TestSupport.h"
#include "image/BitMap.h"

using Bytes = std::vector<unsigned char>;

/// A bitmap that frees its buffer.
struct OwnedBitMap : ABitMap {
  OwnedBitMap() = default;
  /// An uncropped one of random bytes.
  OwnedBitMap(std::int32_t w, std::int32_t h, std::int32_t bits, unsigned seed) {
    Allocate(w, h, bits);
    Random random(seed);
    for (std::int32_t i = 0; i < BufferBytes(); ++i) buffer[i] = static_cast<unsigned char>(random());
  }
  OwnedBitMap(OwnedBitMap&& other) noexcept : ABitMap(other) { other.Reset(); }
  OwnedBitMap& operator=(OwnedBitMap&&) = delete;
  ~OwnedBitMap() { Free(); }

  Bytes bytes() const { return {buffer, buffer + BufferBytes()}; }
  std::string text() const {
    return {reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(BufferBytes())};
  }
};
