#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <ostream>

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

/// Raw values of every magnitude.
inline std::int32_t anyRaw(Random& random) {
  const std::uint32_t shift = below(random, 32);
  return static_cast<std::int32_t>(random()) >> shift;
}

inline double units(std::int32_t raw) {
  return raw / 65536.0;
}

/// FNV-1a of many results, to the bit. What is expected are the sums of the same formulas in another
/// language, with whole numbers of any length and with floats that are rounded at each step.
struct Checksum {
  void add(std::int32_t value) { sum = (sum ^ static_cast<std::uint32_t>(value)) * 0x01000193U; }
  /// Which NaN an operation gives differs between processors.
  void add(float value) { add(std::isnan(value) ? 0x7FC00000 : std::bit_cast<std::int32_t>(value)); }
  void add(const APoint3D& v) { add(v.x), add(v.y), add(v.z); }
  void add(const FPoint3D& v) { add(v.x), add(v.y), add(v.z); }
  std::uint32_t sum = 0x811C9DC5;
};

inline std::ostream& operator<<(std::ostream& out, const ARect& r) {
  return out << "(" << units(r.left) << ", " << units(r.top) << ", " << units(r.right) << ", "
             << units(r.bottom) << ")";
}
inline std::ostream& operator<<(std::ostream& out, const FPoint3D& p) {
  return out << "(" << p.x << ", " << p.y << ", " << p.z << ")";
}
