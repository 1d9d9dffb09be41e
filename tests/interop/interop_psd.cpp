// Writes Photoshop documents with the library, and prints the pixels that it reads from one:
//   interop_psd write FOLDER
//   interop_psd load FILE merged|layer 0|1
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "image/PSDFile.h"

namespace {

/// A bitmap whose byte i follows from `seed` by a rule that the reading side knows as well.
class RuledMap : public ABitMap {
 public:
  RuledMap() = default;
  RuledMap(std::int32_t w, std::int32_t h, std::int32_t d, unsigned seed) {
    Allocate(w, h, d);
    for (std::int32_t i = 0; i < BufferBytes(); ++i) {
      const auto at = static_cast<unsigned>(i);
      buffer[i] = static_cast<unsigned char>(at * 73 + seed * 31 + (at >> 8) * 17 + (at / 1021) * 5);
    }
  }
  RuledMap(const RuledMap&) = delete;
  RuledMap& operator=(const RuledMap&) = delete;
  ~RuledMap() { Free(); }
};

void require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "interop_psd: %s\n", what.c_str());
  std::exit(1);
}

/// The whole document out of records: two layers, the upper with a mask of its own, and the merged image.
void writeRecords(const std::string& path, const ABitMap& lower, const ABitMap& upper) {
  const std::int32_t w = lower.fullWidth;
  const std::int32_t h = lower.fullHeight;
  RuledMap mask;
  mask.AllocateCropped(w, h, 0, 0, 1, 1, 8);
  mask.buffer[0] = 200;
  PSDLayerMaskInfo info(2);
  info.InitLayerInfo(0, 1, 4, 8, &lower, nullptr, nullptr);
  info.InitLayerInfo(1, 0, 4, 8, &upper, &mask, nullptr);
  const std::int64_t total =
      30 + ResourceDataBlockSize(2, nullptr, 0) + info.ComputeSectionSize() + 2 + 3 * std::int64_t{w} * h;
  std::vector<unsigned char> file(static_cast<std::size_t>(total));
  PSDHeader header;
  PSDHeaderInit(&header, static_cast<std::uint32_t>(w), static_cast<std::uint32_t>(h), 8, 3,
                PSDFileMode::rgb);
  unsigned char* to = PSDBufferWriteHeader(file.data(), header);
  to = WriteResourceDataBlock(to, 2, 1, 0, nullptr, 0, 72);
  to = info.WriteSectionToBuffer(to);
  to = lower.WriteRGBToBuffer(to, 0, false, true);
  require(to == file.data() + file.size(), "the records do not have the size that they say");
  require(SaveToFile(path.c_str(), file.data(), static_cast<std::int32_t>(file.size())) == 0, path);
}

void writeAll(const std::string& folder) {
  constexpr std::int32_t kSizes[][2] = {{1, 1}, {3, 5}, {257, 129}};
  for (const auto& [w, h] : kSizes) {
    const auto path = [&, w = w, h = h](const char* kind) {
      return folder + "/" + kind + "-" + std::to_string(w) + "x" + std::to_string(h) + ".psd";
    };
    const auto flat = [&](const char* kind, const ABitMap& map, bool withAlpha) {
      require(map.SavePSD(path(kind).c_str(), withAlpha) == 0, path(kind));
    };
    const RuledMap a(w, h, 32, 1);
    const RuledMap b(w, h, 32, 2);
    const RuledMap c(w, h, 32, 3);
    const RuledMap mask(w, h, 32, 4);
    flat("flat_rgb", a, false);
    flat("flat_rgba", a, true);
    flat("flat_grey16", RuledMap(w, h, 16, 5), false);
    flat("flat_grey8", RuledMap(w, h, 8, 6), false);
    const ABitMap* const layers[] = {&a, &b, &c};
    const auto layered = [&](const char* kind, std::int32_t count, const ABitMap* with) {
      require(SavePSDMultiLayered(path(kind).c_str(), layers, count, &c, with, 1000) == 0, path(kind));
    };
    layered("layered_one", 1, nullptr);
    layered("layered_shading", 2, nullptr);
    layered("layered_masked", 3, &mask);
    writeRecords(path("records"), a, b);
  }
}

int load(const char* file, const std::string& what, bool withAlpha) {
  RuledMap map;
  const std::int32_t result =
      what == "layer" ? map.LoadPSDLayer(file, 0, withAlpha) : map.LoadPSD(file, withAlpha);
  if (result != 0) {
    std::printf("-1\n");
    return 0;
  }
  std::printf("%d %d\n", map.width, map.height);
  const auto bytes = static_cast<std::size_t>(map.BufferBytes());
  return std::fwrite(map.buffer, 1, bytes, stdout) == bytes ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "write" && argc == 3) {
    writeAll(argv[2]);
    return 0;
  }
  if (command == "load" && argc == 5) return load(argv[2], argv[3], std::strcmp(argv[4], "1") == 0);
  std::fprintf(stderr, "usage: interop_psd write FOLDER | load FILE merged|layer 0|1\n");
  return 2;
}
