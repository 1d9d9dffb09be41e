#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/BitMap.h"
#include "image/BitMapRegion.h"
#include "image/PixelBytes.h"
#include "image/VectorClones.h"
#include "system/Host.h"
#include "system/Memory.h"

namespace {

// The byte of each channel in a 32-bit pixel.
constexpr std::int32_t kChannelByte[4] = {1, 2, 3, 0};
// The planes of this many pixels at a time: the pixels are read from memory once and for the other planes
// from the cache.
constexpr std::size_t kPlaneBlock = 4096;

// Of each of `count` pixels of 4 bytes the byte that a shift of the pixel, as it lies in memory, brings down.
template <int kShift>
inline void shiftDown(unsigned char* to, const unsigned char* pixels, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    to[i] = static_cast<unsigned char>(pixelbytes::loadTurned<std::uint32_t>(pixels + 4 * i) >> kShift);
  }
}

// Byte `channelByte` of each pixel. Shifts that the compiler knows make quicker loops.
KSMTH_VECTOR_CLONES
void copyChannel(unsigned char* to, const unsigned char* pixels, std::int32_t channelByte,
                 std::size_t count) {
  switch (std::countr_zero(pixelbytes::turned(std::uint32_t{0xFF000000} >> (8 * channelByte)))) {
    case 0:
      return shiftDown<0>(to, pixels, count);
    case 8:
      return shiftDown<8>(to, pixels, count);
    case 16:
      return shiftDown<16>(to, pixels, count);
    default:
      return shiftDown<24>(to, pixels, count);
  }
}

// The same from a bitmap's pixel number `first` on, the pixels 4 bytes apart whatever its depth; 0 for bytes
// past the end of the buffer.
void copyChannel(unsigned char* to, const ABitMap& map, std::int32_t channelByte, std::size_t first,
                 std::size_t count) {
  const auto bytes = static_cast<std::size_t>(map.BufferBytes());
  const std::size_t whole = std::min(count, bytes / 4 - std::min(bytes / 4, first));
  if (whole > 0) copyChannel(to, map.buffer + first * 4, channelByte, whole);
  for (std::size_t i = whole; i < count; ++i) {
    const std::size_t at = (first + i) * 4 + static_cast<std::size_t>(channelByte);
    to[i] = at < bytes ? map.buffer[at] : 0;
  }
}

// 255 where the pixel is less than `threshold`, otherwise 0.
KSMTH_VECTOR_CLONES
void copyBelow(unsigned char* to, const unsigned char* pixels, std::int64_t threshold, std::size_t count) {
  if (threshold > INT32_MAX || threshold <= INT32_MIN) {
    std::memset(to, threshold > INT32_MAX ? 255 : 0, count);
    return;
  }
  const auto limit = static_cast<std::int32_t>(threshold);
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = static_cast<std::int32_t>(pixelbytes::load<std::uint32_t>(pixels + 4 * i));
    to[i] = static_cast<unsigned char>(value < limit ? 255 : 0);
  }
}

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
  for (std::int64_t y = stored.y; y < stored.y + stored.h; ++y) {
    to = fillBytes(to, fill, stored.x - image.x);
    copyRow(to, rows.at(stored.x, y), static_cast<std::size_t>(stored.w));
    to = fillBytes(to + stored.w, fill, image.x + image.w - stored.x - stored.w) + gap;
  }
  return fillBytes(to, fill, (image.y + image.h - stored.y - stored.h) * image.w);
}

// One channel of a bitmap's pixels as the data of a PSD channel fill it, byte by byte; what is too much is
// dropped.
class ChannelFiller {
 public:
  ChannelFiller(unsigned char* first, std::ptrdiff_t stride, std::int64_t count)
      : first_(first), stride_(stride), count_(count) {}

  void copy(const unsigned char* from, std::int64_t count) {
    count = take(count);
    for (std::int64_t i = 0; i < count; ++i) put(next_ + i, from[i]);
    next_ += count;
  }
  void repeat(unsigned char value, std::int64_t count) {
    count = take(count);
    for (std::int64_t i = 0; i < count; ++i) put(next_ + i, value);
    next_ += count;
  }

 private:
  // As many of `count` as there is room for.
  std::int64_t take(std::int64_t count) const {
    if (count > count_ - next_) Sys_BreakToDebugger();
    return std::min(count, count_ - next_);
  }
  void put(std::int64_t i, unsigned char value) { first_[static_cast<std::ptrdiff_t>(i) * stride_] = value; }

  unsigned char* first_;
  std::ptrdiff_t stride_;
  std::int64_t count_;
  std::int64_t next_ = 0;
};

// False for a record that runs past the end. The host's files have no header byte that does nothing: 128 is a
// repetition like any other.
bool unpackBits(const unsigned char* data, std::int64_t size, ChannelFiller& filler) {
  while (size > 0) {
    const int header = *data < 128 ? *data : *data - 256;
    ++data;
    --size;
    const std::int64_t used = header > 0 ? header + 1 : 1;
    if (used > size) return false;
    if (header > 0) {
      filler.copy(data, used);
    } else {
      filler.repeat(*data, 1 - header);
    }
    data += used;
    size -= used;
  }
  return true;
}

