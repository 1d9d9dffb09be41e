#include "Fan.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "Sheet.h"

namespace bench {

void writeFan(const FanShape& shape, const std::string& path) {
  constexpr double kFullCircle = 6.283185307179586;
  std::ofstream file(path, std::ios::binary);
  file << "v 0 0 1\n";
  for (std::uint32_t i = 0; i < shape.faces; ++i) {
    char line[64];
    const double angle = kFullCircle * i / shape.faces;
    static_cast<void>(std::snprintf(line, sizeof line, "v %.6f %.6f 0\n", std::cos(angle), std::sin(angle)));
    file << line;
  }
  std::uint32_t group = UINT32_MAX;
  for (std::uint32_t i = 0; i < shape.faces; ++i) {
    if (shape.groupOfFace(i) != group) {
      group = shape.groupOfFace(i);
      file << "g " << groupName(group) << '\n';
    }
    file << "f 1 " << i + 2 << ' ' << (i + 1) % shape.faces + 2 << '\n';
  }
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

}  // namespace bench
