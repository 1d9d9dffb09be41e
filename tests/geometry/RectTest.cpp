#include <algorithm>
#include <cmath>
#include <set>

#include "geometry/GeometrySupport.h"

namespace {

ARect whole(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) {
  return ARect::FromWhole(left, top, right, bottom);
}

/// A rectangle with its edges in order, within `units` of 0; half of them with every edge within one raw step
/// of a whole unit, where roundings show.
ARect rectWithin(Random& random, std::int32_t units) {
  const bool nearWhole = below(random, 2) == 0;
  const auto edge = [&] {
    const std::int32_t raw = rawWithin(random, units);
    return nearWhole ? raw / 0x10000 * 0x10000 + static_cast<std::int32_t>(below(random, 3)) - 1 : raw;
  };
  ARect r;
  r.left = edge();
  r.top = edge();
  r.right = edge();
  r.bottom = edge();
  if (r.left > r.right) std::swap(r.left, r.right);
  if (r.top > r.bottom) std::swap(r.top, r.bottom);
  return r;
}

/// One axis of a placement, in units: exact, as all values and their halves are short.
struct Span {
  double low;
  double high;
};

Span placed(Span self, Span ref, bool centerFully, bool center, bool atLow, bool atHigh, double margin,
            bool outside) {
  const double size = self.high - self.low;
  if (center) {
    const double at = (ref.high - ref.low - size) / 2 + ref.low;
    const double low = centerFully ? std::floor(at) : self.low + std::floor(at - self.low);
    self = {low, low + size};
  }
  if (outside) {
    if (atLow) return {ref.low - margin - size, ref.low - margin};
    if (atHigh) return {ref.high + margin, ref.high + margin + size};
  } else {
    if (atLow) return {ref.low + margin, ref.low + size};
    if (atHigh) return {ref.high - size, ref.high - margin};
  }
  return self;
}

ARect referencePlacement(const ARect& rect, const ARect& ref, std::uint32_t flags, std::int32_t margin,
                         bool outside) {
  const bool center = (flags & 2) != 0;
  const bool vertical = (flags & (4 | 16)) != 0;
  const bool horizontal = (flags & (8 | 32)) != 0;
  const bool fully = center && !vertical && !horizontal;
  if (fully && outside) return rect;
  const Span x =
      placed({units(rect.left), units(rect.right)}, {units(ref.left), units(ref.right)}, fully,
             center && (vertical || fully), (flags & (8 | 32)) == 32, (flags & 8) != 0, margin, outside);
  const Span y = placed({units(rect.top), units(rect.bottom)}, {units(ref.top), units(ref.bottom)}, fully,
                        center && !vertical, (flags & 4) != 0, (flags & (4 | 16)) == 16, margin, outside);
  const auto raw = [](double value) { return static_cast<std::int32_t>(value * 65536); };
  return {raw(x.low), raw(y.low), raw(x.high), raw(y.high)};
}

}  // namespace

TEST(Rect, AlignPlacesInsideAndShrinksByTheMargin) {
  const ARect ref = whole(0, 0, 100, 100);
  const struct {
    std::uint32_t flags;
    std::int32_t margin;
    ARect expected;
  } cases[] = {
      {0, 5, whole(200, 300, 210, 310)},     {2, 7, whole(45, 45, 55, 55)},
      {2 | 4, 0, whole(45, 0, 55, 10)},      {2 | 16, 3, whole(45, 90, 55, 97)},
      {2 | 8, 1, whole(90, 45, 99, 55)},     {2 | 32, 0, whole(0, 45, 10, 55)},
      {4, 5, whole(200, 5, 210, 10)},        {16, 5, whole(200, 90, 210, 95)},
      {4 | 16, 0, whole(200, 0, 210, 10)},   {8 | 32, 2, whole(90, 300, 98, 310)},
      {8 | 4, -5, whole(90, -5, 105, 10)},   {32 | 16, 20, whole(20, 90, 10, 80)},
      {2 | 4 | 8, 0, whole(90, 0, 100, 10)},
  };
  for (const auto& c : cases) {
    ARect r = whole(200, 300, 210, 310);
    EXPECT_EQ(breaksOf([&] { r.Align(ref, c.flags, c.margin); }), 0);
    EXPECT_EQ(r, c.expected) << c.flags << " " << c.margin;
  }
  ARect narrow = whole(0, 0, 3, 4);
  narrow.Align(whole(0, 0, 10, 10), kAlignCenter, 0);
  EXPECT_EQ(narrow, whole(3, 3, 6, 7));
}

