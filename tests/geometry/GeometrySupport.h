#pragma once

#include <cstdint>
#include <ostream>

#include "Checksum.h"
#include "TestSupport.h"
#include "geometry/Point3D.h"
#include "geometry/Rect.h"

/// Raw values of every magnitude.
inline std::int32_t anyRaw(Random& random) {
  const std::uint32_t shift = below(random, 32);
  return static_cast<std::int32_t>(random()) >> shift;
}

inline double units(std::int32_t raw) {
  return raw / 65536.0;
}

inline std::ostream& operator<<(std::ostream& out, const ARect& r) {
  return out << "(" << units(r.left) << ", " << units(r.top) << ", " << units(r.right) << ", "
             << units(r.bottom) << ")";
}
inline std::ostream& operator<<(std::ostream& out, const FPoint3D& p) {
  return out << "(" << p.x << ", " << p.y << ", " << p.z << ")";
}
