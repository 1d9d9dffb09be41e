#include <algorithm>
#include <cstring>
#include <span>

#include "image/BitMap.h"
#include "image/BitMapRegion.h"
#include "image/PSDFile.h"
#include "image/PixelBytes.h"
#include "image/PixelPlanes.h"
#include "image/psd/Block.h"
#include "image/psd/Cursor.h"
#include "image/psd/Format.h"
#include "system/Host.h"

namespace psd {
namespace {

using planes::Plane;

// The header, two empty sections and the compression word.
constexpr std::int64_t kFlatOverhead = static_cast<std::int64_t>(kHeaderBytes) + 4 + 4 + kCompressionBytes;

std::int64_t atLeast0(std::int32_t size) {
  return std::max(size, 0);
}

/// The logical image of a bitmap and where its stored pixels lie in it.
struct Placement {
  PixelRect image;
  PixelRect stored;

  explicit Placement(const ABitMap& map) : image{0, 0, atLeast0(map.fullWidth), atLeast0(map.fullHeight)} {
    // Margins that do not add up are left over from a cropped bitmap that `Allocate` made whole.
    const bool columnsAddUp = std::int64_t{map.left} + map.width + map.right == map.fullWidth;
    const bool rowsAddUp = std::int64_t{map.top} + map.height + map.bottom == map.fullHeight;
    stored = {columnsAddUp ? map.left : 0, rowsAddUp ? map.top : 0, atLeast0(map.width),
              atLeast0(map.height)};
  }
};

/// Planes of the logical image, fill bytes around the stored rectangle.
void writeImagePlanes(const ABitMap& map, std::span<const Plane> wanted) {
  const auto [image, stored] = Placement(map);
  const auto pixels = static_cast<std::size_t>(image.w * image.h);
  if (stored.x == 0 && stored.y == 0 && stored.w == image.w && stored.h == image.h) {
    return planes::split(map, 0, pixels, wanted);
  }
  for (const Plane& plane : wanted) {
    if (pixels > 0) std::memset(plane.to, plane.outside, pixels);
  }
  const PixelRect visible = intersection(stored, image);
  if (visible.empty()) return;
  Plane row[kMostChannels];
  std::copy(wanted.begin(), wanted.end(), row);
  for (std::int64_t y = visible.y; y < visible.y + visible.h; ++y) {
    const auto at = static_cast<std::size_t>(y * image.w + visible.x);
    for (std::size_t i = 0; i < wanted.size(); ++i) row[i].to = wanted[i].to + at;
    const auto first = static_cast<std::size_t>((y - stored.y) * stored.w + visible.x - stored.x);
    planes::split(map, first, static_cast<std::size_t>(visible.w), {row, wanted.size()});
  }
}

/// The stored rectangle, two bytes a pixel.
void writeStoredWords(const ABitMap& map, const Plane& plane) {
  const std::int64_t size = map.BufferBytes();
  const std::int64_t pixels = atLeast0(map.width) * atLeast0(map.height);
  unsigned char* to = plane.to;
  for (std::int64_t i = 0; i < pixels; ++i) {
    for (std::int64_t at = 4 * i + plane.offset; at < 4 * i + plane.offset + 2; ++at) {
      *to++ = at >= 0 && at < size ? map.buffer[at] : plane.outside;
    }
  }
}

/// Planes of one bitmap, which are made together: that spares memory the one from the other.
void writePlanes(const ABitMap& map, std::int32_t bits, std::span<const Plane> wanted) {
  if (bits == 8) return writeImagePlanes(map, wanted);
  if (bits == 16) {
    for (const Plane& plane : wanted) writeStoredWords(map, plane);
  }
}

/// A plane at byte `channel` of the pixels; breaks to the debugger for one that lies in a neighbour.
Plane planeAt(const ABitMap& map, std::int32_t channel, unsigned char* to) {
  if (channel < 0 || channel > 3) Sys_BreakToDebugger();
  return {channel, to, planes::fillByte(map, channel)};
}

std::int64_t planeBytes(const ABitMap& map, std::int32_t bits) {
  if (bits == 8) return atLeast0(map.fullWidth) * atLeast0(map.fullHeight);
  if (bits == 16) return atLeast0(map.width) * atLeast0(map.height) * 2;
  return 0;
}

PSDFileMode modeOf(std::int32_t planeCount, std::int32_t bits) {
  if (planeCount == 3 || planeCount == 4) return PSDFileMode::rgb;
  return bits == 16 ? PSDFileMode::grayscale : PSDFileMode::multichannel;
}

}  // namespace
}  // namespace psd