TEST(Rect, AlignOutsideKeepsTheSize) {
  const ARect ref = whole(0, 0, 100, 100);
  const struct {
    std::uint32_t flags;
    std::int32_t margin;
    int breaks;
    ARect expected;
  } cases[] = {
      {2, 5, 1, whole(200, 300, 210, 310)},   {16, 5, 0, whole(200, 105, 210, 115)},
      {4, 5, 0, whole(200, -15, 210, -5)},    {8, 5, 0, whole(105, 300, 115, 310)},
      {32, 5, 0, whole(-15, 300, -5, 310)},   {2 | 4, 0, 0, whole(45, -10, 55, 0)},
      {2 | 8, 0, 0, whole(100, 45, 110, 55)}, {4 | 16, 1, 0, whole(200, -11, 210, -1)},
      {0, 9, 0, whole(200, 300, 210, 310)},
  };
  for (const auto& c : cases) {
    ARect r = whole(200, 300, 210, 310);
    EXPECT_EQ(breaksOf([&] { r.AlignOutside(ref, c.flags, c.margin); }), c.breaks) << c.flags;
    EXPECT_EQ(r, c.expected) << c.flags << " " << c.margin;
  }
}

TEST(Rect, PlacementsFollowRealArithmetic) {
  Random random(4);
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    const ARect rect = rectWithin(random, 2000);
    const ARect ref = rectWithin(random, 2000);
    const std::uint32_t flags = below(random, 64);
    const std::int32_t margin = static_cast<std::int32_t>(below(random, 200)) - 100;
    ARect inside = rect;
    inside.Align(ref, flags, margin);
    EXPECT_EQ(inside, referencePlacement(rect, ref, flags, margin, false))
        << rect << ref << flags << " " << margin;
    ARect outside = rect;
    outside.AlignOutside(ref, flags, margin);
    EXPECT_EQ(outside, referencePlacement(rect, ref, flags, margin, true))
        << rect << ref << flags << " " << margin;
    // A rectangle laid against itself.
    ARect self = rect;
    self.Align(self, flags, margin);
    EXPECT_EQ(self, referencePlacement(rect, rect, flags, margin, false)) << rect << flags << " " << margin;
  }
}

TEST(Rect, AlignToGridIsTheLargestInside) {
  Random random(5);
  for (int i = 0; i < 5000; ++i) {
    const ARect rect = rectWithin(random, 2000);
    const auto step = static_cast<std::int32_t>(1 + below(random, 50));
    ARect grid = rect;
    grid.AlignToGrid(step);
    const double size = step * 65536.0;
    const auto multiple = [&](double raw) { return static_cast<std::int32_t>(raw * size); };
    EXPECT_EQ(grid, ARect(multiple(std::ceil(rect.left / size)), multiple(std::ceil(rect.top / size)),
                          multiple(std::floor(rect.right / size)), multiple(std::floor(rect.bottom / size))))
        << rect << step;
  }
}

