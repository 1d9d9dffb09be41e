#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "image/PSDFile.h"
#include "image/PixelBytes.h"
#include "image/psd/Cursor.h"
#include "image/psd/Format.h"
#include "image/psd/LayerTemplates.h"
#include "system/Host.h"

namespace {

using psd::kCompressionBytes;
using psd::Writer;

constexpr std::uint16_t kTransparencyId = 65535;
constexpr std::uint16_t kMaskId = 65534;
constexpr std::uint8_t kShadingFlags = 25;
constexpr std::uint32_t kShadingLocks = 7;
constexpr std::int64_t kSectionHeadBytes = 4 + 4 + 2;  // two lengths and the layer count
constexpr std::size_t kMaskDataBytes = 20;

std::uint16_t writtenChannels(const PSDLayerRecord& record) {
  return std::min(record.channelCount, PSDLayerRecord::kMaxChannels);
}

std::size_t nameLength(const PSDLayerRecord& record) {
  return std::min<std::size_t>(strnlen(record.name, sizeof record.name), 255);
}

std::size_t paddedNameBytes(const PSDLayerRecord& record) {
  return (1 + nameLength(record) + 3) / 4 * 4;
}

std::size_t extraBytes(const PSDLayerRecord& record) {
  return 4 + (record.hasMask ? kMaskDataBytes : 0) + psd::blendingRanges().size() + paddedNameBytes(record) +
         psd::kRecordProperties.size();
}

std::uint32_t channelLength(const ABitMap* map, std::uint16_t depth) {
  if (map == nullptr) return kCompressionBytes;
  const std::int64_t pixels = std::max<std::int64_t>(map->width, 0) * std::max<std::int64_t>(map->height, 0);
  const std::int64_t pixelBytes = depth / 8;
  if (pixels > (UINT32_MAX - kCompressionBytes) / pixelBytes) return UINT32_MAX;
  return static_cast<std::uint32_t>(pixels * pixelBytes + kCompressionBytes);
}

std::string layerName(std::int32_t layerNumber, const char* name) {
  constexpr const char* kShading = "KShading (do not edit)";
  if (layerNumber == 0) return name == nullptr ? kShading : std::string(name) + " " + kShading;
  if (name != nullptr) return name;
  // Two digits at most: 100 begins again with "Layer 0".
  return "Layer " + std::to_string(static_cast<std::uint32_t>(layerNumber) % 100);
}

void writeMaskData(Writer& out, const PSDLayerRecord& record) {
  out.u32(record.hasMask ? kMaskDataBytes : 0);
  if (!record.hasMask) return;
  out.i32(record.mask.top);
  out.i32(record.mask.left);
  out.i32(record.mask.bottom);
  out.i32(record.mask.right);
  out.u8(record.mask.defaultColor);
  out.u8(record.mask.flags);
  out.u16(0);
}

/// Where a 32-bit pixel has the value of a channel; nothing for a channel that bitmaps do not have.
std::optional<std::size_t> pixelOffset(std::uint16_t channelId) {
  if (channelId <= 2) return channelId + 1U;
  if (channelId == kTransparencyId) return 0;
  if (channelId == kMaskId) return 3;
  return std::nullopt;
}

/// A value of pixel `i`, scaled to 16 bits; 0 past the buffer's end. `offset` is that of a byte in a 32-bit
/// pixel, 0 to 3.
std::uint32_t valueAt(const ABitMap& map, std::size_t i, std::size_t offset) {
  const auto pixelBytes = static_cast<std::size_t>(map.BytesPerPixel());
  if ((i + 1) * pixelBytes > static_cast<std::size_t>(map.BufferBytes())) return 0;
  const unsigned char* const pixel = map.buffer + i * pixelBytes;
  constexpr std::uint32_t kWiden = 257;
  switch (pixelBytes) {
    case 1:
      return pixel[0] * kWiden;
    case 2:
      return pixelbytes::load<std::uint16_t>(pixel);
    case 3:
      return offset == 0 ? UINT16_MAX : pixel[offset - 1] * kWiden;
    case 4:
      return pixel[offset] * kWiden;
    case 8:
      return pixelbytes::load<std::uint16_t>(pixel + 2 * offset);
    default:
      return 0;
  }
}

void writeChannel(Writer& out, const PSDLayerRecord& record, const PSDChannelInfo& channel) {
  Writer data = out.section(channel.length);
  if (channel.length < kCompressionBytes) {
    data.fill(0, channel.length);
    return;
  }
  data.u16(0);
  const std::size_t dataBytes = channel.length - kCompressionBytes;
  const ABitMap* const map = channel.id == kMaskId ? record.maskBitmap : record.bitmap;
  const std::optional<std::size_t> offset = pixelOffset(channel.id);
  if (map == nullptr || !offset || (record.depth != 8 && record.depth != 16)) {
    data.fill(0, dataBytes);
    return;
  }
  const std::size_t bytes = record.depth / 8U;
  const std::size_t count = dataBytes / bytes;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t value = valueAt(*map, i, *offset);
    if (bytes == 1) {
      data.u8(value >> 8);
    } else {
      data.u16(value);
    }
  }
  data.fill(0, dataBytes % bytes);
}

}  // namespace

std::int32_t PSDLayerRecord::ComputeFileDataSize() const {
  const std::int64_t channelBytes = psd::kChannelEntryBytes * writtenChannels(*this);
  return static_cast<std::int32_t>(psd::kRecordBytes + channelBytes +
                                   static_cast<std::int64_t>(extraBytes(*this)));
}

