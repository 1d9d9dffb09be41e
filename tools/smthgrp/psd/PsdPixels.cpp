#include "smthgrp/psd/PsdPixels.h"

#include <algorithm>
#include <vector>

#include "image/psd/Cursor.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/TerminalText.h"

namespace smthgrp {
namespace {

using psd::Reader;

constexpr std::uint16_t kRaw = 0;
constexpr std::uint16_t kRunLength = 1;
// The byte of a pixel that red, green, blue and alpha are in.
constexpr std::size_t kPixelByte[] = {1, 2, 3, 0};

/// One row to `to` and every fourth byte from there. False where the row does not come to `width` pixels.
bool unpackRow(Reader row, unsigned char* to, std::size_t width) {
  while (row.left() > 0) {
    const std::size_t header = row.u8();
    // Does nothing. The library's loaders repeat a byte 129 times instead, and not every writer leaves it
    // out.
    if (header == 128) continue;
    const bool copies = header < 128;
    const std::size_t run = copies ? header + 1 : 257 - header;
    const unsigned char* const from = row.take(copies ? run : 1);
    if (from == nullptr || run > width) return false;
    for (std::size_t i = 0; i < run; ++i) to[4 * i] = from[copies ? i : 0];
    to += 4 * run;
    width -= run;
  }
  return width == 0;
}

/// The sizes of the packed rows of `channels` channels, and the rows behind them.
class PackedRows {
 public:
  PackedRows(Reader data, std::uint64_t channels, std::uint64_t height)
      : sizes_(data.section(2 * channels * height, "row sizes")), rows_(data) {}

  /// False where the rows are cut off, or are too small to make `width` pixels each.
  bool mayHold(std::uint64_t width) const {
    constexpr std::uint64_t kMostOfTwoBytes = 128;
    Reader sizes = sizes_;
    std::uint64_t total = 0;
    while (sizes.left() > 0) {
      const std::uint64_t size = sizes.u16();
      if (width > size * kMostOfTwoBytes / 2) return false;
      total += size;
    }
    return sizes.ok() && rows_.holds(total);
  }
  /// The next channel's pixels into their byte of `map`.
  bool unpack(ABitMap& map, std::size_t channel) {
    const auto width = static_cast<std::size_t>(map.width);
    unsigned char* to = map.buffer + kPixelByte[channel];
    for (std::int32_t y = 0; y < map.height; ++y, to += 4 * width) {
      if (!unpackRow(rows_.section(sizes_.u16(), "row"), to, width)) return false;
    }
    return rows_.ok();
  }

 private:
  Reader sizes_;
  Reader rows_;
};

bool allocate(ABitMap& map, std::int64_t width, std::int64_t height) {
  constexpr std::int64_t kMostPixels = INT32_MAX / 4;
  if (width < 1 || height < 1 || width > kMostPixels / height) return false;
  if (map.Allocate(static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), 32) == nullptr) {
    return false;
  }
  map.ClearBuffer();
  return true;
}

bool unpackMerged(const PsdDocument& document, ABitMap& map) {
  const PSDHeader& header = document.header;
  PackedRows rows(Reader(document.bytes.data() + document.merged, document.bytes.size() - document.merged,
                         "merged image"),
                  header.channels, header.rows);
  if (!rows.mayHold(header.columns) || !allocate(map, header.columns, header.rows)) return false;
  const std::size_t channels = std::min<std::size_t>(header.channels, std::size(kPixelByte));
  for (std::size_t i = 0; i < channels; ++i) {
    if (!rows.unpack(map, i)) return false;
  }
  return channels > 0;
}

std::size_t colours(const PsdDocument& document) {
  return isGrey(document) ? 1 : 3;
}

bool isColour(const PsdDocument& document, const PsdDocument::Channel& channel) {
  return channel.id >= 0 && static_cast<std::size_t>(channel.id) < colours(document);
}

/// The channel's pixels as channel `number` of the bitmap, 0 to 3.
bool readChannel(const PsdDocument& document, const PsdDocument::Channel& channel, ABitMap& map,
                 std::int32_t number) {
  const unsigned char* const data = document.bytes.data() + channel.position;
  if (channel.compression != kRunLength || channel.size == 2) {
    return map.ReadRGBAChannelFromBuffer(data, static_cast<std::int32_t>(channel.size), number) == 0;
  }
  PackedRows rows(Reader(data + 2, channel.size - 2, "channel"), 1, static_cast<std::uint64_t>(map.height));
  return rows.mayHold(static_cast<std::uint64_t>(map.width)) &&
         rows.unpack(map, static_cast<std::size_t>(number));
}

}  // namespace

