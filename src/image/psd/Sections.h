#pragma once

#include <cstdint>

#include "image/psd/Cursor.h"

namespace psd {

/// What the loaders take from the beginning of a file in memory, and the file from there on.
struct Document {
  std::uint16_t channels = 0;
  std::uint32_t height = 0;
  std::uint32_t width = 0;
  Reader rest{nullptr, 0,
              "file"};  ///< at the length of the layer and mask information; failed where cut short

  std::uint64_t pixels() const { return std::uint64_t{width} * height; }
};

/// Signature, version, depth and colour mode are not looked at.
inline Document readDocument(const void* data, std::size_t size) {
  Document document;
  Reader file(static_cast<const unsigned char*>(data), size, "file");
  Reader header = file.section(26, "file header");
  header.skip(12);
  document.channels = header.u16();
  document.height = header.u32();
  document.width = header.u32();
  file.skip(file.u32());  // colour mode data
  file.skip(file.u32());  // image resources
  document.rest = file;
  return document;
}

}  // namespace psd