unsigned char* PSDLayerRecord::WriteToBuffer(unsigned char* to) const {
  Writer out(to, static_cast<std::size_t>(ComputeFileDataSize()));
  out.i32(top);
  out.i32(left);
  out.i32(bottom);
  out.i32(right);
  out.u16(writtenChannels(*this));
  for (std::uint16_t i = 0; i < writtenChannels(*this); ++i) {
    out.u16(channels[i].id);
    out.u32(channels[i].length);
  }
  out.text({blendSignature, sizeof blendSignature});
  out.text({blendKey, sizeof blendKey});
  out.u8(opacity);
  out.u8(clipping);
  out.u8(flags);
  out.u8(0);
  out.u32(static_cast<std::uint32_t>(extraBytes(*this)));
  writeMaskData(out, *this);
  constexpr auto kRanges = psd::blendingRanges();
  out.bytes(kRanges);
  Writer nameField = out.section(paddedNameBytes(*this));
  nameField.u8(static_cast<std::uint32_t>(nameLength(*this)));
  nameField.text({name, nameLength(*this)});
  nameField.fill(0, paddedNameBytes(*this) - 1 - nameLength(*this));
  auto properties = psd::kRecordProperties;
  Writer(properties.data() + psd::kRecordLayerIdAt, 4).i32(layerNumber);
  Writer(properties.data() + psd::kRecordLocksAt, 4).u32(layerNumber == 0 ? kShadingLocks : 0);
  out.bytes(properties);
  if (!out.full()) Sys_BreakToDebugger();
  return out.position();
}

std::int32_t PSDLayerMaskInfo::InitLayerInfo(std::int32_t recordIndex, std::int32_t layerNumber,
                                             std::uint16_t channelCount, std::uint16_t depth,
                                             const ABitMap* bitmap, const ABitMap* maskBitmap,
                                             const char* name) {
  if (recordIndex < 0 || recordIndex >= layerCount() || depth < 8) return 0;
  PSDLayerRecord& record = layers[static_cast<std::size_t>(recordIndex)];
  record = {};
  record.layerNumber = layerNumber;
  record.depth = depth;
  record.bitmap = bitmap;
  record.maskBitmap = maskBitmap;
  const auto place = [](const ABitMap& map, auto& rectangle) {
    rectangle.top = map.top;
    rectangle.left = map.left;
    rectangle.bottom = static_cast<std::int32_t>(std::int64_t{map.fullHeight} - map.bottom);
    rectangle.right = static_cast<std::int32_t>(std::int64_t{map.fullWidth} - map.right);
  };
  if (bitmap != nullptr) place(*bitmap, record);
  const std::uint16_t room = PSDLayerRecord::kMaxChannels - (maskBitmap == nullptr ? 0 : 1);
  record.channelCount = std::min(channelCount, room);
  for (std::uint16_t i = 0; i < record.channelCount; ++i) {
    record.channels[i] = {i < 3 ? i : kTransparencyId, channelLength(bitmap, depth)};
  }
  if (maskBitmap != nullptr) {
    record.channels[record.channelCount++] = {kMaskId, channelLength(maskBitmap, depth)};
    record.hasMask = true;
    place(*maskBitmap, record.mask);
    // The format knows no other values than these two.
    record.mask.defaultColor = (maskBitmap->fillValue & 0xFF) >= 128 ? 255 : 0;
  }
  if (layerNumber == 0) {
    std::memcpy(record.blendKey, "hLit", sizeof record.blendKey);
    record.flags = kShadingFlags;
  }
  std::snprintf(record.name, sizeof record.name, "%s", layerName(layerNumber, name).c_str());
  return 1;
}

std::int64_t PSDLayerMaskInfo::GetLayerImageSize() const {
  std::int64_t size = 0;
  for (const PSDLayerRecord& record : layers) {
    for (std::uint16_t i = 0; i < writtenChannels(record); ++i) size += record.channels[i].length;
  }
  return size;
}

std::int64_t PSDLayerMaskInfo::ComputeHeaderFileDataSize() const {
  std::int64_t size = 0;
  for (const PSDLayerRecord& record : layers) size += record.ComputeFileDataSize();
  return size;
}

unsigned char* PSDLayerMaskInfo::WriteToBuffer(unsigned char* to) const {
  const std::int64_t total = ComputeHeaderFileDataSize() + GetLayerImageSize();
  Writer out(to, static_cast<std::size_t>(total));
  for (const PSDLayerRecord& record : layers) {
    unsigned char* const place = out.take(static_cast<std::uint64_t>(record.ComputeFileDataSize()));
    if (place != nullptr) record.WriteToBuffer(place);
  }
  for (const PSDLayerRecord& record : layers) {
    for (std::uint16_t i = 0; i < writtenChannels(record); ++i) writeChannel(out, record, record.channels[i]);
  }
  if (!out.full()) Sys_BreakToDebugger();
  return out.position();
}

std::int64_t PSDLayerMaskInfo::ComputeSectionSize() const {
  const std::int64_t size = kSectionHeadBytes + ComputeHeaderFileDataSize() + GetLayerImageSize();
  return size + size % 2;
}

unsigned char* PSDLayerMaskInfo::WriteSectionToBuffer(unsigned char* to) const {
  const std::int64_t total = ComputeSectionSize();
  const std::int64_t content = ComputeHeaderFileDataSize() + GetLayerImageSize();
  Writer out(to, static_cast<std::size_t>(total));
  out.u32(static_cast<std::uint32_t>(total - 4));
  out.u32(static_cast<std::uint32_t>(total - 8));
  out.u16(static_cast<std::uint32_t>(layerCount()));
  unsigned char* const place = out.take(static_cast<std::uint64_t>(content));
  if (place != nullptr) WriteToBuffer(place);
  out.fill(0, static_cast<std::uint64_t>(total - kSectionHeadBytes - content));
  if (!out.full()) Sys_BreakToDebugger();
  return out.position();
}
