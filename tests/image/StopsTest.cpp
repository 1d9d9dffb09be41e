#include <functional>

#include "ImageSupport.h"
#include "geometry/Point.h"
#include "geometry/Point3D.h"
#include "geometry/Rect.h"
#include "image/Color.h"

int gStops = 0;

namespace {

std::string gMessage;

}  // namespace

// Take the places of the system's calls by the linker's --wrap.
extern "C" void __wrap__Z19Sys_BreakToDebuggerv() {
  ++gStops;
}
extern "C" void __wrap__Z15Sys_SystemMsgOkPKcPc(const char* message, char* /*unused*/) {
  gMessage = message;
}

namespace {

struct StopCase {
  const char* name;
  std::function<void(ABitMap&)> apply;
  std::string stops;  ///< how many at depths 8, 16, 24, 32 and 64
};

TEST(BitMapStops, MarkWhatShouldNotOccur) {
  Random random(23);
  const OwnedBitMap other = randomBitMap(random, {6, 5}, 32);
  const OwnedBitMap larger = randomBitMap(random, {7, 5}, 32);
  OwnedBitMap target = randomBitMap(random, {6, 5}, 32);
  const unsigned char code2[] = {0, 2, 0, 0};
  // 129 bytes for 30 pixels, behind five row counts.
  const unsigned char tooMuch[] = {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 128, 5};
  const std::vector<StopCase> cases = {
      {"Paint", [](ABitMap& m) { m.Paint(1U, 0, 0, 9, 9); }, "11101"},
      {"Paint all", [](ABitMap& m) { m.Paint(std::uint64_t{1}); }, "00000"},
      {"Mask_Add", [](ABitMap& m) { m.Mask_Add(1, 0, 0, 9, 9); }, "11101"},
      {"Mask_Add all", [](ABitMap& m) { m.Mask_Add(1); }, "11101"},
      {"Darken", [](ABitMap& m) { m.Darken(0, 0, 9, 9); }, "11101"},
      {"Darken all", [](ABitMap& m) { m.Darken(); }, "11101"},
      {"DarkenQtr", [](ABitMap& m) { m.DarkenQtr(0, 0, 9, 9); }, "11101"},
      {"DarkenAndAdd", [](ABitMap& m) { m.DarkenAndAdd(1, 0, 0, 9, 9, 2); }, "11101"},
      {"Switch", [](ABitMap& m) { m.Switch(1, 2, 0, 0, 0, 0); }, "11101"},
      {"InvertAlphaRGBA", [](ABitMap& m) { m.InvertAlphaRGBA(); }, "00000"},
      {"FlipVert", [](ABitMap& m) { m.FlipVert(); }, "11100"},
      {"BlendQtrIntensiy", [&](ABitMap& m) { m.BlendQtrIntensiy(other); }, "11101"},
      {"Blend3QtrIntensiy", [&](ABitMap& m) { m.Blend3QtrIntensiy(other); }, "11101"},
      {"BlendQtrIntensiy, both", [](ABitMap& m) { m.BlendQtrIntensiy(m); }, "11101"},
      {"DownsizeWidth, oversized", [](ABitMap& m) { m.left = -2, m.fullWidth -= 2, m.DownsizeWidth(2); },
       "00010"},
      {"DownsizeHeight, oversized", [](ABitMap& m) { m.top = -1, m.fullHeight -= 1, m.DownsizeHeight(2); },
       "00010"},
      {"too much data", [&](ABitMap& m) { m.ReadRGBAChannelFromBuffer(tooMuch, sizeof tooMuch, 0); },
       "11111"},
      {"too much alpha",
       [&](ABitMap& m) { m.ReadAlphaFromBuffer(tooMuch, sizeof tooMuch, 6, 5, 0, 0, 5, 6); }, "11111"},
      {"WriteAlphaToMaterial", [&](ABitMap& m) { m.WriteAlphaToMaterial(larger, 0); }, "00011"},
      {"BltTo", [&](ABitMap& m) { m.BltTo(target, 0, 0); }, "00000"},
      {"BltToAutoOpacity", [&](ABitMap& m) { m.BltToAutoOpacity(target, ARect(), APoint()); }, "11101"},
      {"IsEqual", [](ABitMap& m) { m.IsEqual(m, true); }, "01101"},
      {"FullChanged", [&](ABitMap& m) { m.FullChanged(other); }, "11101"},
      {"FullChanged, sizes", [&](ABitMap& m) { m.FullChanged(larger); }, "22212"},
      {"Compare", [&](ABitMap& m) { m.Compare(other); }, "11101"},
      {"Compare, sizes", [&](ABitMap& m) { m.Compare(larger); }, "22212"},
      {"unknown code", [&](ABitMap& m) { m.ReadRGBAChannelFromBuffer(code2, 4, 0); }, "11111"},
      {"MRGB64", [](ABitMap& m) { m.InterpolateAPoint3D_FromMRGB64_Wrap(0, 0); }, "11110"},
  };
  for (const StopCase& c : cases) {
    std::string stops;
    for (const std::int32_t depth : {8, 16, 24, 32, 64}) {
      OwnedBitMap map = randomBitMap(random, {6, 5}, depth);
      gStops = 0;
      gMessage.clear();
      c.apply(map);
      stops += std::to_string(gStops);
      EXPECT_EQ(gMessage, std::string(c.name) == "BltTo" && depth < 32 ? "Incorrect bitmap format" : "");
    }
    EXPECT_EQ(stops, c.stops) << c.name;
  }
  for (const std::int32_t weight : {-1, 0, 0x10000, 0x10001}) {
    gStops = 0;
    AMRGB pixel;
    pixel.BlendRGB(pixel, weight);
    EXPECT_EQ(gStops, weight < 0 || weight > 0x10000 ? 1 : 0);
  }
}

}  // namespace
