#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Truncate.h"
#include "geometry/Point3D.h"
#include "image/BitMap.h"
#include "image/PixelFill.h"
#include "image/VectorClones.h"
#include "image/WordKernels.h"
#include "system/Host.h"

namespace {

using pixelbytes::turned;

// The low bits of each channel that are left when it is shifted right within the pixel. The work is done byte
// by byte, so the pixels can stay as they lie in memory: no channel borrows from or carries into another.
constexpr std::uint32_t kHalves = turned(std::uint32_t{0x7F7F7F});
constexpr std::uint32_t kQuarters = turned(std::uint32_t{0x3F3F3F});
constexpr std::uint32_t kSixteenths = turned(std::uint32_t{0x0F0F0F});

constexpr std::uint32_t half(std::uint32_t p) {
  return (p >> 1) & kHalves;
}
constexpr std::uint32_t quarter(std::uint32_t p) {
  return (p >> 2) & kQuarters;
}
constexpr std::uint32_t sixteenth(std::uint32_t p) {
  return (p >> 4) & kSixteenths;
}

KSMTH_VECTOR_CLONES
void addTo(unsigned char* pixels, std::size_t count, std::uint32_t value) {
  mapWords(pixels, count, [value](std::uint32_t p) { return turned(turned(p) + value); });
}

KSMTH_VECTOR_CLONES
void darkenQuarter(unsigned char* pixels, std::size_t count) {
  mapWords(pixels, count, [](std::uint32_t p) { return p - quarter(p); });
}

KSMTH_VECTOR_CLONES
void replaceTurned(unsigned char* pixels, std::size_t count, std::uint32_t from, std::uint32_t to) {
  mapWords(pixels, count, [from, to](std::uint32_t p) { return p == from ? to : p; });
}

KSMTH_VECTOR_CLONES
void darkenAndAdd(unsigned char* pixels, std::size_t count, std::uint32_t add, std::uint32_t turnedSkip) {
  mapWords(pixels, count, [add, turnedSkip](std::uint32_t p) {
    return p == turnedSkip ? p : turned(turned(p - quarter(p)) + add);
  });
}

// The low-order byte is 255 where the other pixel is less than `threshold`.
KSMTH_VECTOR_CLONES
void writeBelow(unsigned char* pixels, const unsigned char* others, std::size_t count,
                std::int32_t threshold) {
  mapWords(pixels, others, count, [threshold](std::uint32_t p, std::uint32_t q) {
    constexpr std::uint32_t kLowByte = turned(std::uint32_t{0xFF});
    const std::uint32_t below = static_cast<std::int32_t>(turned(q)) < threshold ? kLowByte : 0;
    return (p & ~kLowByte) | below;
  });
}

KSMTH_VECTOR_CLONES
void darken(unsigned char* pixels, std::size_t count) {
  mapWords(pixels, count, half);
}

bool hasPattern(std::int32_t depth) {
  return depth == 8 || depth == 16 || depth == 32 || depth == 64;
}

KSMTH_VECTOR_CLONES
void andWords(unsigned char* bytes, std::size_t words, std::uint64_t pattern) {
  for (std::size_t i = 0; i < words; ++i) {
    unsigned char* const at = bytes + sizeof pattern * i;
    pixelbytes::storeTurned(at, pixelbytes::loadTurned<std::uint64_t>(at) & pattern);
  }
}

KSMTH_VECTOR_CLONES
void orWords(unsigned char* bytes, std::size_t words, std::uint64_t pattern) {
  for (std::size_t i = 0; i < words; ++i) {
    unsigned char* const at = bytes + sizeof pattern * i;
    pixelbytes::storeTurned(at, pixelbytes::loadTurned<std::uint64_t>(at) | pattern);
  }
}

// Combines a whole buffer with the pattern of `value`, by eight bytes and what is left at the end.
void combine(const ABitMap& map, std::uint64_t value,
             void (*words)(unsigned char*, std::size_t, std::uint64_t)) {
  if (!hasPattern(map.depth)) return;
  const std::uint64_t pattern = pixelPattern(value, map.depth);
  const auto bytes = static_cast<std::size_t>(map.BufferBytes());
  const std::size_t whole = bytes / sizeof pattern;
  words(map.buffer, whole, pattern);
  const std::size_t left = bytes % sizeof pattern;
  if (left == 0) return;
  unsigned char last[sizeof pattern] = {};
  unsigned char* const end = map.buffer + sizeof pattern * whole;
  std::memcpy(last, end, left);
  words(last, 1, pattern);
  std::memcpy(end, last, left);
}

KSMTH_VECTOR_CLONES
void invertLowByte(unsigned char* pixels, std::size_t count) {
  mapWords(pixels, count, [](std::uint32_t p) { return p ^ turned(std::uint32_t{0x000000FF}); });
}

KSMTH_VECTOR_CLONES
void blendQuarter(unsigned char* pixels, const unsigned char* others, std::size_t count) {
  mapWords(pixels, others, count,
           [](std::uint32_t p, std::uint32_t q) { return p - quarter(p) + quarter(q); });
}

KSMTH_VECTOR_CLONES
void blendSixteenth(unsigned char* pixels, const unsigned char* others, std::size_t count) {
  mapWords(pixels, others, count,
           [](std::uint32_t p, std::uint32_t q) { return sixteenth(p) + q - sixteenth(q); });
}

// work(pixels, others, count) for the pixels of two 32-bit bitmaps, paired by index.
template <class Work>
void blend(const ABitMap& map, const ABitMap& other, Work work) {
  if (map.depth != 32 || other.depth != 32) Sys_BreakToDebugger();
  work(map.buffer, other.buffer, std::min(StoredRows(map, 4).count(), StoredRows(other, 4).count()));
}

}  // namespace