TEST(Rect, MapsOneFrameOntoTheOther) {
  ARect r = whole(10, 10, 20, 20);
  r.MapRect(r, whole(0, 0, 100, 100), whole(0, 0, 200, 200));
  EXPECT_EQ(r, whole(20, 20, 40, 40));
  r = whole(10, 10, 20, 20);
  r.MapRect(r, whole(0, 0, 100, 100), whole(50, 50, 150, 150));
  EXPECT_EQ(r, whole(60, 60, 70, 70));
  for (const ARect& empty : {ARect(), whole(5, 0, 5, 9), whole(0, 9, 5, 8)}) {
    r = whole(1, 2, 3, 4);
    EXPECT_EQ(breaksOf([&] { r.MapRect(r, empty, whole(0, 0, 1, 1)); }), 1);
    EXPECT_EQ(r, ARect());
  }
  Random random(6);
  for (int i = 0; i < 10000 && !HasFailure(); ++i) {
    // Frames a unit wide at least, for quotients that fit.
    ARect from = rectWithin(random, 2000);
    from.right += 0x10000;
    from.bottom += 0x10000;
    const ARect to = rectWithin(random, 2000);
    ARect mapped;
    mapped.MapRect(from, from, to);
    EXPECT_EQ(mapped, to) << from;
    const ARect rect = rectWithin(random, 2000);
    const ARect moved = from + APoint(to.left, to.top);
    mapped.MapRect(rect, from, moved);
    EXPECT_EQ(mapped, rect + APoint(to.left, to.top)) << from;
    const ARect small(from.left + rect.left % 0x10000, from.top + rect.top % 0x10000, from.right,
                      from.bottom);
    mapped.MapRect(small, from, to);
    const auto exact = [](std::int32_t edge, std::int32_t own, double fromSize, double toSize,
                          std::int32_t target) {
      return target + (static_cast<double>(edge) - own) * toSize / fromSize;
    };
    // The quotient is up to 1/65536 too small, for a step of at most one unit; the product is rounded down.
    EXPECT_NEAR(mapped.left, exact(small.left, from.left, from.Width(), to.Width(), to.left), 2.0);
    EXPECT_NEAR(mapped.top, exact(small.top, from.top, from.Height(), to.Height(), to.top), 2.0);
  }
}

TEST(Rect, ResizeToFitTakesItsWholeFactorAsARawOne) {
  ARect r = whole(0, 0, 10, 10);
  EXPECT_EQ(r.ResizeToFit(APoint::FromWhole(100, 50), false), 4);
  EXPECT_EQ(r, ARect(0, 0, 40, 40));
  r = whole(0, 0, 10, 10);
  EXPECT_EQ(r.ResizeToFit(APoint::FromWhole(100, 50), true), 4);
  EXPECT_EQ(r, ARect());
  const struct {
    ARect rect;
    APoint size;
    int breaks;
    std::int32_t factor;
  } cases[] = {
      {ARect(0, 0, 1, 1), APoint::FromWhole(5, 4), 0, 0x20000},
      {ARect(9, 0, 9, 1), APoint::FromWhole(5, 4), 1, 0},
      {ARect(9, 0, 9, 0), APoint::FromWhole(5, 4), 1, 0},
      {ARect(0, 0, 1, 1), APoint(0, 0x30000), 1, -0x20000},
      {ARect(0, 0, 1, 1), APoint(0x30000, 0), 1, -0x20000},
      {ARect(0, 0, -1, -1), APoint(INT32_MIN + 0x20000, INT32_MIN + 0x20000), 0, INT32_MIN},
      {whole(0, 0, 10, 10), APoint(0, 0), 1, 0},
  };
  for (const auto& c : cases) {
    r = c.rect;
    EXPECT_EQ(breaksOf([&] { EXPECT_EQ(r.ResizeToFit(c.size, false), c.factor) << c.rect << c.size; }),
              c.breaks);
    EXPECT_EQ(r, ARect(referenceProduct(c.rect.left, c.factor), referenceProduct(c.rect.top, c.factor),
                       referenceProduct(c.rect.right, c.factor), referenceProduct(c.rect.bottom, c.factor)));
  }
  Random random(7);
  for (int i = 0; i < 5000; ++i) {
    const ARect rect = rectWithin(random, 40);
    const std::int32_t x = rawWithin(random, 3000);
    const APoint size(x, rawWithin(random, 3000));
    // Thinner ones wrap round.
    if (rect.Width() < 0x10000 || rect.Height() < 0x10000) continue;
    const double qx = std::trunc((size.x - 131072.0) / rect.Width());
    const double qy = std::trunc((size.y - 131072.0) / rect.Height());
    r = rect;
    EXPECT_EQ(r.ResizeToFit(size, true), std::min(qx, qy)) << rect << size;
    EXPECT_EQ(r.left, std::floor(units(rect.left) * std::min(qx, qy) / 65536) * 65536) << rect << size;
  }
}

