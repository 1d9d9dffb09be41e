#include <algorithm>
#include <cstring>

#include "image/PSDFile.h"
#include "image/psd/Cursor.h"

namespace {

using psd::Reader;

void parseMask(Reader mask, PSDLayerRecord& record) {
  constexpr std::size_t kFields = 18;
  if (mask.left() < kFields) return;
  record.hasMask = true;
  record.mask.top = mask.i32();
  record.mask.left = mask.i32();
  record.mask.bottom = mask.i32();
  record.mask.right = mask.i32();
  record.mask.defaultColor = mask.u8();
  record.mask.flags = mask.u8();
}

void parseName(Reader& extra, PSDLayerRecord& record) {
  const std::uint8_t length = extra.u8();
  extra.text(record.name, length);
  constexpr std::size_t kUnit = 4;
  const std::size_t padding = (kUnit - (1U + length) % kUnit) % kUnit;
  extra.skip(padding);
}

/// The layer number out of the additional layer information.
void parseNumber(Reader info, PSDLayerRecord& record) {
  while (info.left() > 0) {
    info.skip(4);  // signature
    char key[4] = {};
    info.text(key, sizeof key);
    Reader block = info.section(info.u32());
    if (!block.ok()) return;
    if (std::memcmp(key, "lyid", sizeof key) == 0) record.layerNumber = block.i32();
  }
}

}  // namespace

std::int32_t PSDLayerRecordParse(const void* data, std::int32_t* position, PSDLayerRecord* record,
                                 std::int32_t size, PSDExtent* additionalInfo) {
  if (position == nullptr || record == nullptr) return 0;
  const auto whole = static_cast<std::size_t>(std::max(size, 0));
  Reader in(static_cast<const unsigned char*>(data), whole);
  in.skip(static_cast<std::uint64_t>(*position));  // of a negative one, more than there is
  PSDLayerRecord parsed;
  parsed.top = in.i32();
  parsed.left = in.i32();
  parsed.bottom = in.i32();
  parsed.right = in.i32();
  parsed.channelCount = in.u16();
  Reader channels = in.section(std::uint64_t{6} * parsed.channelCount);
  for (std::uint16_t i = 0; i < std::min(parsed.channelCount, PSDLayerRecord::kMaxChannels); ++i) {
    parsed.channels[i].id = channels.u16();
    parsed.channels[i].length = channels.u32();
  }
  in.text(parsed.blendSignature, sizeof parsed.blendSignature);
  in.text(parsed.blendKey, sizeof parsed.blendKey);
  parsed.opacity = in.u8();
  parsed.clipping = in.u8();
  parsed.flags = in.u8();
  in.skip(1);
  Reader extra = in.section(in.u32());
  if (!in.ok()) return 0;
  // The later parts of the extra data may be left out.
  if (extra.left() > 0) parseMask(extra.section(extra.u32()), parsed);
  if (extra.left() > 0) extra.skip(extra.u32());  // blending ranges
  if (extra.left() > 0) parseName(extra, parsed);
  if (!extra.ok()) return 0;
  const std::size_t infoBytes = extra.left();
  const std::size_t infoAt = whole - in.left() - infoBytes;
  parseNumber(extra, parsed);
  *record = parsed;
  *position = static_cast<std::int32_t>(whole - in.left());
  if (additionalInfo != nullptr) {
    *additionalInfo = {static_cast<std::int32_t>(infoAt), static_cast<std::int32_t>(infoBytes)};
  }
  return 1;
}
