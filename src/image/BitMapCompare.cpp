#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/BitMap.h"
#include "image/LogicalPixels.h"
#include "image/RowKernels.h"
#include "image/VectorClones.h"
#include "image/WordKernels.h"
#include "system/Host.h"

namespace {

constexpr std::uint32_t kColorBits = pixelbytes::turned(std::uint32_t{0x00FFFFFF});
constexpr std::uint32_t kAlphaBits = pixelbytes::turned(std::uint32_t{0xFF000000});
// Loops that look for a difference ask once for this many pixels, so that they need not ask for every one.
constexpr std::size_t kBlock = 1024;

KSMTH_VECTOR_CLONES
bool sameColors(const unsigned char* a, const unsigned char* b, std::size_t count) {
  for (std::size_t first = 0; first < count; first += kBlock) {
    const std::size_t end = std::min(first + kBlock, count);
    std::uint32_t different = 0;
    for (std::size_t i = first; i < end; ++i) {
      different |=
          pixelbytes::loadTurned<std::uint32_t>(a + 4 * i) ^ pixelbytes::loadTurned<std::uint32_t>(b + 4 * i);
    }
    if ((different & kColorBits) != 0) return false;
  }
  return true;
}

KSMTH_VECTOR_CLONES
std::uint32_t countDifferences(const unsigned char* a, const unsigned char* b, std::int64_t count) {
  std::uint32_t different = 0;
  for (std::int64_t i = 0; i < count; ++i) {
    const bool same =
        pixelbytes::loadTurned<std::uint32_t>(a + 4 * i) == pixelbytes::loadTurned<std::uint32_t>(b + 4 * i);
    different += same ? 0 : 1;
  }
  return different;
}

// Whether a pixel that is not opaque differs in colour from the pixel of `others` at its index.
KSMTH_VECTOR_CLONES
bool hasColoredAlpha(const unsigned char* pixels, const unsigned char* others, std::int64_t count) {
  std::uint32_t found = 0;
  for (std::int64_t i = 0; i < count; ++i) {
    const auto p = pixelbytes::loadTurned<std::uint32_t>(pixels + 4 * i);
    const auto q = pixelbytes::loadTurned<std::uint32_t>(others + 4 * i);
    // All ones where the pixel is not opaque. (A choice would be compiled to a loop that loads `others` by a
    // mask, which takes twice as long.)
    const std::uint32_t counts = 0U - static_cast<std::uint32_t>((p & kAlphaBits) != kAlphaBits);
    found |= (p ^ q) & kColorBits & counts;
  }
  return found != 0;
}

bool sameFullSize(const ABitMap& a, const ABitMap& b) {
  return a.fullWidth == b.fullWidth && a.fullHeight == b.fullHeight;
}

// work(x, y, count) for the runs that make up a rectangle, until it answers false. False if it did.
template <class Work>
bool forRuns(const PixelRect& rect, Work work) {
  for (std::int64_t y = rect.y; y < rect.y + rect.h; ++y) {
    for (std::int64_t x = rect.x; x < rect.x + rect.w; x += LogicalPixels::kMaxRun) {
      if (!work(x, y, std::min(LogicalPixels::kMaxRun, rect.x + rect.w - x))) return false;
    }
  }
  return true;
}

// work(part, inA, inB) for the parts into which the edges of `a` and `b` cut `whole`, until it answers false.
// False if it did. What neither covers is a few parts however large it is.
template <class Work>
bool forParts(const PixelRect& whole, const PixelRect& a, const PixelRect& b, Work work) {
  const auto cuts = [](std::int64_t from, std::int64_t to, std::array<std::int64_t, 4> edges) {
    for (std::int64_t& edge : edges) edge = std::clamp(edge, from, to);
    std::array<std::int64_t, 6> all = {from, edges[0], edges[1], edges[2], edges[3], to};
    std::sort(all.begin(), all.end());
    return all;
  };
  if (whole.empty()) return true;
  const PixelRect both = intersection(intersection(whole, a), b);
  if (both.w == whole.w && both.h == whole.h) return work(whole, true, true);
  const auto xs = cuts(whole.x, whole.x + whole.w, {a.x, a.x + a.w, b.x, b.x + b.w});
  const auto ys = cuts(whole.y, whole.y + whole.h, {a.y, a.y + a.h, b.y, b.y + b.h});
  for (std::size_t row = 0; row + 1 < ys.size(); ++row) {
    for (std::size_t column = 0; column + 1 < xs.size(); ++column) {
      const PixelRect part = {xs[column], ys[row], xs[column + 1] - xs[column], ys[row + 1] - ys[row]};
      if (part.empty()) continue;
      if (!work(part, !intersection(part, a).empty(), !intersection(part, b).empty())) return false;
    }
  }
  return true;
}

constexpr std::int32_t kReach = rowkernels::kReach;  // how far to the right a shift is forgiven

// Whether the images agree on one of the lines down from (x, y).
bool agreeBelow(LogicalPixels& a, LogicalPixels& b, std::int64_t x, std::int64_t y) {
  for (std::int32_t k = 1; k < kReach; ++k) {
    if (a.at(x + k, y + k) == b.at(x + k, y + k)) return true;
  }
  for (std::int32_t k = 0; k < kReach - 1; ++k) {
    if (a.at(x + kReach - k, y + k) == b.at(x + kReach - k, y + k)) return true;
  }
  return false;
}

// Whether each pixel of the part agrees, or one near to it.
bool agreeShifted(const ABitMap& first, const ABitMap& second, const PixelRect& part) {
  LogicalPixels a(first, 4);
  LogicalPixels b(second, 4);
  // Of their own, so that the rows stay in the blocks of the others.
  LogicalPixels belowA(first, 4);
  LogicalPixels belowB(second, 4);
  constexpr std::int64_t kRun = LogicalPixels::kMaxRun - kReach;
  const auto firstAlone = rowkernels::best().firstAlone;
  const auto stored = [reached = PixelRect{part.x, part.y, part.w + kReach, part.h}](const PixelRect& rect) {
    const PixelRect inside = intersection(reached, rect);
    return inside.w == reached.w && inside.h == reached.h;
  };
  // Rows that lie alike in both images are one run. What is between them is looked at as well, so it must not
  // be most of it.
  const bool together =
      stored(a.stored()) && stored(b.stored()) && a.stored().w == b.stored().w && a.stored().w <= 2 * part.w;
  const std::int64_t rows = together ? part.h : 1;
  const std::int64_t end = part.x + part.w;
  std::int64_t count = 0;
  for (std::int64_t y = part.y; y < part.y + part.h; y += rows) {
    for (std::int64_t x = part.x; x < end; x += count) {
      count = together ? part.w : std::min(kRun, end - x);
      const std::int64_t stride = together ? a.stored().w : count;
      const unsigned char* const rowA = a.run(x, y, count + kReach);
      const unsigned char* const rowB = b.run(x, y, count + kReach);
      const auto all = static_cast<std::size_t>((rows - 1) * stride + count);
      const auto same = [=](std::size_t i) { return std::memcmp(rowA + 4 * i, rowB + 4 * i, 4) == 0; };
      for (std::size_t i = 0; (i += firstAlone(rowA + 4 * i, rowB + 4 * i, all - i)) < all;) {
        do {
          const std::int64_t row = static_cast<std::int64_t>(i) / stride;
          const std::int64_t column = static_cast<std::int64_t>(i) % stride;
          if (column < count && !agreeBelow(belowA, belowB, x + column, y + row)) return false;
          // All that this one reaches differ: the next one is alone, too, unless what it reaches besides
          // agrees.
        } while (++i < all && !same(i + kReach));
        i = std::min(all, i + kReach + 1);
      }
    }
  }
  return true;
}

}  // namespace

