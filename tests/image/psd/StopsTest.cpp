#include <functional>

#include "image/psd/PsdBytes.h"

namespace {

int gStops = 0;

}  // namespace

// Takes the place of the system's call by the linker's --wrap.
extern "C" void __wrap__Z19Sys_BreakToDebuggerv() {
  ++gStops;
}

TEST(PsdStops, MarkWhatShouldNotOccur) {
  const TempFolder folder;
  const TestMap map(2, 1, 32, 1);
  const TestMap grey(2, 1, 8, 1);
  const ABitMap* const maps[] = {&map, &grey};
  unsigned char out[64];
  const std::string path = folder.path("a.psd");
  const auto loads = [](const std::string& data) {
    const std::string file = headerBytes(1, 1, 2) + std::string(12, '\0') + data;
    TestMap loaded;
    loaded.LoadPSD(nullptr, false, file.data(), static_cast<int>(file.size()));
  };
  const auto alpha = [&folder](unsigned code) {
    FileSpec* const file = Sys_FileOpen(folder.write("b", be16(code) + "abcd").c_str(), false);
    TestMap loaded;
    PSDFileSkipCompChannelsAndGetAlpha(file, 1, 2, 2, 1, &loaded);
    Sys_FileClose(file, false);
  };
  const auto layered = [&](const ABitMap* const* from, int count) {
    SavePSDMultiLayered(path.c_str(), from, count, &map, nullptr, 0);
  };
  const struct {
    const char* what;
    int stops;
    std::function<void()> work;
  } rows[] = {
      {"layers", 0, [&] { layered(maps, 1); }},
      {"a later layer of another depth", 0, [&] { layered(maps, 2); }},
      {"the first layer of another depth", 1, [&] { layered(maps + 1, 1); }},
      {"a flat document of 64 bits", 4, [&] { TestMap(2, 1, 64, 1).SavePSD(path.c_str(), true); }},
      {"a flat document", 0, [&] { map.SavePSD(path.c_str(), true); }},
      {"a channel", 0, [&] { map.SaveBMap_WritePlaneToBuffer(out, 8, nullptr, 3, 0); }},
      {"a channel past the pixel", 1, [&] { map.SaveBMap_WritePlaneToBuffer(out, 8, nullptr, 4, 0); }},
      {"a channel before the pixel", 1, [&] { map.SaveBMap_WritePlaneToBuffer(out, 16, nullptr, -1, 0); }},
      {"other bits", 1, [&] { map.SaveBMap_WritePlaneToBuffer(out, 32, nullptr, 0, 0); }},
      {"a run to the end of the plane", 0, [&] { loads(be16(1) + be16(2) + "\xFFz"); }},
      {"a run past it", 1, [&] { loads(be16(1) + be16(2) + "\xFEz"); }},
      {"raw merged data", 0, [&] { alpha(0); }},
      {"merged data of an unknown compression", 1, [&] { alpha(2); }},
      {"records", 0,
       [&] {
         PSDLayerMaskInfo info(1);
         info.InitLayerInfo(0, 1, 1, 8, nullptr, nullptr, "");
         std::vector<unsigned char> bytes(1000);
         info.WriteToBuffer(bytes.data());
         info.WriteSectionToBuffer(bytes.data());
         WriteResourceDataBlock(std::vector<unsigned char>(2000).data(), 1, 0, 0, nullptr, 0, 72);
       }},
  };
  for (const auto& row : rows) {
    gStops = 0;
    row.work();
    EXPECT_EQ(gStops, row.stops) << row.what;
  }
}
