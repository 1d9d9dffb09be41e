#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/BitMap.h"
#include "image/BitMapRegion.h"
#include "image/PixelPlanes.h"
#include "image/psd/PackBits.h"
#include "system/Host.h"
#include "system/Memory.h"

namespace {

// The byte of each channel in a 32-bit pixel.
constexpr std::int32_t kChannelByte[4] = {1, 2, 3, 0};

unsigned char* fillBytes(unsigned char* to, unsigned char value, std::int64_t count) {
  if (count < 1) return to;
  std::memset(to, value, static_cast<std::size_t>(count));
  return to + static_cast<std::ptrdiff_t>(count);
}

unsigned char* writeCompressionWord(unsigned char* to) {
  return fillBytes(to, 0, 2);
}

// Writes a plane of which `copyRow(to, pixels, count)` makes the stored pixels; `gap` bytes are left out
// after each row of them.
template <class CopyRow>
unsigned char* writePlane(unsigned char* to, const StoredRows& rows, bool padded, unsigned char fill,
                          std::int32_t gap, CopyRow copyRow) {
  const PixelRect image = padded ? rows.image() : rows.rect();
  const PixelRect stored = padded ? rows.visible() : rows.rect();
  if (stored.empty()) return padded ? fillBytes(to, fill, image.w * image.h) : to;
  to = fillBytes(to, fill, (stored.y - image.y) * image.w);
  // Rows that follow one another on both sides are one.
  const bool oneRun = gap == 0 && stored.w == image.w && stored.w == rows.rect().w;
  const std::int64_t step = oneRun ? stored.h : 1;
  for (std::int64_t y = stored.y; y < stored.y + stored.h; y += step) {
    to = fillBytes(to, fill, stored.x - image.x);
    copyRow(to, rows.at(stored.x, y), static_cast<std::size_t>(stored.w * step));
    to = fillBytes(to + stored.w * step, fill, image.x + image.w - stored.x - stored.w) + gap;
  }
  return fillBytes(to, fill, (image.y + image.h - stored.y - stored.h) * image.w);
}

// The data of one channel of a PSD file, for the stored pixels of a bitmap.
class ChannelData {
 public:
  ChannelData(const unsigned char* data, std::int32_t size, const ABitMap& map)
      : data_(data, static_cast<std::size_t>(std::max(size, 0))),
        code_(data_.u16()),
        pixels_(static_cast<std::uint64_t>(std::max(map.width, 0)) *
                static_cast<std::uint64_t>(std::max(map.height, 0))),
        countsBytes_(static_cast<std::uint64_t>(std::max(map.height, 0)) * 2) {}

  // Whether there is a code that is known, and behind it as much as it asks for at least.
  bool plausible() const {
    const std::size_t left = data_.left();
    return data_.ok() &&
           (left == 0 || (code_ == 0 && left == pixels_) || (code_ == 1 && left >= countsBytes_));
  }
  // False for data that are not plausible or break off.
  bool read(psd::ChannelFiller filler) const {
    if (!plausible()) return false;
    psd::Reader data = data_;
    if (data.left() == 0) return true;
    if (code_ == 0) {
      filler.copy(data.take(pixels_), static_cast<std::size_t>(pixels_));
      return true;
    }
    data.skip(countsBytes_);
    while (data.left() > 0) {
      if (!psd::unpackRecord(data, filler)) return false;
    }
    return true;
  }

 private:
  psd::Reader data_;
  std::uint16_t code_;
  std::uint64_t pixels_;
  std::uint64_t countsBytes_;  // of the rows' counts in run-length data
};

std::int32_t statusOf(bool good) {
  if (!good) Sys_BreakToDebugger();
  return good ? 0 : -1;
}

}  // namespace