std::int32_t ABitMap::IsEqual(const ABitMap& other, bool colorOnly) const {
  if (depth != other.depth || !sameFullSize(*this, other) || width != other.width || height != other.height)
    return 0;
  if (left != other.left || right != other.right || top != other.top || bottom != other.bottom) return 0;
  const bool cropped = left != 0 || right != 0 || top != 0 || bottom != 0;
  if (cropped && ((fillValue ^ other.fillValue) & 0xFFFFFF) != 0) return 0;
  if (buffer == nullptr || other.buffer == nullptr) return 0;
  if (colorOnly && depth != 8) {
    if (depth != 32) {
      Sys_BreakToDebugger();
      return 0;
    }
    return sameColors(buffer, other.buffer, StoredRows(*this, 4).count()) ? 1 : 0;
  }
  return std::memcmp(buffer, other.buffer, static_cast<std::size_t>(BufferBytes())) == 0 ? 1 : 0;
}

std::int32_t ABitMap::IsEqualToFullSize(const ABitMap& other) const {
  if (depth != other.depth || !sameFullSize(*this, other)) return 0;
  if (buffer == nullptr || other.buffer == nullptr) return 0;
  if (depth != 8 && depth != 32) {
    Sys_BreakToDebugger();
    return 0;
  }
  LogicalPixels a(*this, BytesPerPixel());
  LogicalPixels b(other, BytesPerPixel());
  const auto sameRun = [&](std::int64_t x, std::int64_t y, std::int64_t count) {
    return std::memcmp(a.run(x, y, count), b.run(x, y, count),
                       static_cast<std::size_t>(count * BytesPerPixel())) == 0;
  };
  const bool equal =
      forParts(a.image(), a.stored(), b.stored(), [&](const PixelRect& part, bool inA, bool inB) {
        return inA || inB ? forRuns(part, sameRun) : sameRun(part.x, part.y, 1);
      });
  return equal ? 1 : 0;
}

