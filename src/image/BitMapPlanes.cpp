#include <cstring>

#include "image/BitMap.h"
#include "image/BitMapRegion.h"
#include "image/PixelBytes.h"
#include "image/VectorClones.h"
#include "system/Host.h"

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
      : next_(first), stride_(stride), left_(count) {}

  void copy(const unsigned char* from, std::int64_t count) {
    count = take(count);
    for (std::int64_t i = 0; i < count; ++i) next_[i * stride_] = from[i];
    next_ += count * stride_;
  }
  void repeat(unsigned char value, std::int64_t count) {
    count = take(count);
    for (std::int64_t i = 0; i < count; ++i) next_[i * stride_] = value;
    next_ += count * stride_;
  }

 private:
  std::int64_t take(std::int64_t count) {
    if (count > left_) Sys_BreakToDebugger();
    count = std::min(count, left_);
    left_ -= count;
    return count;
  }

  unsigned char* next_;
  std::ptrdiff_t stride_;
  std::int64_t left_;
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

// Channel data with their compression code, for `w` x `h` pixels.
bool readChannel(const unsigned char* data, std::int64_t size, std::int64_t w, std::int64_t h,
                 ChannelFiller& filler) {
  constexpr std::int64_t kCodeBytes = 2;
  if (data == nullptr || size < kCodeBytes) return false;
  if (size == kCodeBytes) return true;
  const auto code = pixelbytes::load<std::uint16_t>(data);
  data += kCodeBytes;
  size -= kCodeBytes;
  if (code == 0) {
    if (size != w * h) return false;
    filler.copy(data, size);
    return true;
  }
  const std::int64_t countsBytes = h * 2;
  return code == 1 && size >= countsBytes && unpackBits(data + countsBytes, size - countsBytes, filler);
}

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
  return statusOf(readChannel(data, size, width, height, filler));
}

std::int32_t ABitMap::ReadAlphaFromBuffer(const unsigned char* data, std::int32_t size, std::int32_t fullW,
                                          std::int32_t fullH, std::int32_t t, std::int32_t l, std::int32_t b,
                                          std::int32_t r) {
  AllocateCropped(fullW, fullH, t, l, b, r, 8);
  if (buffer == nullptr && width > 0 && height > 0) return -1;
  ClearBuffer();
  const bool empty = buffer == nullptr;
  ChannelFiller filler(buffer, 1, BufferBytes());
  const bool good = readChannel(data, size, empty ? 0 : width, empty ? 0 : height, filler);
  if (!good) Free();
  return statusOf(good);
}
