#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

#include "image/BitMap.h"
#include "image/PSDFile.h"
#include "image/PixelPlanes.h"
#include "image/psd/Block.h"
#include "image/psd/Cursor.h"
#include "image/psd/PackBits.h"
#include "image/psd/Sections.h"

namespace {

using psd::Document;
using psd::Reader;

// The byte of a pixel that each channel goes to, in the order of the file.
constexpr std::size_t kPixelByte[] = {1, 2, 3, 0};
constexpr std::size_t kPixelBytes = std::size(kPixelByte);

/// Keeps the first header that a loader sees.
void rememberHeader(const Document& document, bool& remembered) {
  if (remembered || !document.hasHeader) return;
  gPSDHeader = document.header;
  remembered = true;
}

std::size_t channelsTaken(const Document& document, bool withAlpha) {
  return std::min<std::size_t>(document.header.channels, withAlpha ? 4 : 3);
}

/// A picture in the making, which becomes a bitmap's when all of it is there.
class Picture {
 public:
  Picture() = default;
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  ~Picture() { map_.Free(); }

  /// False where a picture of the document's size cannot be had.
  bool allocate(const Document& document) {
    constexpr std::uint64_t kMostPixels = INT32_MAX / 4;
    const auto [width, height] = std::pair(document.header.columns, document.header.rows);
    if (width > INT32_MAX || height > INT32_MAX || document.pixels() > kMostPixels) return false;
    return map_.Allocate(static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), 32) != nullptr;
  }
  ABitMap& map() { return map_; }

  /// Hands the pixels over, as `Free` and `Allocate` of `target` would make room for them: its margins and
  /// its fill value stay.
  void moveTo(ABitMap& target) {
    target.Free();
    target.fullWidth = target.width = map_.width;
    target.fullHeight = target.height = map_.height;
    target.depth = map_.depth;
    target.buffer = map_.buffer;
    map_.buffer = nullptr;
  }

 private:
  ABitMap map_;
};

/// Whether `count` bytes can be among the data, before memory is asked for.
bool mayHold(const Reader& data, std::uint64_t count, bool packed) {
  return count <= (packed ? psd::mostUnpacked(data.left()) : data.left());
}

/// One channel after the other with `next` telling whether it is packed, and moving the cursor to its data.
template <class Next>
bool decodeChannels(Reader& data, std::size_t channels, std::size_t pixels, ABitMap& map, Next next) {
  // Raw channels are joined at the end in one pass. As long as there are only such, nothing needs clearing.
  const unsigned char* raw[kPixelBytes] = {};
  bool anyPacked = false;
  for (std::size_t i = 0; i < channels; ++i) {
    if (!next(data)) {
      raw[i] = data.take(pixels);
      if (raw[i] == nullptr) return false;
      continue;
    }
    if (!anyPacked) map.ClearBuffer();
    anyPacked = true;
    psd::ChannelFiller filler(map.buffer + kPixelByte[i], kPixelBytes, pixels);
    while (filler.room() > 0) {
      if (!psd::unpackRecord(data, filler)) return false;
    }
    if (!data.ok()) return false;
  }
  if (!anyPacked) {
    planes::join(raw, pixels, map.buffer);
    return true;
  }
  for (std::size_t i = 0; i < channels; ++i) {
    if (raw[i] == nullptr) continue;
    psd::ChannelFiller(map.buffer + kPixelByte[i], kPixelBytes, pixels).copy(raw[i], pixels);
  }
  return true;
}

std::int32_t loadMerged(Document document, bool withAlpha, ABitMap& target) {
  static bool remembered = false;
  rememberHeader(document, remembered);
  const std::size_t channels = channelsTaken(document, withAlpha);
  if (channels == 0) return -1;
  Reader& data = document.rest;
  data.skip(data.u32());  // layer and mask information
  const bool packed = data.u16() != 0;
  if (packed) data.skip(std::uint64_t{document.header.channels} * document.header.rows * 2);
  Picture picture;
  if (!data.ok() || !mayHold(data, document.pixels() * channels, packed)) return -1;
  if (!picture.allocate(document)) return -1;
  const auto pixels = static_cast<std::size_t>(document.pixels());
  const auto next = [packed](Reader&) { return packed; };
  if (!decodeChannels(data, channels, pixels, picture.map(), next)) return -1;
  picture.moveTo(target);
  return 0;
}

/// Moves `data` past the layer records.
void skipRecords(Reader& data, std::int32_t layerCount) {
  for (std::int32_t i = 0; i < layerCount && data.ok(); ++i) {
    data.skip(16);                             // rectangle
    data.skip(std::uint64_t{6} * data.u16());  // channels
    data.skip(4 + 4 + 4);                      // signature, blend key; opacity, clipping, flags, filler
    data.skip(data.u32());                     // extra data
  }
}

/// Of the sections, only what lies in front of the pixels that are taken has to be there.
std::int32_t loadFirstLayer(const Document& document, bool withAlpha, ABitMap& target) {
  static bool remembered = false;
  rememberHeader(document, remembered);
  const std::size_t channels = channelsTaken(document, withAlpha);
  if (channels == 0) return -1;
  Reader data = document.rest;
  const std::uint32_t sectionLength = data.u32();
  if (data.ok() && sectionLength == 0) return loadMerged(document, false, target);
  const std::uint32_t layerInfoLength = data.u32();
  if (data.ok() && layerInfoLength == 0) return loadMerged(document, false, target);
  const std::int16_t layerCount = data.i16();
  if (!data.ok()) return -1;
  if (layerCount == 0) return loadMerged(document, false, target);
  // None for a negative count: see the header.
  skipRecords(data, layerCount);
  if (!data.ok() || !mayHold(data, document.pixels(), true)) return -1;
  Picture picture;
  if (!picture.allocate(document)) return -1;
  const auto next = [&document](Reader& channel) {
    const bool packed = channel.u16() != 0;
    if (packed) channel.skip(std::uint64_t{document.header.rows} * 2);
    return packed;
  };
  const auto pixels = static_cast<std::size_t>(document.pixels());
  if (!decodeChannels(data, channels, pixels, picture.map(), next)) return -1;
  picture.moveTo(target);
  return 0;
}

}  // namespace

std::int32_t ABitMap::LoadPSD(const char* path, bool withAlpha, const void* data, std::int32_t size) {
  const psd::Block own(data == nullptr && path != nullptr ? LoadFromFile(path, &size) : nullptr);
  const void* const file = data == nullptr ? own.data() : data;
  if (file == nullptr || size < 0) return -1;
  // Of data without a size, the lengths in it are all that is known.
  const std::size_t unknown = SIZE_MAX - reinterpret_cast<std::uintptr_t>(file);
  const std::size_t bytes = size == 0 ? unknown : static_cast<std::size_t>(size);
  return loadMerged(psd::readDocument(file, bytes), withAlpha, *this);
}

std::int32_t ABitMap::LoadPSDLayer(const char* path, std::int32_t /*layerNumber*/, bool withAlpha) {
  std::int32_t size = 0;
  const psd::Block own(path == nullptr ? nullptr : LoadFromFile(path, &size));
  if (own.data() == nullptr) return -1;
  return loadFirstLayer(psd::readDocument(own.data(), static_cast<std::size_t>(size)), withAlpha, *this);
}
