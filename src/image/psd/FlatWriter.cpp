#include <algorithm>
#include <cstring>
#include <vector>

#include "image/BitMap.h"
#include "image/BitMapRegion.h"
#include "image/PSDFile.h"
#include "image/PixelBytes.h"
#include "image/psd/Block.h"
#include "image/psd/Cursor.h"
#include "image/psd/Planes.h"
#include "system/Host.h"

namespace psd {
namespace {

constexpr std::int64_t kFlatOverhead = 40;  // header, three empty sections and the compression word

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
void writeImagePlanes(const ABitMap& map, std::span<const Plane> planes) {
  const auto [image, stored] = Placement(map);
  const auto pixels = static_cast<std::size_t>(image.w * image.h);
  if (stored.x == 0 && stored.y == 0 && stored.w == image.w && stored.h == image.h) {
    splitPlanes(map, 0, pixels, planes);
    return;
  }
  for (const Plane& plane : planes) {
    if (pixels > 0) std::memset(plane.to, fillByte(map, plane.offset), pixels);
  }
  const PixelRect visible = intersection(stored, image);
  if (visible.empty()) return;
  std::vector<Plane> row(planes.begin(), planes.end());
  for (std::int64_t y = visible.y; y < visible.y + visible.h; ++y) {
    const auto at = static_cast<std::size_t>(y * image.w + visible.x);
    for (std::size_t i = 0; i < row.size(); ++i) row[i].to = planes[i].to + at;
    const auto first = static_cast<std::size_t>((y - stored.y) * stored.w + visible.x - stored.x);
    splitPlanes(map, first, static_cast<std::size_t>(visible.w), row);
  }
}

/// The stored rectangle, two bytes a pixel.
void writeStoredWords(const ABitMap& map, std::int32_t offset, std::size_t count, unsigned char* to) {
  const PaddedBytes bytes(map, offset);
  for (std::size_t i = 0; i < 2 * count; ++i) {
    to[i] = bytes[static_cast<std::int64_t>(i / 2 * 4 + i % 2) + offset];
  }
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

void writePlanes(Writer& file, std::int32_t planeCount, std::int32_t bits, const ABitMap* const* planes,
                 const std::int32_t* channels) {
  for (std::int32_t i = 0; i < planeCount;) {
    // Planes of the same bitmap are made together, which spares memory the one from the other.
    Plane together[4];
    std::size_t count = 0;
    const ABitMap& map = *planes[i];
    const auto bytes = static_cast<std::uint64_t>(planeBytes(map, bits));
    while (bits == 8 && count < 4 && i < planeCount && planes[i] == &map && channels[i] >= 0 &&
           channels[i] <= 3) {
      unsigned char* const to = file.take(bytes);
      if (to == nullptr) return;
      together[count++] = {channels[i++], to};
    }
    if (count > 0) {
      writeImagePlanes(map, {together, count});
    } else {
      unsigned char* const to = file.take(bytes);
      if (to == nullptr) return;
      map.SaveBMap_WritePlaneToBuffer(to, bits, nullptr, channels[i++]);
    }
  }
}

}  // namespace
}  // namespace psd

std::int32_t ABitMap::SavePSD(const char* path, bool withAlpha, std::int32_t /*ignored*/) const {
  const std::int32_t bytes = BytesPerPixel();
  std::vector<std::int32_t> channels;
  if (bytes == 4) {
    channels = {1, 2, 3};
    if (withAlpha) channels.push_back(0);
  } else if (bytes == 2) {
    channels = {0};
  } else {
    for (std::int32_t i = bytes - 1; i >= 0; --i) channels.push_back(i);
  }
  const std::vector<const ABitMap*> planes(channels.size(), this);
  return SaveBMapPlanes(path, static_cast<std::int32_t>(planes.size()), bytes == 2 ? 16 : 8, planes.data(),
                        channels.data());
}

std::int32_t ABitMap::SaveBMapPlanes(const char* path, std::int32_t planeCount, std::int32_t bits,
                                     const ABitMap* const* planes, const std::int32_t* channels) const {
  if (planeCount < 0 || (planeCount > 0 && (planes == nullptr || channels == nullptr))) return -1;
  std::int64_t size = psd::kFlatOverhead;
  for (std::int32_t i = 0; i < planeCount; ++i) {
    if (planes[i] == nullptr) return -1;
    size += psd::planeBytes(*planes[i], bits);
    // The caller is told that all is well: what it does with pictures that are too large relies on it.
    if (size > INT32_MAX) return 0;
  }
  const psd::Block block(size, "SaveBMapPlanes");
  if (block.data() == nullptr) return 0;
  psd::Writer file(block.data(), static_cast<std::size_t>(size), "flat document");
  PSDHeaderInit(&gPSDHeader, static_cast<std::uint32_t>(fullWidth), static_cast<std::uint32_t>(fullHeight),
                static_cast<std::uint16_t>(bits), static_cast<std::uint16_t>(planeCount),
                psd::modeOf(planeCount, bits));
  constexpr std::size_t kHeaderBytes = 30;
  unsigned char* const header = file.take(kHeaderBytes);
  PSDBufferWriteHeader(header, gPSDHeader);
  file.u32(0);  // image resources
  file.u32(0);  // layer and mask information
  file.u16(0);  // merged image: raw
  psd::writePlanes(file, planeCount, bits, planes, channels);
  if (!file.full()) Sys_BreakToDebugger();
  return SaveToFile(path, block.data(), static_cast<std::int32_t>(size));
}

unsigned char* ABitMap::SaveBMap_WritePlaneToBuffer(unsigned char* to, std::int32_t bits,
                                                    std::uint16_t* rowCounts, std::int32_t channel,
                                                    std::int32_t /*flag*/) const {
  if (channel < 0 || channel > 3 || (bits != 8 && bits != 16)) Sys_BreakToDebugger();
  const auto size = static_cast<std::size_t>(psd::planeBytes(*this, bits));
  // A size as a position from address 0. NOLINTNEXTLINE(performance-no-int-to-ptr)
  if (to == nullptr) return reinterpret_cast<unsigned char*>(size);
  if (bits == 8) {
    const psd::Plane plane = {channel, to};
    psd::writeImagePlanes(*this, {&plane, 1});
  } else if (bits == 16) {
    psd::writeStoredWords(*this, channel, size / 2, to);
  }
  if (rowCounts != nullptr && (bits == 8 || bits == 16)) {
    const std::int64_t rowBytes = psd::atLeast0(width) * (bits / 8);
    std::fill_n(rowCounts, psd::atLeast0(height), pixelbytes::turned(static_cast<std::uint16_t>(rowBytes)));
  }
  return to + size;
}
