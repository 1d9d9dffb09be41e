// Loads one model through the plug-in, creases a mesh by its first group and prints what both take:
// bench_memory MODEL.obj
// Or reads it as a document: bench_memory MODEL.obj document
#include <malloc.h>

#include <cstdint>
#include <cstdio>

#include "PluginCalls.h"
#include "ProcessMemory.h"
#include "document/OBJDocument.h"
#include "host/HostMesh.h"

namespace {

using bench::statusKiB;

/// Bytes that the allocator has handed out, its own overhead included.
std::size_t heapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

void print(const char* what, unsigned long long kib, double faces) {
  std::printf("  %-22s %10.1f MiB %10.1f bytes/face\n", what, static_cast<double>(kib) / 1024,
              static_cast<double>(kib) * 1024 / faces);
}

/// Prints the peak beside what a document may take: 32 bytes a vertex line, 16 a face and 12 a corner.
int readDocument(const char* path, unsigned long long before) {
  using namespace WavefrontOBJ;
  OBJDocument document;
  const Result result = document.read(path);
  if (!result) {
    std::fprintf(stderr, "bench_memory: %s\n", result.text.c_str());
    return 1;
  }
  std::uint64_t allowed = 16ULL * document.faces().size() + 12ULL * document.faces().cornerTotal();
  for (const VectorKind kind : {VectorKind::position, VectorKind::texture, VectorKind::normal}) {
    allowed += 32ULL * document.vectorCount(kind);
  }
  const double faces = document.faces().size();
  print("allowed", allowed / 1024, faces);
  print("VmHWM, less before", statusKiB("VmHWM") - before, faces);
  print("VmRSS, less before", statusKiB("VmRSS") - before, faces);
  print("tables", document.memoryBytes() / 1024, faces);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: bench_memory MODEL.obj [document]\n");
    return 2;
  }
  const unsigned long long before = statusKiB("VmRSS");
  if (argc == 3) return readDocument(argv[1], before);
  if (bench::loadModel(argv[1]) < 0.0F) {
    std::fprintf(stderr, "bench_memory: cannot load %s\n", argv[1]);
    return 1;
  }
  const double faces = bench::modelInfo("faceCount");
  std::printf("  %-22s %10.0f\n", "faces", faces);
  std::printf("  %-22s %10.1f MiB\n", "before loading", static_cast<double>(before) / 1024);
  print("VmHWM, the peak", statusKiB("VmHWM"), faces);
  print("VmRSS, model loaded", statusKiB("VmRSS"), faces);

  // The first crease builds the links from vertices to faces. What the heap has in use tells their size: they
  // may lie in memory that loading has left.
  const double vertices = bench::modelInfo("vertexCount");
  host::HostMesh mesh(static_cast<std::uint32_t>(vertices), static_cast<std::uint32_t>(faces));
  const std::size_t inUse = heapInUse();
  if (bench::markGroup("crease", 1, mesh.hostData()) < 0.0F) {
    std::fprintf(stderr, "bench_memory: cannot crease %s\n", argv[1]);
    return 1;
  }
  const auto links = static_cast<double>(heapInUse() - inUse);
  std::printf("  %-22s %10.1f MiB %10.1f bytes/vertex\n", "links for creasing", links / 1024 / 1024,
              links / vertices);
  bench::freeModel();
  return 0;
}
