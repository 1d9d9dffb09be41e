#include <algorithm>
#include <span>

#include "image/PSDFile.h"
#include "image/PixelPlanes.h"
#include "image/psd/Block.h"
#include "image/psd/Cursor.h"
#include "image/psd/Format.h"
#include "image/psd/LayerTemplates.h"
#include "image/psd/Resources.h"
#include "system/Host.h"

namespace {

using psd::kCompressionBytes;
using psd::Writer;

/// What the sizes and the bytes of a layered document follow from.
struct Document {
  const ABitMap* const* layers;
  std::int32_t layerCount;
  const ABitMap* composite;
  const ABitMap* mask;
  std::int32_t threshold;
  std::int32_t width;
  std::int32_t height;

  std::int64_t pixels() const { return std::int64_t{width} * height; }
  std::span<const unsigned char> extraData(std::int32_t layer) const {
    if (layer == 0) return psd::kBackgroundLayer;
    if (mask != nullptr) return psd::kMaskedLayer;
    return psd::kShadingLayer;
  }
  std::span<const unsigned char> resources() const {
    return mask == nullptr ? psd::kDocumentResources : std::span<const unsigned char>();
  }
  static std::int32_t channelCount(std::int32_t layer) { return layer == 0 ? 3 : 4; }

  /// Not rounded up to an even number, as the format would like it: fixed by the host's contract.
  std::int64_t layerInfoBytes() const {
    const auto layerBytes = [this](std::int32_t layer) {
      const std::int64_t channels = channelCount(layer);
      return psd::kRecordBytes + psd::kChannelEntryBytes * channels +
             static_cast<std::int64_t>(extraData(layer).size()) + (kCompressionBytes + pixels()) * channels;
    };
    return 2 + layerBytes(0) + (layerCount - 1) * layerBytes(1);
  }
  std::int64_t fileBytes() const {
    return static_cast<std::int64_t>(psd::kHeaderBytes) + 4 + static_cast<std::int64_t>(resources().size()) +
           4 + 4 + layerInfoBytes() + kCompressionBytes + 3 * pixels();
  }
};

constexpr std::uint8_t kBackgroundFlags = 0x29;  // transparency protected, pixels relevant, Photoshop 5's bit

void writeRecord(Writer& out, const Document& document, std::int32_t layer) {
  out.i32(0);
  out.i32(0);
  out.i32(document.height);
  out.i32(document.width);
  const std::int32_t channels = Document::channelCount(layer);
  out.u16(static_cast<std::uint32_t>(channels));
  for (std::int32_t i = 0; i < channels; ++i) {
    // The transparency, -1, comes first where there is one.
    out.u16(static_cast<std::uint32_t>(layer == 0 ? i : i - 1));
    out.u32(static_cast<std::uint32_t>(document.pixels() + kCompressionBytes));
  }
  out.text("8BIM");
  out.text(layer == 0 || document.mask != nullptr ? "norm" : "hLit");
  out.u8(255);  // opacity
  out.u8(0);    // clipping
  out.u8(layer == 0 ? kBackgroundFlags : 0);
  out.u8(0);
  out.u32(static_cast<std::uint32_t>(document.extraData(layer).size()));
  out.bytes(document.extraData(layer));
}

/// Red, green and blue, each behind a compression word, or behind one for all.
void writeColours(Writer& out, const ABitMap& map, std::int64_t pixels, bool oneWord) {
  planes::Plane plane[3];
  for (std::int32_t i = 0; i < 3; ++i) {
    if (i == 0 || !oneWord) out.u16(0);
    plane[i] = {i + 1, out.take(static_cast<std::uint64_t>(pixels)), planes::fillByte(map, i + 1)};
    if (plane[i].to == nullptr) return;
  }
  planes::split(map, 0, static_cast<std::size_t>(pixels), plane);
}

void writeTransparency(Writer& out, const Document& document) {
  out.u16(0);
  const auto pixels = static_cast<std::size_t>(document.pixels());
  if (document.mask == nullptr) return out.fill(255, pixels);
  const ABitMap& mask = *document.mask;
  const std::size_t stored = std::min(pixels, static_cast<std::size_t>(mask.BufferBytes()) / 4);
  unsigned char* const to = out.take(stored);
  if (to != nullptr) planes::compare(to, mask.buffer, document.threshold, stored);
  out.fill(static_cast<std::int32_t>(mask.fillValue) < document.threshold ? 255 : 0, pixels - stored);
}

void writeDocument(Writer& file, const Document& document) {
  PSDHeaderInit(&gPSDHeader, static_cast<std::uint32_t>(document.width),
                static_cast<std::uint32_t>(document.height), 8, 3, PSDFileMode::rgb);
  PSDBufferWriteHeader(file.take(psd::kHeaderBytes), gPSDHeader);
  file.u32(static_cast<std::uint32_t>(document.resources().size()));
  file.bytes(document.resources());
  const std::int64_t layerInfo = document.layerInfoBytes();
  file.u32(static_cast<std::uint32_t>(layerInfo + 4));
  file.u32(static_cast<std::uint32_t>(layerInfo));
  Writer layers = file.section(static_cast<std::uint64_t>(layerInfo));
  layers.u16(static_cast<std::uint32_t>(document.layerCount));
  for (std::int32_t i = 0; i < document.layerCount; ++i) writeRecord(layers, document, i);
  for (std::int32_t i = 0; i < document.layerCount; ++i) {
    if (i > 0) writeTransparency(layers, document);
    writeColours(layers, *document.layers[i], document.pixels(), false);
  }
  writeColours(file, *document.composite, document.pixels(), true);
  if (!layers.full() || !file.full()) Sys_BreakToDebugger();
}

}  // namespace

std::int32_t SavePSDMultiLayered(const char* path, const ABitMap* const* layers, std::int32_t layerCount,
                                 const ABitMap* composite, const ABitMap* mask, std::int32_t threshold) {
  if (layers == nullptr || composite == nullptr || layerCount < 1 || layerCount > INT16_MAX) return -1;
  if (std::find(layers, layers + layerCount, nullptr) != layers + layerCount) return -1;
  const ABitMap& first = *layers[0];
  if (first.depth != 32) Sys_BreakToDebugger();
  if (first.depth != 32 || first.fullWidth < 0 || first.fullHeight < 0) return -1;
  const Document document = {layers,    layerCount,      composite,       mask,
                             threshold, first.fullWidth, first.fullHeight};
  constexpr std::int64_t kSpareBytes = 1024;
  // The first comparison keeps the sizes from overflowing.
  if (document.pixels() > INT32_MAX) return -1;
  const std::int64_t size = document.fileBytes();
  if (size > INT32_MAX - kSpareBytes) return -1;
  const psd::Block block(size + kSpareBytes, "SaveMultiLayers");
  if (block.data() == nullptr) return -1;
  Writer file(block.data(), static_cast<std::size_t>(size));
  writeDocument(file, document);
  return SaveToFile(path, block.data(), static_cast<std::int32_t>(size));
}
