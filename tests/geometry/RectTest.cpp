#include <utility>

#include "geometry/GeometrySupport.h"

namespace {

ARect whole(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) {
  return ARect::FromWhole(left, top, right, bottom);
}

/// Near half units, where edges meet and roundings show; some anywhere.
std::int32_t edge(Random& random) {
  if (below(random, 8) == 0) return anyRaw(random);
  const auto halves = static_cast<std::int32_t>(below(random, 16)) * 0x8000;
  return halves + static_cast<std::int32_t>(below(random, 3)) - 1 - 0x30000;
}

/// Three in four with their edges in order.
ARect rectangle(Random& random, bool inOrder) {
  ARect r;
  for (std::int32_t* at : {&r.left, &r.top, &r.right, &r.bottom}) *at = edge(random);
  if (inOrder && r.left > r.right) std::swap(r.left, r.right);
  if (inOrder && r.top > r.bottom) std::swap(r.top, r.bottom);
  return r;
}

}  // namespace

TEST(Rect, OperationsAreExactToTheBit) {
  const struct {
    const char* name;
    void (*work)(ARect* r, std::int32_t flags, std::int32_t n, Checksum& out);
    std::uint32_t sum;
  } cases[] = {
      {"Align", [](auto* r, auto flags, auto n, auto&) { r->Align(r[1], flags, n); }, 0xF4021254},
      {"AlignOutside", [](auto* r, auto flags, auto n, auto&) { r->AlignOutside(r[1], flags, n); },
       0xAF0F51CB},
      {"AlignToGrid", [](auto* r, auto, auto n, auto&) { r->AlignToGrid(n); }, 0x4FD8739D},
      {"MapRect", [](auto* r, auto, auto, auto&) { r->MapRect(*r, r[1], r[2]); }, 0xCE251A0A},
      {"ResizeToFit",
       [](auto* r, auto flags, auto, auto& out) {
         out.add(r->ResizeToFit(APoint(r[1].left, r[1].top), flags % 2 == 1));
       },
       0xA180F818},
      {"RemoveRect", [](auto* r, auto, auto, auto& out) { out.add(ARect::RemoveRect(*r, r[1], r[2])); },
       0xC277B241},
      {"RemoveRect into the cut",
       [](auto* r, auto, auto, auto& out) { out.add(ARect::RemoveRect(*r, r[1], *r)); }, 0xD660E2EB},
      {"ClipRects",
       [](auto* r, auto, auto n, auto&) {
         r[3] = *r + APoint::FromWhole(n, n);
         ARect::ClipRects(*r, r[1], r[3], r[2]);
       },
       0x48765B67},
      {"ClipRects of two sizes", [](auto* r, auto, auto, auto&) { ARect::ClipRects(*r, r[1], r[3], r[2]); },
       0xAD1DF514},
      {"Tests",
       [](auto* r, auto, auto, auto& out) {
         out.add(int{r->IsEmpty()} + 2 * int{r->Overlaps(r[1])} + 4 * int{r->IsInside(r[1])});
       },
       0x1FF92556},
      {"Arithmetic",
       [](auto* r, auto flags, auto n, auto&) {
         *r = (*r + r[1] - APoint(n, flags)) * AVar::FromRaw(n) - r[2];
       },
       0xD26A1AD9},
  };
  for (const auto& c : cases) {
    Random random(4);
    Checksum out;
    for (int i = 0; i < 5000; ++i) {
      ARect r[4];
      for (ARect& rect : r) rect = rectangle(random, i % 4 != 0);
      const auto flags = static_cast<std::int32_t>(below(random, 64));
      const auto n = static_cast<std::int32_t>(below(random, 13)) - 4;
      const int breaks = stopsOf([&] { c.work(r, flags, n, out); });
      for (const ARect& rect : r) {
        for (const std::int32_t raw : {rect.left, rect.top, rect.right, rect.bottom}) out.add(raw);
      }
      out.add(breaks);
    }
    EXPECT_EQ(out.sum, c.sum) << c.name;
  }
}

TEST(Rect, KnownPlacements) {
  const ARect ref = whole(0, 0, 100, 100);
  ARect r = whole(10, 10, 20, 20);
  r.Align(ref, kAlignCenter | kAlignTop, 5);
  EXPECT_EQ(r, whole(45, 5, 55, 10)) << "smaller by the margin";
  r.Align(whole(0, 0, 7, 8), kAlignCenter, 0);
  EXPECT_EQ(r, whole(-2, 1, 8, 6)) << "rounded down, above and below 0";
  r.Align(r, kAlignRight | kAlignBottom, 1);
  EXPECT_EQ(r, whole(-2, 1, 7, 5)) << "in itself";
  EXPECT_EQ(stopsOf([&] { r.AlignOutside(ref, kAlignCenter, 5); }), 1);
  r.AlignOutside(ref, kAlignBottom, 5);
  EXPECT_EQ(r, whole(-2, 105, 7, 109));
  r.MapRect(whole(10, 10, 20, 20), ref, whole(0, 0, 200, 200));
  EXPECT_EQ(r, whole(20, 20, 40, 40));
  EXPECT_EQ(r.ResizeToFit(APoint::FromWhole(102, 202), false), 5);
  EXPECT_EQ(r, ARect(100, 100, 200, 200));
  EXPECT_EQ(ARect::RemoveRect(whole(20, 20, 40, 40), ref, r), 4);
  EXPECT_EQ(r, whole(0, 20, 20, 40)) << "the last piece";
  // How far an edge lies outside is not to wrap round.
  ARect copy = r = ARect(INT32_MIN, 0, 10, 10);
  ARect::ClipRects(r, ARect(1, 0, 99, 99), copy, ref);
  EXPECT_EQ(r, ARect(1, 0, 10, 10));
}

TEST(Rect, TemporariesComeFromARingOf16) {
  const ARect r = whole(1, 2, 3, 4);
  gTempRectNext = 15;
  const ARect* last = &(r + r);
  EXPECT_EQ(last, &gTempRects[15]);
  EXPECT_EQ(gTempRectNext, 0U);
  EXPECT_EQ(&(r - r), &gTempRects[0]);
  EXPECT_EQ(*last, whole(2, 4, 6, 8));
  // An operand that is itself the slot that the result goes to.
  gTempRectNext = 15;
  EXPECT_EQ(*last + *last, whole(4, 8, 12, 16));
  ARect floored(-0x18001, 0x8000, 0x28000, 0x2FFFF);
  floored.Floor();
  EXPECT_EQ(floored, whole(-2, 0, 2, 2));
}
