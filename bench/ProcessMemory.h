#pragma once

#include <fstream>
#include <string>

namespace bench {

/// A value in KiB from the process's status, 0 where it is not there.
inline unsigned long long statusKiB(const std::string& key) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind(key + ":", 0) == 0) return std::stoull(line.substr(key.size() + 1));
  }
  return 0;
}

}  // namespace bench