void requireReadablePixels(const std::string& path, const PsdDocument& document) {
  const PSDHeader& header = document.header;
  if (header.depth != 8) {
    throw Failure(path + ": has " + std::to_string(header.depth) + " bits per channel, 8 can be read");
  }
  switch (header.mode) {
    case PSDFileMode::grayscale:
    case PSDFileMode::rgb:
    case PSDFileMode::multichannel:
    case PSDFileMode::duotone:
      return;
    default:
      throw Failure(path + ": is in colour mode " + modeName(header.mode) + ", which cannot be read");
  }
}

bool isGrey(const PsdDocument& document) {
  const PSDFileMode mode = document.header.mode;
  return mode == PSDFileMode::grayscale || mode == PSDFileMode::duotone ||
         (mode == PSDFileMode::multichannel && document.header.channels < 3);
}

bool mergedHasAlpha(const PsdDocument& document) {
  return document.header.channels > colours(document) && (document.mergedAlpha || document.layers.empty());
}

void readMerged(const std::string& path, const PsdDocument& document, ABitMap& map) {
  if (document.header.columns == 0 || document.header.rows == 0) throw Failure(path + ": has no pixels");
  if (!document.mergedCompression) throw Failure(path + ": is cut off, the merged image is missing");
  const std::uint16_t compression = *document.mergedCompression;
  if (compression > kRunLength) {
    throw Failure(path + ": the merged image is compressed in a way that cannot be read: " +
                  compressionName(compression));
  }
  const auto size = static_cast<std::int32_t>(document.bytes.size());
  const bool read = compression == kRaw ? map.LoadPSD(nullptr, true, document.bytes.data(), size) == 0
                                        : unpackMerged(document, map);
  if (!read) throw Failure(path + ": the merged image cannot be read, it is cut off, damaged or too large");
}

bool hasPixels(const std::string& path, const PsdDocument& document, const PsdDocument::Layer& layer) {
  if (layer.width() < 1 || layer.height() < 1) return false;
  const auto& channels = layer.channels;
  if (std::none_of(channels.begin(), channels.end(),
                   [&](const PsdDocument::Channel& channel) { return isColour(document, channel); })) {
    return false;
  }
  for (const PsdDocument::Channel& channel : channels) {
    if (channel.compression <= kRunLength || (channel.id != -1 && !isColour(document, channel))) continue;
    throw Failure(path + ": layer \"" + printable(layer.name) +
                  "\" is compressed in a way that cannot be read: " + compressionName(channel.compression));
  }
  return true;
}

bool readLayer(const std::string& path, const PsdDocument& document, const PsdDocument::Layer& layer,
               ABitMap& map) {
  const Failure broken(path + ": the pixels of layer \"" + printable(layer.name) + "\" cannot be read");
  std::uint64_t stored = 0;
  for (const PsdDocument::Channel& channel : layer.channels) stored += channel.size;
  // Run-length data unpack to 64 times their size at most; no memory for what cannot be there.
  const std::uint64_t rows = 64 * stored / static_cast<std::uint64_t>(layer.width());
  if (static_cast<std::uint64_t>(layer.height()) > rows || !allocate(map, layer.width(), layer.height())) {
    throw broken;
  }
  bool withAlpha = false;
  for (const PsdDocument::Channel& channel : layer.channels) {
    const bool alpha = channel.id == -1;
    if (!alpha && !isColour(document, channel)) continue;
    withAlpha = withAlpha || alpha;
    if (!readChannel(document, channel, map, alpha ? 3 : channel.id)) throw broken;
  }
  for (std::int32_t i = 0; isGrey(document) && i < map.BufferBytes(); i += 4) {
    map.buffer[i + 2] = map.buffer[i + 3] = map.buffer[i + 1];
  }
  return withAlpha;
}

}  // namespace smthgrp