std::int32_t ABitMap::SavePSD(const char* path, bool withAlpha, std::int32_t /*ignored*/) const {
  constexpr std::int32_t kPixelBytes = 4;
  const std::int32_t bytes = BytesPerPixel();
  std::int32_t channels[psd::kMostChannels];
  const ABitMap* planes[psd::kMostChannels];
  std::int32_t count = bytes == kPixelBytes && !withAlpha ? 3 : bytes == 2 ? 1 : std::max(bytes, 0);
  if (count > std::int32_t{psd::kMostChannels}) return -1;
  for (std::int32_t i = 0; i < count; ++i) {
    // Red, green, blue and alpha, the last byte first, or the high-order byte of the one value.
    channels[i] = bytes == kPixelBytes ? (i + 1) % kPixelBytes : count - 1 - i;
    planes[i] = this;
  }
  return SaveBMapPlanes(path, count, bytes == 2 ? 16 : 8, planes, channels);
}

std::int32_t ABitMap::SaveBMapPlanes(const char* path, std::int32_t planeCount, std::int32_t bits,
                                     const ABitMap* const* planes, const std::int32_t* channels) const {
  if (planeCount < 0 || planeCount > std::int32_t{psd::kMostChannels} || (bits != 8 && bits != 16)) return -1;
  if (fullWidth < 0 || fullHeight < 0) return -1;
  if (planeCount > 0 && (planes == nullptr || channels == nullptr)) return -1;
  if (std::find(planes, planes + planeCount, nullptr) != planes + planeCount) return -1;
  std::int64_t size = psd::kFlatOverhead;
  for (std::int32_t i = 0; i < planeCount; ++i) {
    size += psd::planeBytes(*planes[i], bits);
    // Success, too, is what the host's contract has for a picture that is too large.
    if (size > INT32_MAX) return 0;
  }
  const psd::Block block(size, "SaveBMapPlanes");
  if (block.data() == nullptr) return 0;
  psd::Writer file(block.data(), static_cast<std::size_t>(size));
  PSDHeaderInit(&gPSDHeader, static_cast<std::uint32_t>(fullWidth), static_cast<std::uint32_t>(fullHeight),
                static_cast<std::uint16_t>(bits), static_cast<std::uint16_t>(planeCount),
                psd::modeOf(planeCount, bits));
  PSDBufferWriteHeader(file.take(psd::kHeaderBytes), gPSDHeader);
  file.u32(0);  // image resources
  file.u32(0);  // layer and mask information
  file.u16(0);  // merged image: raw
  for (std::int32_t i = 0; i < planeCount;) {
    const ABitMap& map = *planes[i];
    const auto bytes = static_cast<std::uint64_t>(psd::planeBytes(map, bits));
    psd::Plane together[psd::kMostChannels];
    std::size_t count = 0;
    for (; i < planeCount && planes[i] == &map; ++i) {
      together[count++] = psd::planeAt(map, channels[i], file.take(bytes));
    }
    psd::writePlanes(map, bits, {together, count});
  }
  if (!file.full()) Sys_BreakToDebugger();
  return SaveToFile(path, block.data(), static_cast<std::int32_t>(size));
}

unsigned char* ABitMap::SaveBMap_WritePlaneToBuffer(unsigned char* to, std::int32_t bits,
                                                    std::uint16_t* rowCounts, std::int32_t channel,
                                                    std::int32_t /*flag*/) const {
  const psd::Plane plane = psd::planeAt(*this, channel, to);
  if (bits != 8 && bits != 16) Sys_BreakToDebugger();
  const auto size = static_cast<std::size_t>(psd::planeBytes(*this, bits));
  // A size as a position from address 0. NOLINTNEXTLINE(performance-no-int-to-ptr)
  if (to == nullptr) return reinterpret_cast<unsigned char*>(size);
  psd::writePlanes(*this, bits, {&plane, 1});
  if (rowCounts != nullptr && (bits == 8 || bits == 16)) {
    const std::int64_t rowBytes = psd::atLeast0(width) * (bits / 8);
    std::fill_n(rowCounts, psd::atLeast0(height), pixelbytes::turned(static_cast<std::uint16_t>(rowBytes)));
  }
  return to + size;
}
