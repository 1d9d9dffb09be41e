#include "geometry/Rect.h"

#include <algorithm>

#include "geometry/Fixed.h"
#include "system/Host.h"

ARect gTempRects[kTempRectCount];
std::uint32_t gTempRectNext = 0;

namespace {

ARect& temporary(const ARect& value) {
  ARect& slot = gTempRects[gTempRectNext % kTempRectCount];
  gTempRectNext = (gTempRectNext + 1) % kTempRectCount;
  return slot = value;
}

/// Where centring puts the first edge, not yet rounded: half the room that is left, past the outer edge.
std::int32_t centered(std::int32_t outerEdge, std::int32_t outerExtent, std::int32_t extent) {
  return fixed::add(fixed::sub(outerExtent, extent) >> 1, outerEdge);
}

void centerHorizontally(ARect& rect, const ARect& in) {
  const std::int32_t dx = fixed::floor(fixed::sub(centered(in.left, in.Width(), rect.Width()), rect.left));
  rect += APoint(dx, 0);
}

void centerVertically(ARect& rect, const ARect& in) {
  const std::int32_t dy = fixed::floor(fixed::sub(centered(in.top, in.Height(), rect.Height()), rect.top));
  rect += APoint(0, dy);
}

bool sameSize(const ARect& a, const ARect& b) {
  return a.Size() == b.Size();
}

/// The plain quotient of two raw values, truncated; 0 for a divisor of 0.
std::int32_t wholeQuotient(std::int32_t a, std::int32_t b) {
  return b == 0 ? 0 : fixed::wrap(std::int64_t{a} / b);
}

/// Moves the edges of `rect` that lie outside `bounds` onto it, and the same edges of `other` as far.
void clip(ARect& rect, const ARect& bounds, ARect& other) {
  const auto move = [&](std::int32_t ARect::*edge, bool inwardsIsUp) {
    const std::int64_t d = std::int64_t{bounds.*edge} - rect.*edge;
    if (inwardsIsUp ? d <= 0 : d >= 0) return;
    rect.*edge = fixed::wrap(rect.*edge + d);
    other.*edge = fixed::wrap(other.*edge + d);
  };
  move(&ARect::left, true);
  move(&ARect::right, false);
  move(&ARect::top, true);
  move(&ARect::bottom, false);
}

void collapseInverted(ARect& rect) {
  rect.right = std::max(rect.left, rect.right);
  rect.bottom = std::max(rect.top, rect.bottom);
}

}  // namespace

ARect ARect::FromWhole(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) {
  return {fixed::fromWhole(left), fixed::fromWhole(top), fixed::fromWhole(right), fixed::fromWhole(bottom)};
}

std::int32_t ARect::Width() const {
  return fixed::sub(right, left);
}

std::int32_t ARect::Height() const {
  return fixed::sub(bottom, top);
}

APoint ARect::Size() const {
  return {Width(), Height()};
}

bool ARect::IsEmpty() const {
  return right <= left || bottom <= top;
}

bool ARect::Overlaps(const ARect& other) const {
  return right > other.left && left < other.right && bottom > other.top && top < other.bottom;
}

bool ARect::IsInside(const ARect& other) const {
  return left >= other.left && right <= other.right && top >= other.top && bottom <= other.bottom;
}

void ARect::Floor() {
  left = fixed::floor(left);
  top = fixed::floor(top);
  right = fixed::floor(right);
  bottom = fixed::floor(bottom);
}

void ARect::Align(const ARect& reference, std::uint32_t flags, std::int32_t margin) {
  const ARect ref = reference;
  const APoint size = Size();
  if ((flags & kAlignCenter) != 0) {
    if ((flags & (kAlignTop | kAlignBottom)) != 0) {
      centerHorizontally(*this, ref);
    } else if ((flags & (kAlignLeft | kAlignRight)) != 0) {
      centerVertically(*this, ref);
    } else {
      left = fixed::floor(centered(ref.left, ref.Width(), size.x));
      top = fixed::floor(centered(ref.top, ref.Height(), size.y));
      right = fixed::add(left, size.x);
      bottom = fixed::add(top, size.y);
      return;
    }
  }
  // The edge away from the reference's stays where margin 0 puts it, see the header.
  const std::int32_t gap = fixed::fromWhole(margin);
  if ((flags & kAlignTop) != 0) {
    bottom = fixed::add(ref.top, size.y);
    top = fixed::add(ref.top, gap);
  } else if ((flags & kAlignBottom) != 0) {
    top = fixed::sub(ref.bottom, size.y);
    bottom = fixed::sub(ref.bottom, gap);
  }
  if ((flags & kAlignRight) != 0) {
    left = fixed::sub(ref.right, size.x);
    right = fixed::sub(ref.right, gap);
  } else if ((flags & kAlignLeft) != 0) {
    right = fixed::add(ref.left, size.x);
    left = fixed::add(ref.left, gap);
  }
}