TEST(Rect, RemoveRectLeavesTheLastPieceAndTheirCount) {
  const ARect source = whole(0, 0, 100, 100);
  const struct {
    ARect cut;
    std::int32_t count;
    ARect out;
  } cases[] = {
      {whole(20, 20, 40, 40), 4, whole(0, 20, 20, 40)},
      {whole(200, 0, 300, 100), 1, source},
      {whole(100, 0, 300, 100), 1, source},
      {whole(0, 0, 100, 50), 1, whole(0, 50, 100, 100)},
      {whole(0, 50, 100, 100), 1, whole(0, 0, 100, 50)},
      {whole(-5, -5, 50, 200), 1, whole(50, 0, 100, 100)},
      {whole(-5, -5, 200, 200), 0, ARect(1, 2, 3, 4)},
      {source, 0, ARect(1, 2, 3, 4)},
      {whole(10, 10, 100, 100), 2, whole(0, 10, 10, 100)},
      // The wrong way round, and yet "overlapping".
      {whole(60, 20, 40, 30), 4, whole(0, 20, 60, 30)},
  };
  for (const auto& c : cases) {
    ARect out(1, 2, 3, 4);
    EXPECT_EQ(breaksOf([&] { EXPECT_EQ(ARect::RemoveRect(c.cut, source, out), c.count) << c.cut; }), 0);
    EXPECT_EQ(out, c.out) << c.cut;
    for (const bool ontoCut : {false, true}) {
      ARect cut = c.cut;
      ARect from = source;
      ARect& shared = ontoCut ? cut : from;
      const ARect unchanged = shared;
      EXPECT_EQ(ARect::RemoveRect(cut, from, shared), c.count);
      EXPECT_EQ(shared, c.count == 0 ? unchanged : c.out) << c.cut;
    }
  }
}

TEST(Rect, PiecesGatheredOneByOneCoverSourceWithoutCut) {
  constexpr std::int32_t kFar = 1000;
  constexpr int kGrid = 12;
  Random random(8);
  const auto small = [&] {
    ARect r;
    r.left = static_cast<std::int32_t>(below(random, kGrid));
    r.top = static_cast<std::int32_t>(below(random, kGrid));
    r.right =
        r.left + 1 + static_cast<std::int32_t>(below(random, static_cast<std::uint32_t>(kGrid - r.left)));
    r.bottom =
        r.top + 1 + static_cast<std::int32_t>(below(random, static_cast<std::uint32_t>(kGrid - r.top)));
    return r;
  };
  for (int i = 0; i < 3000 && !HasFailure(); ++i) {
    const ARect cut = small();
    const ARect source = small();
    ARect out;
    const std::int32_t count = ARect::RemoveRect(cut, source, out);
    std::vector<ARect> pieces;
    if (!cut.Overlaps(source)) {
      pieces.push_back(out);
    } else {
      // One side of the cut at a time, the others far away; the source shrinks by what has been taken.
      ARect rest = source;
      ARect piece;
      const auto take = [&](const ARect& side, std::int32_t ARect::*edge) {
        const std::int32_t found = ARect::RemoveRect(side, rest, piece);
        ASSERT_LE(found, 1);
        if (found == 0) return;
        pieces.push_back(piece);
        rest.*edge = side.*edge;
      };
      take({-kFar, -kFar, kFar, cut.bottom}, &ARect::bottom);
      take({-kFar, cut.top, kFar, kFar}, &ARect::top);
      take({-kFar, -kFar, cut.right, kFar}, &ARect::right);
      take({cut.left, -kFar, kFar, kFar}, &ARect::left);
    }
    EXPECT_EQ(static_cast<std::size_t>(count), pieces.size()) << cut << source;
    EXPECT_TRUE(pieces.empty() || out == pieces.back()) << cut << source;
    for (int y = 0; y < kGrid; ++y) {
      for (int x = 0; x < kGrid; ++x) {
        const ARect cell(x, y, x + 1, y + 1);
        const auto covering =
            std::count_if(pieces.begin(), pieces.end(), [&](const ARect& p) { return cell.IsInside(p); });
        EXPECT_EQ(covering, cell.IsInside(source) && !cell.IsInside(cut) ? 1 : 0) << cut << source;
      }
    }
  }
}

