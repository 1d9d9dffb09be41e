#pragma once

#include <cstdint>

#include "image/PSDFile.h"
#include "image/psd/Cursor.h"

namespace psd {

/// Reads the file header, 26 bytes; the length of the colour mode data comes next.
inline void readHeader(Reader& file, PSDHeader& header) {
  file.text(header.signature, sizeof header.signature);
  header.version = file.u16();
  for (std::uint8_t& byte : header.reserved) byte = file.u8();
  header.channels = file.u16();
  header.rows = file.u32();
  header.columns = file.u32();
  header.depth = file.u16();
  header.mode = static_cast<PSDFileMode>(file.u16());
}

/// What the loaders take from the beginning of a file in memory, and the file from there on.
struct Document {
  PSDHeader header = {};
  bool hasHeader = false;   ///< all of it is there
  Reader rest{nullptr, 0};  ///< at the length of the layer and mask information; failed where cut short

  std::uint64_t pixels() const { return std::uint64_t{header.columns} * header.rows; }
};

/// Signature, version, depth and colour mode are not looked at.
inline Document readDocument(const void* data, std::size_t size) {
  Document document;
  Reader file(static_cast<const unsigned char*>(data), size);
  readHeader(file, document.header);
  document.header.colorModeDataLength = file.u32();
  document.hasHeader = file.ok();
  file.skip(document.header.colorModeDataLength);
  file.skip(file.u32());  // image resources
  document.rest = file;
  return document;
}

}  // namespace psd
