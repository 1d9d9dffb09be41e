#include "document/fix/FaceCutting.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "document/DocumentWriter.h"

namespace WavefrontOBJ {
namespace {

constexpr std::size_t kLeastCorners = 3;
/// Looks at an edge that looking for chords may take for each of the first corners of a face, and for others.
/// A face of so many corners that this matters is hardly anything but round.
constexpr std::uint64_t kFirstCorners = 4096;
constexpr std::uint64_t kLooksPerFirstCorner = 2048;
constexpr std::uint64_t kLooksPerCorner = 64;

void append(const std::vector<std::uint32_t>& loop, std::vector<std::uint32_t>& pieces) {
  pieces.insert(pieces.end(), loop.begin(), loop.end());
  pieces.push_back(Rewriter::kPieceEnd);
}

}  // namespace

bool hasRepeats(std::span<const std::int32_t> vertices) {
  constexpr std::size_t kFew = 12;
  if (vertices.size() <= kFew) {
    for (std::size_t i = 1; i < vertices.size(); ++i) {
      for (std::size_t k = 0; k < i; ++k) {
        if (vertices[i] == vertices[k]) return true;
      }
    }
    return false;
  }
  std::vector<std::int32_t> sorted(vertices.begin(), vertices.end());
  std::sort(sorted.begin(), sorted.end());
  return std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
}

void FaceCutter::corners(std::span<const std::int32_t> vertices, std::vector<std::uint32_t>& positions) {
  positions.clear();
  for (std::uint32_t i = 0; i < vertices.size(); ++i) {
    if (positions.empty() || vertices[positions.back()] != vertices[i]) positions.push_back(i);
  }
  while (positions.size() > 1 && vertices[positions.back()] == vertices[positions.front()]) {
    positions.pop_back();
  }
}

bool FaceCutter::isFlat(std::span<const std::int32_t> vertices) {
  vertices_ = vertices;
  Loop loop;
  corners(vertices, loop);
  partAtRepeats(loop);
  return cycles_.empty();
}

void FaceCutter::cut(std::span<const std::int32_t> vertices, std::span<const Point> points, std::size_t most,
                     std::vector<std::uint32_t>& pieces) {
  vertices_ = vertices;
  budget_ = kLooksPerFirstCorner * std::min<std::uint64_t>(kFirstCorners, vertices.size()) +
            kLooksPerCorner * vertices.size();
  const bool flat = project(points);
  Loop loop;
  corners(vertices, loop);
  partAtRepeats(loop);
  if (cycles_.size() > 1 && flat && anyTurnsBack()) {
    // Pieces that go around what the face leaves open.
    const std::size_t before = pieces.size();
    if (cutByChords(loop, false, most, pieces)) return;
    pieces.resize(before);
  }
  const std::vector<Loop> cycles = std::move(cycles_);
  for (Loop cycle : cycles) {
    if (cycle.size() > most && flat) {
      // What is left over when no chord is found is cut anyhow.
      if (cutByChords(cycle, true, most, pieces)) continue;
    }
    cutPlainly(cycle, most, pieces);
  }
}

/// Lays the face into the plane in which it is seen largest. False when there is none.
bool FaceCutter::project(std::span<const Point> points) {
  flat_.clear();
  if (points.empty()) return false;
  // Relative to the first corner: faces may lie far from the origin.
  const auto at = [&](std::size_t i, std::size_t axis) {
    return static_cast<double>(points[i][axis]) - static_cast<double>(points[0][axis]);
  };
  double normal[3] = {0, 0, 0};
  for (std::size_t i = 0; i < points.size(); ++i) {
    const std::size_t next = i + 1 < points.size() ? i + 1 : 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::size_t u = (axis + 1) % 3;
      const std::size_t v = (axis + 2) % 3;
      normal[axis] += at(i, u) * at(next, v) - at(next, u) * at(i, v);
    }
  }
  std::size_t axis = 0;
  for (std::size_t i = 1; i < 3; ++i) {
    if (std::fabs(normal[i]) > std::fabs(normal[axis])) axis = i;
  }
  if (!(std::fabs(normal[axis]) > 0) || std::isinf(normal[axis])) return false;
  std::size_t u = (axis + 1) % 3;
  std::size_t v = (axis + 2) % 3;
  if (normal[axis] < 0) std::swap(u, v);
  for (std::size_t i = 0; i < points.size(); ++i) flat_.push_back({at(i, u), at(i, v)});
  return true;
}

/// Fills `cycles_` with the loops that begin and end at the same vertex, of three corners or more, and what
/// is left without them.
void FaceCutter::partAtRepeats(const Loop& loop) {
  cycles_.clear();
  Loop open;
  std::unordered_map<std::int32_t, std::size_t> where;
  for (const std::uint32_t corner : loop) {
    const auto [found, isNew] = where.emplace(vertices_[corner], open.size());
    if (!isNew) {
      const std::size_t begin = found->second;
      if (open.size() - begin >= kLeastCorners)
        cycles_.emplace_back(open.begin() + static_cast<std::ptrdiff_t>(begin), open.end());
      for (std::size_t i = begin + 1; i < open.size(); ++i) where.erase(vertices_[open[i]]);
      open.resize(begin);
    }
    open.push_back(corner);
  }
  if (open.size() >= kLeastCorners) cycles_.push_back(open);
}

/// Some cycle runs the other way round than the face.
bool FaceCutter::anyTurnsBack() const {
  return std::any_of(cycles_.begin(), cycles_.end(), [this](const Loop& cycle) {
    double area = 0;
    for (std::size_t i = 0; i < cycle.size(); ++i) {
      const Flat& a = flat_[cycle[i]];
      const Flat& b = flat_[cycle[i + 1 < cycle.size() ? i + 1 : 0]];
      area += a.x * b.y - b.x * a.y;
    }
    return area < 0;
  });
}

