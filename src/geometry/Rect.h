#pragma once

#include <concepts>
#include <cstdint>

#include "KSmthExport.h"
#include "geometry/Point.h"
#include "geometry/Var.h"

/// Where `ARect::Align` and `ARect::AlignOutside` place a rectangle; bits, to be combined.
enum ARectAlignment : std::uint32_t {
  kAlignCenter = 2,
  kAlignTop = 4,
  kAlignRight = 8,
  kAlignBottom = 16,
  kAlignLeft = 32,
};

/// A rectangle whose edges are 16.16 values (see geometry/Fixed.h); x runs to the right and y down, as in
/// images. Edges may be the wrong way round; the rectangle is then empty. Edge arithmetic wraps round.
///
/// Arguments of the placement operations may be the rectangle itself.
class KSMTH_API ARect {
 public:
  constexpr ARect() = default;
  /// Of raw 16.16 values.
  constexpr ARect(std::int32_t rawLeft, std::int32_t rawTop, std::int32_t rawRight, std::int32_t rawBottom)
      : left(rawLeft), top(rawTop), right(rawRight), bottom(rawBottom) {}
  /// Raw values have no fraction to lose.
  template <class... Numbers>
  requires(std::floating_point<Numbers> || ...) ARect(Numbers...)
  = delete;
  /// Of whole units, -32768 to 32767 each.
  static ARect FromWhole(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom);

  /// Right minus left as 16.16; negative where they are the wrong way round.
  std::int32_t Width() const;
  /// Bottom minus top as 16.16.
  std::int32_t Height() const;
  /// (Width, Height).
  APoint Size() const;
  /// True where right is not above left, or bottom not above top.
  bool IsEmpty() const;
  /// Each of the two begins before the other ends, both ways: right > other.left, left < other.right,
  /// bottom > other.top and top < other.bottom. Touching edges do not count; an empty rectangle that lies
  /// within the other does.
  bool Overlaps(const ARect& other) const;
  /// No edge lies outside the other's: left >= other.left, right <= other.right, top >= other.top and
  /// bottom <= other.bottom, whether empty or not.
  bool IsInside(const ARect& other) const;

  /// Rounds every edge towards minus infinity to a whole unit.
  void Floor();

  /// Places this rectangle inside `ref`: centred, and then against at most one horizontal and one vertical
  /// edge (top goes before bottom and right before left where both are asked for).
  ///
  /// `kAlignCenter` alone centres both ways; together with top or bottom it centres horizontally, otherwise
  /// with left or right vertically. A centred place is rounded down to whole units: the position with
  /// `kAlignCenter` alone, the way moved otherwise.
  ///
  /// `margin`, in whole units, holds the aligned edge off that of `ref`. Only that edge gives way, the
  /// opposite one stays where margin 0 puts it, so the rectangle shrinks: fixed by the host's contract.
  void Align(const ARect& ref, std::uint32_t flags, std::int32_t margin);

  /// Places this rectangle against the outside of `ref`, `margin` whole units away, size kept:
  /// `kAlignTop` above it, else `kAlignBottom` below; `kAlignRight` to its right, else `kAlignLeft` to its
  /// left. `kAlignCenter` centres it along that edge, as in `Align`; without an edge it breaks to the
  /// debugger and moves nothing.
  void AlignOutside(const ARect& ref, std::uint32_t flags, std::int32_t margin);

  /// Shrinks to the largest rectangle inside whose edges are multiples of `step` whole units: left and top up
  /// (`AVar::SnapGrow`), right and bottom down (`AVar::SnapShrink`). One smaller than the grid may come out
  /// with edges the wrong way round, so empty. A multiple beyond the ends of the range wraps round. A `step`
  /// below 1 breaks to the debugger, once per edge, and changes nothing.
  void AlignToGrid(std::int32_t step);

  /// Becomes `r` as seen when the frame `from` is laid onto the frame `to`. Frames of equal size: moved.
  /// Otherwise scaled by the 16.16 quotients of the sizes, each edge measured from its own counterpart, so
  /// that `from` itself comes out as `to` exactly. An empty `from` breaks to the debugger and gives the zero
  /// rectangle.
  void MapRect(const ARect& r, const ARect& from, const ARect& to);

  /// Scales the edges by a factor and answers it: the smaller of (size.x - 2 units) / width and
  /// (size.y - 2 units) / height, as whole numbers truncated towards zero. A quotient with an extent of 0 is
  /// 0. Breaks to the debugger, and goes on, where an extent or a component of `size` is 0. `floor` rounds
  /// the edges down to whole units in the end.
  ///
  /// The factor is a whole number, and yet taken as a raw 16.16 one: the edges end up `factor` / 65536 times
  /// as far out: fixed by the host's contract.
  std::int32_t ResizeToFit(const APoint& size, bool floor);

  /// Cuts `cut` out of `source` and answers how many pieces that leaves, 0 to 4: below, above, to the right
  /// and to the left, in that order. `out` is one slot and ends up with the last piece found, unchanged where
  /// there is none: fixed by the host's contract. Where the two do not overlap (see `Overlaps`: an
  /// empty `cut` within `source` does), `out` is `source` and the answer 1. `out` may be either of the
  /// others.
  static std::int32_t RemoveRect(const ARect& cut, const ARect& source, ARect& out);

  /// Clips the areas of a copy from `source` on one surface to `destination` on another: first to the
  /// source's bounds, then to the destination's, what is taken off one being taken off the other. Which edge
  /// lies outside is decided without wrapping; sizes and moved edges wrap round as everywhere. Edges that
  /// come out the wrong way round collapse to nothing at left or top. Areas of different size break to the
  /// debugger, before (which leaves out the clipping) and after. The answer, the destination's height,
  /// carries no meaning.
  static std::int32_t ClipRects(ARect& source, const ARect& sourceBounds, ARect& destination,
                                const ARect& destinationBounds);

  /// Edge by edge.
  ARect& operator+=(const ARect& other);
  ARect& operator-=(const ARect& other);
  /// Moves by the vector, or back by it.
  ARect& operator+=(const APoint& step);
  ARect& operator-=(const APoint& step);
  /// The fixed product of each edge and the factor.
  ARect& operator*=(AVar factor);
  friend constexpr bool operator==(const ARect&, const ARect&) = default;

  std::int32_t left = 0;
  std::int32_t top = 0;
  std::int32_t right = 0;
  std::int32_t bottom = 0;
};

static_assert(sizeof(ARect) == 16);

inline constexpr std::uint32_t kTempRectCount = 16;
/// The results that operators hand back by reference live here, in turn. One lasts until 16 more have been
/// asked for; whoever keeps it longer copies it.
KSMTH_API extern ARect gTempRects[kTempRectCount];
/// The place in `gTempRects` that is used next, modulo 16.
KSMTH_API extern std::uint32_t gTempRectNext;

/// The assigning operators' results in a temporary of `gTempRects`.
KSMTH_API ARect& operator+(const ARect& a, const ARect& b);
KSMTH_API ARect& operator-(const ARect& a, const ARect& b);
KSMTH_API ARect& operator+(const ARect& rect, const APoint& step);
KSMTH_API ARect& operator-(const ARect& rect, const APoint& step);
KSMTH_API ARect& operator*(const ARect& rect, AVar factor);