TEST(Rect, ClipsACopyToBothSurfaces) {
  ARect source = whole(-10, 0, 10, 10);
  ARect target = whole(50, 50, 70, 60);
  ARect::ClipRects(source, whole(0, 0, 100, 100), target, whole(0, 0, 200, 200));
  EXPECT_EQ(source, whole(0, 0, 10, 10));
  EXPECT_EQ(target, whole(60, 50, 70, 60));

  // Against a copy cell by cell.
  Random random(9);
  const auto at = [&] { return static_cast<std::int32_t>(below(random, 30)) - 10; };
  const auto bounds = [&] {
    ARect r;
    r.left = at();
    r.top = at();
    r.right = r.left + static_cast<std::int32_t>(below(random, 15));
    r.bottom = r.top + static_cast<std::int32_t>(below(random, 15));
    return r;
  };
  for (int i = 0; i < 5000 && !HasFailure(); ++i) {
    const ARect from = bounds();
    const std::int32_t dx = at();
    const APoint step(dx, at());
    const ARect to = from + step;
    const ARect fromBounds = bounds();
    const ARect toBounds = bounds();
    std::set<std::pair<int, int>> copied;
    for (int y = from.top; y < from.bottom; ++y) {
      for (int x = from.left; x < from.right; ++x) {
        const ARect cell(x, y, x + 1, y + 1);
        if (cell.IsInside(fromBounds) && (cell + step).IsInside(toBounds)) copied.insert({y, x});
      }
    }
    source = from;
    target = to;
    EXPECT_EQ(breaksOf([&] { ARect::ClipRects(source, fromBounds, target, toBounds); }), 0);
    std::set<std::pair<int, int>> clipped;
    for (int y = source.top; y < source.bottom; ++y) {
      for (int x = source.left; x < source.right; ++x) clipped.insert({y, x});
    }
    EXPECT_EQ(clipped, copied) << from << step << fromBounds << toBounds;
    EXPECT_EQ(target, source + step);
  }

  source = whole(0, 5, 10, 0);
  target = whole(0, 0, 20, 0);
  EXPECT_EQ(breaksOf([&] { ARect::ClipRects(source, whole(3, 3, 4, 4), target, whole(0, 0, 1, 1)); }), 2);
  EXPECT_EQ(source, whole(0, 5, 10, 5)) << "collapsed, not clipped";
  EXPECT_EQ(target, whole(0, 0, 20, 0));
}

