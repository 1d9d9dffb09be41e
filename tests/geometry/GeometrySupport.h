#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <ostream>
#include <vector>

#include "TestSupport.h"
#include "geometry/Point3D.h"
#include "geometry/Rect.h"

/// Calls of `Sys_BreakToDebugger` so far; the linker leads them past a counter (see BreakCount.cpp).
extern int gBreakCount;

/// How often `work` breaks to the debugger.
template <class Work>
int breaksOf(Work work) {
  const int before = gBreakCount;
  work();
  return gBreakCount - before;
}

/// The ends of the range and their surroundings, for all-pairs tests.
inline const std::vector<std::int32_t>& extremes() {
  static const std::vector<std::int32_t> values = {INT32_MIN,
                                                   INT32_MIN + 1,
                                                   INT32_MIN + 0x10000,
                                                   -0x40000000,
                                                   -0x18000,
                                                   -0x10000,
                                                   -0xFFFF,
                                                   -1,
                                                   0,
                                                   1,
                                                   0xFFFF,
                                                   0x10000,
                                                   0x10001,
                                                   0x18000,
                                                   0x40000000,
                                                   0x7FFF0000,
                                                   INT32_MAX,
                                                   INT32_MAX - 1};
  return values;
}

/// Raw values of every magnitude, the ends of the range among them.
inline std::int32_t anyRaw(Random& random) {
  if (below(random, 8) == 0) {
    return extremes()[below(random, static_cast<std::uint32_t>(extremes().size()))];
  }
  const std::uint32_t shift = below(random, 32);
  return static_cast<std::int32_t>(random()) >> shift;
}

/// A raw value within `units` of 0.
inline std::int32_t rawWithin(Random& random, std::int32_t units) {
  const std::uint32_t range = static_cast<std::uint32_t>(units) * 0x20000U + 1;
  return static_cast<std::int32_t>(below(random, range)) - units * 0x10000;
}

inline ARect anyRect(Random& random) {
  const std::int32_t left = anyRaw(random);
  const std::int32_t top = anyRaw(random);
  const std::int32_t right = anyRaw(random);
  return {left, top, right, anyRaw(random)};
}

/// The low 32 bits, by unsigned arithmetic.
inline std::int32_t low32(std::int64_t value) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(value)));
}

/// The fixed product by a division that rounds down, without shifts.
inline std::int32_t referenceProduct(std::int32_t a, std::int32_t b) {
  const std::int64_t product = static_cast<std::int64_t>(a) * b;
  const std::int64_t rest = (product % 65536 + 65536) % 65536;
  return low32((product - rest) / 65536);
}

inline double units(std::int32_t raw) {
  return raw / 65536.0;
}

/// A float whose every operation is done in double precision and rounded once, which is what single precision
/// means: two digits more than twice as many leave no room for a second rounding to differ.
struct Single {
  Single(double v) : value(static_cast<float>(v)) {}
  friend Single operator+(Single a, Single b) { return a.value + b.value; }
  friend Single operator-(Single a, Single b) { return a.value - b.value; }
  friend Single operator*(Single a, Single b) { return a.value * b.value; }
  friend Single operator/(Single a, Single b) { return a.value / b.value; }
  friend auto operator<=>(Single a, Single b) { return a.value <=> b.value; }
  friend bool operator==(Single a, Single b) { return a.value == b.value; }
  double value;
};

struct SingleVector {
  Single x, y, z;
};

inline Single root(Single a) {
  return std::sqrt(a.value);
}

/// The same bits, the sign of zeros among them.
inline bool sameBits(float actual, Single expected) {
  return std::bit_cast<std::uint32_t>(actual) ==
         std::bit_cast<std::uint32_t>(static_cast<float>(expected.value));
}
inline bool sameBits(const FPoint3D& actual, const SingleVector& expected) {
  return sameBits(actual.x, expected.x) && sameBits(actual.y, expected.y) && sameBits(actual.z, expected.z);
}

inline std::ostream& operator<<(std::ostream& out, const ARect& r) {
  return out << "(" << units(r.left) << ", " << units(r.top) << ", " << units(r.right) << ", "
             << units(r.bottom) << ")";
}
inline std::ostream& operator<<(std::ostream& out, const APoint& p) {
  return out << "(" << units(p.x) << ", " << units(p.y) << ")";
}
inline std::ostream& operator<<(std::ostream& out, const APoint3D& p) {
  return out << "raw (" << p.x << ", " << p.y << ", " << p.z << ")";
}
inline std::ostream& operator<<(std::ostream& out, const FPoint3D& p) {
  return out << "(" << p.x << ", " << p.y << ", " << p.z << ")";
}
