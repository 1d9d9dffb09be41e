#include <algorithm>
#include <cstring>

#include "image/PSDFile.h"
#include "image/psd/Block.h"
#include "image/psd/Cursor.h"
#include "image/psd/Format.h"
#include "image/psd/PackBits.h"
#include "image/psd/Sections.h"
#include "system/Host.h"

namespace {

using psd::Block;
using psd::kHeaderBytes;
using psd::Reader;

/// Bytes from the current position to the end of the file.
std::int64_t bytesLeft(FileSpec* file) {
  return std::max<std::int64_t>(std::int64_t{Sys_FileGetSize(file)} - Sys_FileGetPos(file), 0);
}

/// Not past the end: a file that is open for writing must not grow by this. False where there are fewer
/// bytes.
bool skip(FileSpec* file, std::int64_t wanted) {
  const std::int64_t count = std::min(wanted, bytesLeft(file));
  const bool moved = count == 0 || Sys_FileSeek(file, static_cast<std::int32_t>(count), true) >= 0;
  return moved && count == wanted;
}

bool read(FileSpec* file, void* to, std::int64_t count) {
  return count <= INT32_MAX && Sys_FileRead(file, to, static_cast<std::int32_t>(count)) == count;
}

bool readNumber(FileSpec* file, int bytes, std::uint32_t& value) {
  unsigned char field[4] = {};
  if (!read(file, field + sizeof field - bytes, bytes)) return false;
  value = Reader(field, sizeof field).u32();
  return true;
}

/// Reads `countBytes` bytes of row counts into `block`. Answers their sum, or -1.
std::int64_t sumRowCounts(FileSpec* file, std::int64_t countBytes, const Block& block) {
  if (block.data() == nullptr || !read(file, block.data(), countBytes)) return -1;
  Reader counts(block.data(), static_cast<std::size_t>(countBytes));
  std::int64_t sum = 0;
  while (counts.left() > 0) sum += counts.u16();
  return sum;
}

std::int32_t loadAlpha(FileSpec* file, std::uint32_t code, std::int32_t rows, std::int32_t columns,
                       std::int64_t dataBytes, const unsigned char* rowCounts, std::int64_t countBytes,
                       ABitMap& bitmap) {
  const Block channel(psd::kCompressionBytes + countBytes + dataBytes, "AlphaChannelLoad");
  if (channel.data() == nullptr) return 0;
  psd::Writer start(channel.data(), static_cast<std::size_t>(psd::kCompressionBytes + countBytes));
  start.u16(code);
  start.bytes({rowCounts, static_cast<std::size_t>(countBytes)});
  if (!read(file, start.position(), dataBytes)) return 0;
  ABitMap loaded;
  const auto size = static_cast<std::int32_t>(psd::kCompressionBytes + countBytes + dataBytes);
  if (loaded.ReadAlphaFromBuffer(channel.data(), size, columns, rows, 0, 0, rows, columns) != 0) return 0;
  loaded.fillValue = bitmap.fillValue;
  bitmap = loaded;
  return 1;
}

}  // namespace

std::int32_t PSDFileReadHeader(FileSpec* file, PSDHeader* header) {
  unsigned char bytes[kHeaderBytes];
  if (header == nullptr || !read(file, bytes, sizeof bytes)) return 0;
  Reader fields(bytes, sizeof bytes);
  psd::readHeader(fields, *header);
  header->colorModeDataLength = fields.u32();
  return std::memcmp(header->signature, "8BPS", 4) == 0 && header->version == 1 ? 1 : 0;
}

std::int32_t PSDFileSkipSection(FileSpec* file) {
  std::uint32_t length = 0;
  if (!readNumber(file, 4, length)) return 0;
  skip(file, length);
  return 1;
}

std::uint32_t PSDFileReadSectionSize(FileSpec* file) {
  std::uint32_t length = 0;
  return readNumber(file, 4, length) ? length : 0;
}

std::int32_t PSDFileSkipCompChannelsAndGetAlpha(FileSpec* file, std::int32_t rows, std::int32_t columns,
                                                std::int32_t channels, std::int32_t colorChannels,
                                                ABitMap* bitmap) {
  std::uint32_t code = 0;
  if (bitmap == nullptr || !readNumber(file, 2, code)) return 0;
  if (code > 1) {
    Sys_BreakToDebugger();
    return 0;
  }
  bitmap->Free();
  if (rows < 0 || columns < 0 || colorChannels < 0 || colorChannels >= channels) return 0;
  const std::int64_t pixels = std::int64_t{rows} * columns;
  if (pixels > INT32_MAX || channels > UINT16_MAX) return 0;
  if (code == 0) {
    if (!skip(file, pixels * colorChannels) || pixels > bytesLeft(file)) return 0;
    return loadAlpha(file, code, rows, columns, pixels, nullptr, 0, *bitmap);
  }
  const std::int64_t countBytes = std::int64_t{rows} * 2;
  if (countBytes * channels > bytesLeft(file)) return 0;
  const Block colorCounts(countBytes * colorChannels, "AlphaRowCounts");
  const Block alphaCounts(countBytes, "AlphaRowCounts");
  const std::int64_t colorBytes = sumRowCounts(file, countBytes * colorChannels, colorCounts);
  const std::int64_t alphaBytes = sumRowCounts(file, countBytes, alphaCounts);
  if (colorBytes < 0 || alphaBytes < 0) return 0;
  if (!skip(file, countBytes * (channels - colorChannels - 1)) || !skip(file, colorBytes)) return 0;
  // Before memory is asked for: what the data can be unpacked to.
  if (alphaBytes > bytesLeft(file) ||
      static_cast<std::uint64_t>(pixels) > psd::mostUnpacked(static_cast<std::size_t>(alphaBytes))) {
    return 0;
  }
  return loadAlpha(file, code, rows, columns, alphaBytes, alphaCounts.data(), countBytes, *bitmap);
}

std::int32_t ExtractResourceDataBlockAlphaNames(const void* data, std::int32_t size, char (*names)[256],
                                                std::int32_t maxNames) {
  if (names == nullptr) return 0;
  Reader section(static_cast<const unsigned char*>(data), static_cast<std::size_t>(std::max(size, 0)));
  std::int32_t count = 0;
  while (section.left() > 0) {
    section.skip(4);  // signature
    const std::uint16_t id = section.u16();
    const std::uint8_t nameLength = section.u8();
    section.skip(nameLength + (nameLength % 2 == 0 ? 1 : 0));
    const std::uint32_t length = section.u32();
    Reader block = section.section(length);
    if (length % 2 != 0 && section.left() > 0) section.skip(1);
    if (!block.ok() || id != psd::kAlphaNames) continue;
    while (block.left() > 0 && count < maxNames) {
      const std::uint8_t characters = block.u8();
      if (!block.holds(characters)) break;
      std::memset(names[count], 0, sizeof names[count]);
      block.text(names[count++], characters);
    }
  }
  return count;
}