void ARect::AlignOutside(const ARect& reference, std::uint32_t flags, std::int32_t margin) {
  const ARect ref = reference;
  const APoint size = Size();
  if ((flags & kAlignCenter) != 0) {
    if ((flags & (kAlignTop | kAlignBottom)) != 0) {
      centerHorizontally(*this, ref);
    } else if ((flags & (kAlignLeft | kAlignRight)) != 0) {
      centerVertically(*this, ref);
    } else {
      Sys_BreakToDebugger();
      return;
    }
  }
  const std::int32_t gap = fixed::fromWhole(margin);
  if ((flags & kAlignTop) != 0) {
    bottom = fixed::sub(ref.top, gap);
    top = fixed::sub(bottom, size.y);
  } else if ((flags & kAlignBottom) != 0) {
    top = fixed::add(ref.bottom, gap);
    bottom = fixed::add(top, size.y);
  }
  if ((flags & kAlignRight) != 0) {
    left = fixed::add(ref.right, gap);
    right = fixed::add(left, size.x);
  } else if ((flags & kAlignLeft) != 0) {
    right = fixed::sub(ref.left, gap);
    left = fixed::sub(right, size.x);
  }
}

void ARect::AlignToGrid(std::int32_t step) {
  left = AVar::FromRaw(left).SnapGrow(step).raw;
  top = AVar::FromRaw(top).SnapGrow(step).raw;
  right = AVar::FromRaw(right).SnapShrink(step).raw;
  bottom = AVar::FromRaw(bottom).SnapShrink(step).raw;
}

void ARect::MapRect(const ARect& r, const ARect& from, const ARect& to) {
  if (from.IsEmpty()) {
    Sys_BreakToDebugger();
    *this = ARect();
    return;
  }
  ARect offset = r;
  offset -= from;
  if (!sameSize(from, to)) {
    const AVar sx = AVar::FromRaw(to.Width()) / AVar::FromRaw(from.Width());
    const AVar sy = AVar::FromRaw(to.Height()) / AVar::FromRaw(from.Height());
    offset = ARect(fixed::mul(offset.left, sx.raw), fixed::mul(offset.top, sy.raw),
                   fixed::mul(offset.right, sx.raw), fixed::mul(offset.bottom, sy.raw));
  }
  offset += to;
  *this = offset;
}

std::int32_t ARect::ResizeToFit(const APoint& size, bool floor) {
  if (Width() == 0 || Height() == 0 || size.x == 0 || size.y == 0) Sys_BreakToDebugger();
  const std::int32_t border = fixed::fromWhole(2);
  const std::int32_t qx = wholeQuotient(fixed::sub(size.x, border), Width());
  const std::int32_t qy = wholeQuotient(fixed::sub(size.y, border), Height());
  const std::int32_t factor = std::min(qx, qy);
  // A whole number used as a raw factor, see the header.
  *this *= AVar::FromRaw(factor);
  if (floor) Floor();
  return factor;
}

std::int32_t ARect::RemoveRect(const ARect& cut, const ARect& source, ARect& out) {
  if (!cut.Overlaps(source)) {
    out = source;
    return 1;
  }
  // Copies: `out` may be either of them.
  const ARect c = cut;
  ARect rest = source;
  std::int32_t count = 0;
  const auto piece = [&](const ARect& found) {
    out = found;
    ++count;
  };
  if (c.bottom < rest.bottom) {
    piece({rest.left, c.bottom, rest.right, rest.bottom});
    rest.bottom = c.bottom;
  }
  if (c.top > rest.top) {
    piece({rest.left, rest.top, rest.right, c.top});
    rest.top = c.top;
  }
  if (c.right < rest.right) {
    piece({c.right, rest.top, rest.right, rest.bottom});
    rest.right = c.right;
  }
  if (c.left > rest.left) {
    piece({rest.left, rest.top, c.left, rest.bottom});
    rest.left = c.left;
  }
  // So it is, whatever the edges were: each has just been held to the cut's.
  if (!rest.IsInside(c)) Sys_BreakToDebugger();
  return count;
}

std::int32_t ARect::ClipRects(ARect& source, const ARect& sourceBounds, ARect& destination,
                              const ARect& destinationBounds) {
  if (sameSize(source, destination)) {
    clip(source, sourceBounds, destination);
    clip(destination, destinationBounds, source);
  } else {
    Sys_BreakToDebugger();
  }
  collapseInverted(source);
  collapseInverted(destination);
  if (!sameSize(source, destination)) Sys_BreakToDebugger();
  return destination.Height();
}

ARect& ARect::operator+=(const ARect& other) {
  *this = ARect(fixed::add(left, other.left), fixed::add(top, other.top), fixed::add(right, other.right),
                fixed::add(bottom, other.bottom));
  return *this;
}

ARect& ARect::operator-=(const ARect& other) {
  *this = ARect(fixed::sub(left, other.left), fixed::sub(top, other.top), fixed::sub(right, other.right),
                fixed::sub(bottom, other.bottom));
  return *this;
}

ARect& ARect::operator+=(const APoint& step) {
  return *this += ARect(step.x, step.y, step.x, step.y);
}

ARect& ARect::operator-=(const APoint& step) {
  return *this -= ARect(step.x, step.y, step.x, step.y);
}

ARect& ARect::operator*=(AVar factor) {
  *this = ARect(fixed::mul(left, factor.raw), fixed::mul(top, factor.raw), fixed::mul(right, factor.raw),
                fixed::mul(bottom, factor.raw));
  return *this;
}

ARect& operator+(const ARect& a, const ARect& b) {
  return temporary(ARect(a) += b);
}

ARect& operator-(const ARect& a, const ARect& b) {
  return temporary(ARect(a) -= b);
}

ARect& operator+(const ARect& rect, const APoint& step) {
  return temporary(ARect(rect) += step);
}

ARect& operator-(const ARect& rect, const APoint& step) {
  return temporary(ARect(rect) -= step);
}

ARect& operator*(const ARect& rect, AVar factor) {
  return temporary(ARect(rect) *= factor);
}
