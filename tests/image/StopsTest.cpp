#include <functional>

#include "ImageSupport.h"
#include "geometry/Point.h"
#include "geometry/Point3D.h"
#include "geometry/Rect.h"

namespace {

TEST(BitMapStops, MarkWhatShouldNotOccur) {
  Random random(23);
  const OwnedBitMap other = randomBitMap(random, {6, 5}, 32);
  const OwnedBitMap larger = randomBitMap(random, {7, 5}, 32);
  OwnedBitMap target = randomBitMap(random, {6, 5}, 32);
  // 129 bytes for 30 pixels, behind five row counts.
  const unsigned char tooMuch[] = {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 128, 5};
  using M = ABitMap;
  const struct {
    const char* name;
    std::function<void(M&)> apply;
    std::string stops;  ///< how many at depths 8, 16, 24, 32 and 64
  } cases[] = {
      {"Paint", [](M& m) { m.Paint(1U, 0, 0, 9, 9); }, "11101"},
      {"Paint a colour", [](M& m) { m.Paint(FPoint3D()); }, "11100"},
      {"Mask_Add", [](M& m) { m.Mask_Add(1, 0, 0, 9, 9); }, "11101"},
      {"Darken", [](M& m) { m.Darken(0, 0, 9, 9); }, "11101"},
      {"DarkenAndAdd", [](M& m) { m.DarkenAndAdd(1, 0, 0, 9, 9, 2); }, "11101"},
      {"Switch", [](M& m) { m.Switch(1, 2, 0, 0, 0, 0); }, "11101"},
      {"FlipVert", [](M& m) { m.FlipVert(); }, "11100"},
      {"Normalize", [](M& m) { m.Normalize(); }, "00100"},
      {"NormalizeCavityShade", [](M& m) { m.NormalizeCavityShade(); }, "00100"},
      {"BlendQtrIntensiy", [&](M& m) { m.BlendQtrIntensiy(other); }, "11101"},
      {"DownsizeWidth, oversized", [](M& m) { m.left = -2, m.fullWidth -= 2, m.DownsizeWidth(2); }, "00010"},
      {"too much data", [&](M& m) { m.ReadRGBAChannelFromBuffer(tooMuch, sizeof tooMuch, 0); }, "11111"},
      {"too much alpha", [&](M& m) { m.ReadAlphaFromBuffer(tooMuch, sizeof tooMuch, 6, 5, 0, 0, 5, 6); },
       "11111"},
      {"WriteAlphaToMaterial", [&](M& m) { m.WriteAlphaToMaterial(larger, 0); }, "00011"},
      {"BltTo", [&](M& m) { m.BltTo(target, 0, 0); }, "00000"},
      {"BltTransparentTo", [&](M& m) { m.BltTransparentTo(target, 0, 0); }, "11101"},
      {"BltToAutoOpacity", [&](M& m) { m.BltToAutoOpacity(target, ARect(), APoint()); }, "11101"},
      {"IsEqual", [](M& m) { m.IsEqual(m, true); }, "01101"},
      {"FullChanged", [&](M& m) { m.FullChanged(other); }, "11101"},
      {"FullChanged, sizes", [&](M& m) { m.FullChanged(larger); }, "22212"},
      {"Compare", [&](M& m) { m.Compare(other); }, "11101"},
      {"Compare, sizes", [&](M& m) { m.Compare(larger); }, "22212"},
      {"MRGB64", [](M& m) { m.InterpolateAPoint3D_FromMRGB64_Wrap(0, 0); }, "11110"},
  };
  for (const auto& c : cases) {
    std::string stops;
    for (const std::int32_t depth : {8, 16, 24, 32, 64}) {
      OwnedBitMap map = randomBitMap(random, {6, 5}, depth);
      gHostMessage.clear();
      stops += std::to_string(stopsOf([&] { c.apply(map); }));
      EXPECT_EQ(gHostMessage, std::string(c.name) == "BltTo" && depth < 32 ? "Incorrect bitmap format" : "");
    }
    EXPECT_EQ(stops, c.stops) << c.name;
  }
}

}  // namespace
