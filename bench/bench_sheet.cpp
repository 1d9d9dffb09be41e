// The sheet as a file, and the document's time for it, for bench/python_sheet.py:
//   bench_sheet write FILE SIDE
//   bench_sheet read FILE
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "Sheet.h"
#include "document/OBJDocument.h"

using namespace WavefrontOBJ;

namespace {

/// Prints the milliseconds for what a program needs: positions, faces, groups.
int readSheet(const std::string& path) {
  const auto begin = std::chrono::steady_clock::now();
  OBJDocument document;
  std::vector<double> positions;
  const bool read = document.read(path) && document.positions(positions);
  const OBJMembers groups = document.members(Division::group, ElementKind::face);
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
  if (!read) return 1;
  std::printf("%.3f %zu %u %zu\n", time.count(), positions.size() / 3, document.faces().size(),
              groups.indices.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  const std::string command = argc > 2 ? argv[1] : "";
  if (command == "write" && argc == 4) {
    bench::SheetShape shape;
    shape.side = static_cast<std::uint32_t>(std::strtoul(argv[3], nullptr, 10));
    bench::writeSheet(shape, argv[2]);
    return 0;
  }
  if (command == "read" && argc == 3) return readSheet(argv[2]);
  std::fprintf(stderr, "usage: bench_sheet write FILE SIDE | read FILE\n");
  return 2;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