/// The `length` corners from `first` on are different vertices.
bool FaceCutter::isDistinct(const Loop& loop, std::size_t first, std::size_t length) {
  sorted_.clear();
  for (std::size_t i = 0; i < length; ++i) sorted_.push_back(vertices_[loop[(first + i) % loop.size()]]);
  return !hasRepeats(sorted_);
}

/// Cuts pieces off `loop`, which may be `distinct`, by chords inside it. False, with what is left in `loop`,
/// when none is found.
bool FaceCutter::cutByChords(Loop& loop, bool distinct, std::size_t most,
                             std::vector<std::uint32_t>& pieces) {
  Loop piece;
  std::size_t longest = most;
  for (;;) {
    distinct = distinct || isDistinct(loop, 0, loop.size());
    if (distinct && loop.size() <= most) break;
    std::size_t first = 0;
    std::size_t length = 0;
    if (!findChord(loop, distinct, most, longest, first, length)) return false;
    // Where no longer piece was found, one twice as long is hardly found next.
    longest = std::max<std::size_t>(2 * length, 8);
    std::rotate(loop.begin(), loop.begin() + static_cast<std::ptrdiff_t>(first), loop.end());
    const auto end = loop.begin() + static_cast<std::ptrdiff_t>(length);
    piece.assign(loop.begin(), end);
    append(piece, pieces);
    loop.erase(loop.begin() + 1, end - 1);
  }
  append(loop, pieces);
  return true;
}

/// Looks for a piece, the `length` corners from `first` on, that is without repeats and whose chord lies
/// inside the loop: first for pieces of even sizes, none longer than `longest`, then for smaller ones.
bool FaceCutter::findChord(const Loop& loop, bool distinct, std::size_t most, std::size_t longest,
                           std::size_t& first, std::size_t& length) {
  const std::size_t size = loop.size();
  if (size <= kLeastCorners) return false;
  // Pieces share the two corners of a chord.
  const std::size_t parts = distinct ? (size - 2 + most - 3) / (most - 2) : 2;
  longest = std::min({(size - 2 + parts - 1) / parts + 2, most, size - 1, longest});
  for (; longest >= kLeastCorners; longest -= longest > 8 ? longest / 4 : 1) {
    const std::size_t step = longest > 8 ? std::max<std::size_t>(1, size / 16) : 1;
    for (std::size_t i = 0; i < size; i += step) {
      if (budget_ < size) return false;
      budget_ -= size;
      if (!distinct && !isDistinct(loop, i, longest)) continue;
      if (!isInside(loop, i, (i + longest - 1) % size)) continue;
      first = i;
      length = longest;
      return true;
    }
  }
  return false;
}

/// The chord between two corners of the loop lies inside it and touches nothing else.
bool FaceCutter::isInside(const Loop& loop, std::size_t a, std::size_t b) const {
  const std::size_t size = loop.size();
  const auto at = [&](std::size_t i) -> const Flat& { return flat_[loop[i % size]]; };
  const auto turn = [](const Flat& p, const Flat& q, const Flat& r) {
    return (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
  };
  // Between the two edges at a corner.
  const auto inCone = [&](std::size_t corner, const Flat& target) {
    const Flat& p = at(corner);
    const Flat& before = at(corner + size - 1);
    const Flat& behind = at(corner + 1);
    if (turn(before, p, behind) > 0) return turn(p, behind, target) > 0 && turn(p, target, before) > 0;
    return !(turn(p, behind, target) <= 0 && turn(p, target, before) <= 0);
  };
  if (!inCone(a, at(b)) || !inCone(b, at(a))) return false;
  const Flat& p = at(a);
  const Flat& q = at(b);
  for (std::size_t i = 0; i < size; ++i) {
    const std::size_t next = (i + 1) % size;
    if (i == a || i == b || next == a || next == b) continue;
    const Flat& r = at(i);
    const Flat& s = at(next);
    const double d1 = turn(p, q, r);
    const double d2 = turn(p, q, s);
    const double d3 = turn(r, s, p);
    const double d4 = turn(r, s, q);
    if (((d1 > 0) != (d2 > 0) || d1 == 0 || d2 == 0) && ((d3 > 0) != (d4 > 0) || d3 == 0 || d4 == 0)) {
      // Along one line they touch only where their extents do.
      const bool apart = std::max(r.x, s.x) < std::min(p.x, q.x) || std::min(r.x, s.x) > std::max(p.x, q.x) ||
                         std::max(r.y, s.y) < std::min(p.y, q.y) || std::min(r.y, s.y) > std::max(p.y, q.y);
      if (!apart) return false;
    }
  }
  return true;
}

/// Cuts as if the loop were convex, into pieces of about the same size.
void FaceCutter::cutPlainly(const Loop& loop, std::size_t most, std::vector<std::uint32_t>& pieces) {
  if (loop.size() <= most) {
    append(loop, pieces);
    return;
  }
  const std::size_t parts = (loop.size() - 2 + most - 3) / (most - 2);
  const std::size_t inner = loop.size() - 2;
  // Each piece is the first corner and a stretch of the others; stretches share their ends.
  for (std::size_t i = 0; i < parts; ++i) {
    const std::size_t from = inner * i / parts;
    const std::size_t to = inner * (i + 1) / parts;
    pieces.push_back(loop[0]);
    for (std::size_t k = from; k <= to; ++k) pieces.push_back(loop[k + 1]);
    pieces.push_back(Rewriter::kPieceEnd);
  }
}

}  // namespace WavefrontOBJ
