// Loads one model through the plug-in and prints what it takes: bench_memory MODEL.obj
#include <cstdio>
#include <fstream>
#include <string>

#include "PluginCalls.h"

namespace {

/// A value in KiB from the process's status, 0 where it is not there.
unsigned long long statusKiB(const std::string& key) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind(key + ":", 0) == 0) return std::stoull(line.substr(key.size() + 1));
  }
  return 0;
}

void print(const char* what, unsigned long long kib, double faces) {
  std::printf("  %-22s %10.1f MiB %10.1f bytes/face\n", what, static_cast<double>(kib) / 1024,
              static_cast<double>(kib) * 1024 / faces);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: bench_memory MODEL.obj\n");
    return 2;
  }
  const unsigned long long before = statusKiB("VmRSS");
  if (bench::loadModel(argv[1]) < 0.0F) {
    std::fprintf(stderr, "bench_memory: cannot load %s\n", argv[1]);
    return 1;
  }
  const double faces = bench::modelInfo("faceCount");
  std::printf("  %-22s %10.0f\n", "faces", faces);
  std::printf("  %-22s %10.1f MiB\n", "before loading", static_cast<double>(before) / 1024);
  print("VmHWM, the peak", statusKiB("VmHWM"), faces);
  print("VmRSS, model loaded", statusKiB("VmRSS"), faces);
  bench::freeModel();
  return 0;
}