unsigned char* ABitMap::WriteRGBToBuffer(unsigned char* to, std::int32_t /*ignored*/, bool withAlpha,
                                         bool oneWord) const {
  if (to == nullptr || BytesPerPixel() < 3 || (BytesPerPixel() == 3 && withAlpha)) return to;
  const std::int32_t count = withAlpha ? 4 : 3;
  const auto pixels = static_cast<std::size_t>(BufferBytes() / BytesPerPixel());
  planes::Plane plane[4];
  for (std::int32_t i = 0; i < count; ++i) {
    if (i == 0 || !oneWord) to = writeCompressionWord(to);
    plane[i] = {kChannelByte[i], to, 0};
    to += pixels;
  }
  planes::split(*this, 0, pixels, {plane, static_cast<std::size_t>(count)});
  return to;
}

unsigned char* ABitMap::Write8ToBuffer(unsigned char* to, unsigned char fill, bool padded, bool word) const {
  if (to == nullptr || depth != 8) return to;
  if (word) to = writeCompressionWord(to);
  return writePlane(to, StoredRows(*this, 1), padded, fill, 0,
                    [](unsigned char* row, const unsigned char* pixels, std::size_t count) {
                      std::memcpy(row, pixels, count);
                    });
}

unsigned char* ABitMap::WriteAlphaToBuffer(unsigned char* to, long threshold, unsigned char fill,
                                           std::int32_t bits, bool padded) const {
  if (to == nullptr || BytesPerPixel() < 4) return to;
  to = writeCompressionWord(to);
  if (bits != 8) return to;
  return writePlane(to, StoredRows(*this, 4), padded, fill, 0,
                    [threshold](unsigned char* row, const unsigned char* pixels, std::size_t count) {
                      planes::compare(row, pixels, threshold, count);
                    });
}

unsigned char* ABitMap::WriteOneRGBAOffsetToBuffer(unsigned char* to, std::int32_t /*ignored*/,
                                                   std::int32_t channel, std::int32_t gap) const {
  const bool taken = BytesPerPixel() == 4 || (BytesPerPixel() == 3 && channel != 3);
  if (to == nullptr || !taken || channel < 0 || channel > 3) return to;
  const std::int32_t channelByte = kChannelByte[channel];
  const std::int32_t bytesPerPixel = BytesPerPixel();
  return writePlane(to, StoredRows(*this, bytesPerPixel), true, 0, gap,
                    [=, this](unsigned char* row, const unsigned char* pixels, std::size_t count) {
                      const auto first = static_cast<std::size_t>((pixels - buffer) / bytesPerPixel);
                      const planes::Plane plane = {channelByte, row, 0};
                      planes::split(*this, first, count, {&plane, 1});
                    });
}

std::int32_t ABitMap::ReadRGBAChannelFromBuffer(const unsigned char* data, std::int32_t size,
                                                std::int32_t channel) {
  if (size == 2) return 0;
  const bool empty = width < 1 || height < 1;
  if (channel < 0 || channel > 3 || kChannelByte[channel] >= BytesPerPixel() ||
      (buffer == nullptr && !empty)) {
    return statusOf(false);
  }
  const std::int32_t stride = BytesPerPixel();
  unsigned char* const first = buffer == nullptr ? nullptr : buffer + kChannelByte[channel];
  return statusOf(
      ChannelData(data, size, *this)
          .read({first, static_cast<std::size_t>(stride), static_cast<std::size_t>(BufferBytes() / stride)}));
}

std::int32_t ABitMap::ReadAlphaFromBuffer(const unsigned char* data, std::int32_t size, std::int32_t fullW,
                                          std::int32_t fullH, std::int32_t t, std::int32_t l, std::int32_t b,
                                          std::int32_t r) {
  Free();
  setCropping(*this, fullW, fullH, t, l, b, r, 8);
  // A few bytes of data may claim any size: memory is asked for, and not touched, when they have been seen.
  const ChannelData channel(data, size, *this);
  if (!channel.plausible()) return statusOf(false);
  if (width > 0 && height > 0) {
    buffer = static_cast<unsigned char*>(
        MY_MEM_MALLOC_CLEAR(imageBytes(width, height, depth), "ABitMap::ReadAlphaFromBuffer"));
    if (buffer == nullptr) return -1;
  }
  const bool good = channel.read({buffer, 1, static_cast<std::size_t>(BufferBytes())});
  if (!good) Free();
  return statusOf(good);
}