void ABitMap::Paint(std::uint32_t value, std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h) {
  expectDepth32(*this);
  fillPattern(rowsOf(*this, {x, y, w, h}), pixelPattern(value, 32));
}

void ABitMap::Mask_Add(std::uint32_t value, std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h) {
  expectDepth32(*this);
  forRowsOf(*this, {x, y, w, h},
            [value](unsigned char* pixels, std::size_t count) { addTo(pixels, count, value); });
}

void ABitMap::Darken(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h) {
  expectDepth32(*this);
  forRowsOf(*this, {x, y, w, h}, darken);
}

void ABitMap::DarkenQtr(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h) {
  expectDepth32(*this);
  forRowsOf(*this, {x, y, w, h}, darkenQuarter);
}

void ABitMap::DarkenAndAdd(std::uint32_t add, std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h,
                           std::uint32_t skip) {
  expectDepth32(*this);
  forRowsOf(*this, {x, y, w, h}, [add, skip = turned(skip)](unsigned char* pixels, std::size_t count) {
    darkenAndAdd(pixels, count, add, skip);
  });
}

void ABitMap::Switch(std::uint32_t from, std::uint32_t to, std::int32_t x, std::int32_t y, std::int32_t w,
                     std::int32_t h) {
  expectDepth32(*this);
  forRowsOf(*this, {x, y, w == 0 ? fullWidth : w, h == 0 ? fullHeight : h},
            [from = turned(from), to = turned(to)](unsigned char* pixels, std::size_t count) {
              replaceTurned(pixels, count, from, to);
            });
}

void ABitMap::PaintZero() {
  ClearBuffer();
}

void ABitMap::Paint(std::uint64_t value) {
  if (!hasPattern(depth) || buffer == nullptr) return;
  fillPattern(buffer, pixelPattern(value, depth), static_cast<std::size_t>(BufferBytes()));
}

void ABitMap::Paint(const FPoint3D& color) {
  if (depth != 32 && depth != 64) return Sys_BreakToDebugger();
  const int bits = depth / 4;
  const double full = (1 << bits) - 1;
  auto value = static_cast<std::uint64_t>(full);
  for (const float component : {color.x, color.y, color.z}) {
    // NaN counts as 0: it is no number that fmax and fmin keep.
    const double part01 = std::fmin(std::fmax(component, 0.0F), 1.0F);
    const std::int32_t part = truncateToInt32(part01 * full + 0.5);
    value = value << bits | static_cast<std::uint32_t>(part);
  }
  Paint(value);
}

void ABitMap::Mask_And(std::uint64_t value) {
  combine(*this, value, andWords);
}

void ABitMap::Mask_Or(std::uint64_t value) {
  combine(*this, value, orWords);
}

void ABitMap::Mask_Add(std::uint32_t value) {
  expectDepth32(*this);
  addTo(buffer, StoredRows(*this, 4).count(), value);
}

void ABitMap::Darken() {
  expectDepth32(*this);
  darken(buffer, StoredRows(*this, 4).count());
}

void ABitMap::InvertAlphaRGBA() {
  if (depth != 32) return;
  invertLowByte(buffer, StoredRows(*this, 4).count());
}

void ABitMap::BlendQtrIntensiy(const ABitMap& other) {
  blend(*this, other, blendQuarter);
}

void ABitMap::Blend3QtrIntensiy(const ABitMap& other) {
  blend(*this, other, blendSixteenth);
}

std::int32_t ABitMap::WriteAlphaToMaterial(const ABitMap& source, std::int32_t threshold) {
  if (BytesPerPixel() < 4) return 0;
  if (fullWidth != source.fullWidth || fullHeight != source.fullHeight) {
    Sys_BreakToDebugger();
    return 0;
  }
  if (left != source.left || right != source.right || top != source.top || bottom != source.bottom) return 0;
  if (width < 1 || height < 1) return 1;
  if (buffer == nullptr || source.buffer == nullptr) return 0;
  const std::size_t count = std::min(StoredRows(*this, 4).count(), StoredRows(source, 4).count());
  writeBelow(buffer, source.buffer, count, threshold);
  return 1;
}

void ABitMap::FlipVert() {
  if (depth != 32 && depth != 64) return Sys_BreakToDebugger();
  if (buffer == nullptr) return;
  const StoredRows rows(*this, BytesPerPixel());
  const auto rowBytes = static_cast<std::size_t>(rows.rect().w * BytesPerPixel());
  for (std::int64_t upper = 0, lower = rows.rect().h - 1; upper < lower; ++upper, --lower) {
    unsigned char* const a = buffer + static_cast<std::size_t>(upper) * rowBytes;
    unsigned char* const b = buffer + static_cast<std::size_t>(lower) * rowBytes;
    unsigned char kept[4096];
    for (std::size_t at = 0; at < rowBytes; at += sizeof kept) {
      const std::size_t bytes = std::min(sizeof kept, rowBytes - at);
      std::memcpy(kept, a + at, bytes);
      std::memcpy(a + at, b + at, bytes);
      std::memcpy(b + at, kept, bytes);
    }
  }
}
