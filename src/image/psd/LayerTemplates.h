#pragma once

#include "image/psd/Bytes.h"

/// What follows the extra-data length of a layer record, for the layers that the library writes.
namespace psd {

/// Every grey and colour value of the layer, and of what lies below it, takes part: five times 0 to 0xFFFF of
/// source and destination.
constexpr auto blendingRanges() {
  const auto range = join(u16(0), u16(0xFFFF));
  const auto pair = join(range, range);
  return join(u32(40), pair, pair, pair, pair, pair);
}

template <std::size_t N>
constexpr auto infoBlock(const char (&key)[5], const Bytes<N>& data) {
  return join(text("8BIM"), text(key), u32(N), data);
}
template <std::size_t N>
constexpr auto unicodeName(const char (&name)[N]) {
  return infoBlock("luni", padded<4>(unicodeText(name)));
}

/// Additional layer information that every layer has. `locks` is the value of "lspf": 1 transparency, 2
/// image, 4 position; the topmost bit is Photoshop's own.
constexpr auto layerProperties(std::uint32_t id, std::uint32_t locks) {
  return join(infoBlock("lyid", u32(id)),           //
              infoBlock("clbl", padded<4>(u8(1))),  // blends with what clips it as one group
              infoBlock("infx", padded<4>(u8(0))),  // inner effects not as part of that
              infoBlock("knko", padded<4>(u8(0))),  // no knockout
              infoBlock("lspf", u32(locks)),        //
              infoBlock("lclr", zeros<8>()),        // no colour in the layer list
              infoBlock("fxrp", zeros<16>()));      // reference point: two doubles, 0
}
inline constexpr auto kRecordProperties = layerProperties(0, 0);
static_assert(kRecordProperties.size() == 128);
inline constexpr std::size_t kRecordLayerIdAt = 12;
inline constexpr std::size_t kRecordLocksAt = 4 * 16 + 12;

constexpr auto layerStart() {
  return join(u32(0), blendingRanges());  // no layer mask
}

inline constexpr auto kBackgroundLayer =
    join(layerStart(), padded<4>(pascalText("Background")), unicodeName("Background"),
         infoBlock("lnsr", text("bgnd")), layerProperties(1, 5));
static_assert(kBackgroundLayer.size() == 240);

/// Short name: as much of the name as older readers take.
inline constexpr auto kShadingLayer =
    join(layerStart(), padded<4>(pascalText("KShading (do not edit this laye")),
         unicodeName("KShading (do not edit this layer)"), layerProperties(2, 0x80000007));
static_assert(kShadingLayer.size() == 292);

inline constexpr auto kMaskedLayer = join(layerStart(), padded<4>(pascalText("Talvex Masked Layer")),
                                          unicodeName("Talvex Masked Layer"), layerProperties(3, 1));
static_assert(kMaskedLayer.size() == 252);

}  // namespace psd