std::int32_t ABitMap::FullChanged(const ABitMap& other) const {
  expectDepth32(*this);
  if (!sameFullSize(*this, other)) {
    Sys_BreakToDebugger();
    return 1;
  }
  if (buffer == nullptr || other.buffer == nullptr) return 1;
  // Few pixels may stay as they are: most comparisons are over when these have been seen.
  const std::int64_t needed = (std::int64_t{fullHeight} - 1) * (std::int64_t{fullWidth} - 1);
  std::int64_t mayStay = std::int64_t{fullWidth} * fullHeight - needed;
  LogicalPixels a(*this, 4);
  LogicalPixels b(other, 4);
  const auto countStaying = [&](std::int64_t x, std::int64_t y, std::int64_t count) {
    mayStay -= count - countDifferences(a.run(x, y, count), b.run(x, y, count), count);
    return mayStay >= 0;
  };
  forParts(a.image(), a.stored(), b.stored(), [&](const PixelRect& part, bool inA, bool inB) {
    if (inA || inB) return forRuns(part, countStaying);
    if (fillValue == other.fillValue) mayStay -= part.w * part.h;
    return mayStay >= 0;
  });
  // Without a pixel, whose count of 0 may be too few as well, the loop has not asked.
  return mayStay >= 0 ? 1 : 0;
}

std::int32_t ABitMap::HasAlphaWithColors(const ABitMap& reference) const {
  if (depth != 32) return 0;
  // The bottom margins are not compared; rows that the reference does not have count as its fill value.
  const bool usable = reference.buffer != nullptr && sameFullSize(*this, reference) &&
                      reference.depth == 32 && top >= reference.top && left >= reference.left &&
                      right >= reference.right;
  ABitMap plain;
  plain.fillValue = fillValue;
  LogicalPixels others(usable ? reference : plain, 4);
  const StoredRows rows(*this, 4);
  const bool none = forRuns(rows.rect(), [&](std::int64_t x, std::int64_t y, std::int64_t count) {
    return !hasColoredAlpha(rows.at(x, y), others.run(x, y, count), count);
  });
  return none ? 0 : 1;
}

std::int32_t ABitMap::Compare(const ABitMap& other) const {
  constexpr std::int32_t kEdge = kReach + 1;
  expectDepth32(*this);
  if (!sameFullSize(*this, other)) {
    Sys_BreakToDebugger();
    return 0;
  }
  if (buffer == nullptr || other.buffer == nullptr || fullWidth < kEdge || fullHeight < kEdge) return 0;
  // The pixels whose neighbours are not all outside a stored rectangle.
  const auto reaching = [](const PixelRect& r) -> PixelRect {
    if (r.empty()) return r;
    return {r.x - kReach, r.y - (kReach - 1), r.w + kReach, r.h + kReach - 1};
  };
  const PixelRect compared = {0, 0, std::int64_t{fullWidth} - kEdge, std::int64_t{fullHeight} - kEdge};
  const bool good =
      forParts(compared, reaching(StoredRows(*this, 4).rect()), reaching(StoredRows(other, 4).rect()),
               [&](const PixelRect& part, bool inA, bool inB) {
                 return inA || inB ? agreeShifted(*this, other, part) : fillValue == other.fillValue;
               });
  return good ? 1 : 0;
}
