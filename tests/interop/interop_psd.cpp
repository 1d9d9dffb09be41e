// Writes Photoshop documents with the library, and prints the pixels that it reads from one:
//   interop_psd write FOLDER
//   interop_psd load FILE merged|layer 0|1
#include <cstdio>
#include <cstring>

#include "documents.h"

namespace {

int load(const char* file, const std::string& what, bool withAlpha) {
  RuledMap map;
  const std::int32_t result =
      what == "layer" ? map.LoadPSDLayer(file, 0, withAlpha) : map.LoadPSD(file, withAlpha);
  if (result != 0) return std::printf("-1\n") < 0 ? 1 : 0;
  std::printf("%d %d\n", map.width, map.height);
  const auto bytes = static_cast<std::size_t>(map.BufferBytes());
  return std::fwrite(map.buffer, 1, bytes, stdout) == bytes ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "write" && argc == 3) {
    const std::string to = argv[2];
    return writeDocuments(to, 1, 1) && writeDocuments(to, 3, 5) && writeDocuments(to, 257, 129) ? 0 : 1;
  }
  if (command == "load" && argc == 5) return load(argv[2], argv[3], std::strcmp(argv[4], "1") == 0);
  std::fprintf(stderr, "usage: interop_psd write FOLDER | load FILE merged|layer 0|1\n");
  return 2;
}