TEST(Rect, AccessorsAndEdgeArithmetic) {
  const ARect r(-0x18001, 0x8000, 0x28000, 0x2FFFF);
  EXPECT_EQ(r.Width(), 0x40001);
  EXPECT_EQ(r.Height(), 0x27FFF);
  EXPECT_EQ(r.Size(), APoint(0x40001, 0x27FFF));
  ARect floored = r;
  floored.Floor();
  EXPECT_EQ(floored, whole(-2, 0, 2, 2));
  EXPECT_NE(floored, r);
  EXPECT_FALSE(r.IsEmpty());
  EXPECT_TRUE(whole(0, 0, 0, 5).IsEmpty());
  EXPECT_TRUE(whole(0, 5, 5, 4).IsEmpty());
  EXPECT_FALSE(whole(0, 0, 5, 5).Overlaps(whole(5, 0, 9, 5)));
  EXPECT_TRUE(whole(0, 0, 5, 5).Overlaps(whole(4, 4, 9, 9)));
  EXPECT_TRUE(whole(0, 0, 5, 5).IsInside(whole(0, 0, 5, 5)));
  EXPECT_FALSE(whole(0, 0, 5, 6).IsInside(whole(0, 0, 5, 5)));
}

TEST(Rect, TemporariesComeFromARingOf16) {
  const ARect r = whole(1, 2, 3, 4);
  gTempRectNext = 15;
  const ARect* last = &(r + r);
  EXPECT_EQ(last, &gTempRects[15]);
  EXPECT_EQ(gTempRectNext, 0U);
  EXPECT_EQ(*last, whole(2, 4, 6, 8));
  EXPECT_EQ(&(r - whole(1, 1, 1, 1)), &gTempRects[0]);
  EXPECT_EQ(gTempRects[0], whole(0, 1, 2, 3));
  EXPECT_EQ(r - APoint::FromWhole(5, 6), whole(-4, -4, -2, -2));
  EXPECT_EQ(r + APoint::FromWhole(5, 6), whole(6, 8, 8, 10));
  EXPECT_EQ(r * AVar::FromRaw(0x8000), ARect(0x8000, 0x10000, 0x18000, 0x20000));
  for (std::uint32_t i = 4; i < 15; ++i) EXPECT_EQ(&(r + APoint()), &gTempRects[i]);
  EXPECT_EQ(*last, whole(2, 4, 6, 8)) << "untouched by 15 others";
  EXPECT_EQ(&(r - r), last);
  EXPECT_EQ(*last, ARect());
  // An operand that is itself the slot that the result goes to.
  gTempRects[1] = r;
  gTempRectNext = 1;
  EXPECT_EQ(gTempRects[1] + gTempRects[1], whole(2, 4, 6, 8));
  gTempRectNext = UINT32_MAX;
  EXPECT_EQ(&(r + r), &gTempRects[15]);
}

TEST(Rect, HoldsItsPropertiesAtTheEndsOfTheRange) {
  Random random(10);
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    const ARect rect = anyRect(random);
    const ARect ref = anyRect(random);
    const ARect third = anyRect(random);
    const ARect fourth = anyRect(random);
    const std::int32_t number = anyRaw(random);
    ARect r = rect;
    r.Align(ref, below(random, 64), 0);
    EXPECT_EQ(r.Size(), rect.Size());
    r = rect;
    r.AlignOutside(ref, below(random, 64), number);
    EXPECT_EQ(r.Size(), rect.Size());
    r.AlignToGrid(number);
    r = rect;
    const std::int32_t factor = r.ResizeToFit(APoint(ref.left, ref.top), true);
    EXPECT_EQ(r.right, referenceProduct(rect.right, factor) & ~0xFFFF);
    ARect mapped;
    mapped.MapRect(ref, ref, third);
    EXPECT_EQ(mapped, ref.IsEmpty() ? ARect() : third) << ref;
    const std::int32_t count = ARect::RemoveRect(rect, ref, r);
    EXPECT_TRUE(count >= 0 && count <= 4) << count;
    r = rect;
    ARect target = r + APoint(number, number);
    ARect::ClipRects(r, ref, target, third);
    EXPECT_TRUE(r.left <= r.right && r.top <= r.bottom && target.left <= target.right) << r << target;
    target = fourth;
    ARect::ClipRects(r, ref, target, third);
    EXPECT_TRUE(r.left <= r.right && target.top <= target.bottom) << r << target;
  }
}