// The data of one channel of a PSD file, for the stored pixels of a bitmap.
class ChannelData {
 public:
  ChannelData(const unsigned char* data, std::int64_t size, const ABitMap& map)
      : data_(data),
        size_(size),
        pixels_(std::int64_t{std::max(map.width, 0)} * std::max(map.height, 0)),
        countsBytes_(std::int64_t{std::max(map.height, 0)} * 2) {}

  // Whether there is a code that is known, and behind it as much as it asks for at least.
  bool plausible() const {
    if (data_ == nullptr || size_ < kCodeBytes) return false;
    const std::int64_t rest = size_ - kCodeBytes;
    return rest == 0 || (code() == 0 && rest == pixels_) || (code() == 1 && rest >= countsBytes_);
  }
  // False for data that are not plausible or break off.
  bool read(ChannelFiller& filler) const {
    if (!plausible()) return false;
    if (size_ == kCodeBytes) return true;
    if (code() == 1) {
      const std::int64_t skipped = kCodeBytes + countsBytes_;
      return unpackBits(data_ + skipped, size_ - skipped, filler);
    }
    filler.copy(data_ + kCodeBytes, pixels_);
    return true;
  }

 private:
  static constexpr std::int64_t kCodeBytes = 2;

  std::uint16_t code() const { return pixelbytes::load<std::uint16_t>(data_); }

  const unsigned char* data_;
  std::int64_t size_;
  std::int64_t pixels_;
  std::int64_t countsBytes_;  // of the rows' counts in run-length data
};

std::int32_t statusOf(bool good) {
  if (!good) Sys_BreakToDebugger();
  return good ? 0 : -1;
}

}  // namespace

unsigned char* ABitMap::WriteRGBToBuffer(unsigned char* to, std::int32_t /*ignored*/, bool withAlpha,
                                         bool oneWord) const {
  if (BytesPerPixel() < 3 || (BytesPerPixel() == 3 && withAlpha)) return to;
  const std::int32_t planes = withAlpha ? 4 : 3;
  const auto pixels = static_cast<std::size_t>(BufferBytes() / BytesPerPixel());
  unsigned char* plane[4];
  for (std::int32_t i = 0; i < planes; ++i) {
    plane[i] = i == 0 || !oneWord ? writeCompressionWord(to) : to;
    to = plane[i] + pixels;
  }
  for (std::size_t first = 0; first < pixels; first += kPlaneBlock) {
    const std::size_t count = std::min(kPlaneBlock, pixels - first);
    for (std::int32_t i = 0; i < planes; ++i)
      copyChannel(plane[i] + first, *this, kChannelByte[i], first, count);
  }
  return to;
}

unsigned char* ABitMap::Write8ToBuffer(unsigned char* to, unsigned char fill, bool padded, bool word) const {
  if (depth != 8) return to;
  if (word) to = writeCompressionWord(to);
  return writePlane(to, StoredRows(*this, 1), padded, fill, 0,
                    [](unsigned char* row, const unsigned char* pixels, std::size_t count) {
                      std::memcpy(row, pixels, count);
                    });
}

unsigned char* ABitMap::WriteAlphaToBuffer(unsigned char* to, long threshold, unsigned char fill,
                                           std::int32_t bits, bool padded) const {
  if (BytesPerPixel() < 4) return to;
  to = writeCompressionWord(to);
  if (bits != 8) return to;
  return writePlane(to, StoredRows(*this, 4), padded, fill, 0,
                    [threshold](unsigned char* row, const unsigned char* pixels, std::size_t count) {
                      copyBelow(row, pixels, threshold, count);
                    });
}

unsigned char* ABitMap::WriteOneRGBAOffsetToBuffer(unsigned char* to, std::int32_t /*ignored*/,
                                                   std::int32_t channel, std::int32_t gap) const {
  const bool taken = BytesPerPixel() == 4 || (BytesPerPixel() == 3 && channel != 3);
  if (!taken || channel < 0 || channel > 3) return to;
  const std::int32_t channelByte = kChannelByte[channel];
  const std::int32_t bytesPerPixel = BytesPerPixel();
  return writePlane(to, StoredRows(*this, bytesPerPixel), true, 0, gap,
                    [=, this](unsigned char* row, const unsigned char* pixels, std::size_t count) {
                      const auto first = static_cast<std::size_t>((pixels - buffer) / bytesPerPixel);
                      copyChannel(row, *this, channelByte, first, count);
                    });
}

std::int32_t ABitMap::ReadRGBAChannelFromBuffer(const unsigned char* data, std::int32_t size,
                                                std::int32_t channel) {
  if (size == 2) return 0;
  if (buffer == nullptr || channel < 0 || channel > 3 || kChannelByte[channel] >= BytesPerPixel()) {
    return statusOf(false);
  }
  const std::int32_t stride = BytesPerPixel();
  ChannelFiller filler(buffer + kChannelByte[channel], stride, BufferBytes() / stride);
  return statusOf(ChannelData(data, size, *this).read(filler));
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
  ChannelFiller filler(buffer, 1, BufferBytes());
  const bool good = channel.read(filler);
  if (!good) Free();
  return statusOf(good);
}
