#pragma once

#include "image/ImageSupport.h"
#include "image/PSDFile.h"

// PSD files put together byte by byte, without a line of the library's.

inline std::string be(std::uint64_t value, int bytes) {
  std::string text;
  for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(value >> (8 * i) & 0xFF);
  return text;
}
inline std::string be16(std::uint64_t value) {
  return be(value, 2);
}
inline std::string be32(std::uint64_t value) {
  return be(value, 4);
}
inline std::string withLength(const std::string& content) {
  return be32(content.size()) + content;
}
inline std::string headerBytes(unsigned channels, unsigned height, unsigned width, unsigned depth = 8,
                               unsigned mode = 3) {
  return "8BPS" + be16(1) + std::string(6, '\0') + be16(channels) + be32(height) + be32(width) + be16(depth) +
         be16(mode);
}
/// A flat file: three empty sections, and the merged image.
inline std::string flatFile(const std::string& header, const std::string& merged) {
  return header + std::string(12, '\0') + merged;
}

inline OwnedBitMap randomMap(std::int32_t w, std::int32_t h, std::int32_t depth, unsigned seed) {
  Random random(seed);
  return randomBitMap(random, {w, h}, depth);
}
