#include <algorithm>
#include <string_view>

#include "Truncate.h"
#include "image/PSDFile.h"
#include "image/psd/Cursor.h"
#include "image/psd/Format.h"
#include "image/psd/Resources.h"
#include "system/Host.h"

PSDHeader gPSDHeader = {};

namespace {

using psd::Writer;

constexpr std::size_t kLongestName = 255;
constexpr std::size_t kNamesStartBytes = 12;  // signature, id, empty name, size

std::string_view nameAt(const char* const* names, std::int32_t i) {
  return std::string_view(names[i] == nullptr ? "" : names[i]).substr(0, kLongestName);
}

/// Bytes of all names as Pascal strings.
std::int64_t namesBytes(const char* const* names, std::int32_t nameCount) {
  std::int64_t total = 0;
  for (std::int32_t i = 0; names != nullptr && i < nameCount; ++i) {
    total += static_cast<std::int64_t>(nameAt(names, i).size()) + 1;
  }
  return total;
}

std::int64_t groupsBytes(std::int32_t layerCount) {
  return std::int64_t{2} * std::max(layerCount, 0);
}

std::uint32_t fixedResolution(double pixelsPerInch) {
  return static_cast<std::uint32_t>(truncateToInt32(pixelsPerInch * 65536 + 0.5));
}

}  // namespace

void PSDHeaderInit(PSDHeader* header, std::uint32_t columns, std::uint32_t rows, std::uint16_t depth,
                   std::uint16_t channels, PSDFileMode mode) {
  if (header == nullptr) return;
  *header = {{'8', 'B', 'P', 'S'}, 1, {}, channels, rows, columns, depth, mode, 0};
}

unsigned char* PSDBufferWriteHeader(unsigned char* to, const PSDHeader& header) {
  Writer out(to, psd::kHeaderBytes);
  out.text({header.signature, sizeof header.signature});
  out.u16(header.version);
  out.bytes(header.reserved);
  out.u16(header.channels);
  out.u32(header.rows);
  out.u32(header.columns);
  out.u16(header.depth);
  out.u16(static_cast<std::uint16_t>(header.mode));
  out.u32(header.colorModeDataLength);
  return out.position();
}

std::int32_t ResourceDataBlockSize(std::int32_t layerCount, const char* const* names,
                                   std::int32_t nameCount) {
  const std::int64_t total = namesBytes(names, nameCount);
  const std::int64_t block = total == 0 ? 0 : static_cast<std::int64_t>(kNamesStartBytes) + total + total % 2;
  const std::int64_t size =
      4 + static_cast<std::int64_t>(psd::kRecordResources.size()) + groupsBytes(layerCount) + block;
  return static_cast<std::int32_t>(std::min<std::int64_t>(size, INT32_MAX));
}

unsigned char* WriteResourceDataBlock(unsigned char* to, std::int32_t layerCount, std::int32_t lastLayerId,
                                      std::int32_t targetLayer, const char* const* names,
                                      std::int32_t nameCount, double resolution) {
  const auto set = [](std::size_t at, std::uint32_t value) {
    Writer(psd::kRecordResources.data() + at, 4).u32(value);
  };
  // In the template itself: what one call sets, the next finds.
  set(psd::kHorizontalResolutionAt, fixedResolution(resolution));
  set(psd::kVerticalResolutionAt, fixedResolution(resolution));
  // A negative number is below 256 as well, and its low-order byte is what counts.
  psd::kRecordResources[psd::kTargetLayerLowByteAt] =
      static_cast<unsigned char>(targetLayer < 256 ? targetLayer : 0);
  psd::kRecordResources[psd::kLayerIdBaseLowByteAt] =
      static_cast<unsigned char>(static_cast<std::uint32_t>(lastLayerId) + 1);

  const std::int32_t size = ResourceDataBlockSize(layerCount, names, nameCount);
  Writer out(to, static_cast<std::size_t>(size));
  out.u32(static_cast<std::uint32_t>(size) - 4);
  // All but the size of the last block, "Layer Groups", which is not fixed.
  out.bytes(psd::kRecordResources.first(psd::kRecordResources.size() - 4));
  out.u32(static_cast<std::uint32_t>(groupsBytes(layerCount)));
  out.fill(0, static_cast<std::uint64_t>(groupsBytes(layerCount)));
  const std::int64_t total = namesBytes(names, nameCount);
  if (total > 0) {
    out.text("8BIM");
    out.u16(psd::kAlphaNames);
    out.u16(0);
    out.u32(static_cast<std::uint32_t>(total));
    for (std::int32_t i = 0; i < nameCount; ++i) {
      out.u8(static_cast<std::uint32_t>(nameAt(names, i).size()));
      out.text(nameAt(names, i));
    }
    out.fill(0, static_cast<std::uint64_t>(total % 2));
  }
  if (!out.full()) Sys_BreakToDebugger();
  return out.position();
}
