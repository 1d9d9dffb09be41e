#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image/PSDFile.h"

/// A bitmap whose byte i follows from `seed` by a rule that every reading side knows as well.
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

/// The whole document out of records: two layers, the upper with a mask of its own, and the merged image.
inline bool writeRecords(const std::string& path, const ABitMap& lower, const ABitMap& upper) {
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
  return to == file.data() + file.size() &&
         SaveToFile(path.c_str(), file.data(), static_cast<std::int32_t>(file.size())) == 0;
}

/// One document of each kind, KIND-WxH.psd.
inline bool writeDocuments(const std::string& folder, std::int32_t w, std::int32_t h) {
  const auto path = [&](const char* kind) {
    return folder + "/" + kind + "-" + std::to_string(w) + "x" + std::to_string(h) + ".psd";
  };
  const RuledMap a(w, h, 32, 1);
  const RuledMap b(w, h, 32, 2);
  const RuledMap c(w, h, 32, 3);
  const RuledMap mask(w, h, 32, 4);
  const ABitMap* const layers[] = {&a, &b, &c};
  const auto layered = [&](const char* kind, std::int32_t count, const ABitMap* with) {
    return SavePSDMultiLayered(path(kind).c_str(), layers, count, &c, with, 1000) == 0;
  };
  return a.SavePSD(path("flat_rgb").c_str(), false) == 0 && a.SavePSD(path("flat_rgba").c_str(), true) == 0 &&
         RuledMap(w, h, 16, 5).SavePSD(path("flat_grey16").c_str(), false) == 0 &&
         RuledMap(w, h, 8, 6).SavePSD(path("flat_grey8").c_str(), false) == 0 &&
         layered("layered_one", 1, nullptr) && layered("layered_shading", 2, nullptr) &&
         layered("layered_masked", 3, &mask) && writeRecords(path("records"), a, b);
}
