#include "image/psd/Resources.h"

#include "Truncate.h"
#include "image/psd/Bytes.h"
#include "image/psd/Thumbnail.h"

namespace psd {
namespace {

constexpr std::size_t kDocumentSize = 1548;
constexpr std::size_t kRecordSize = 1544;

/// Everything of a block before its data. Blocks carry descriptive names: fixed by the host's contract.
template <std::size_t NameSize>
constexpr auto blockStart(std::uint32_t id, const char (&name)[NameSize], std::uint32_t dataSize) {
  return join(text("8BIM"), u16(id), padded<2>(pascalText(name)), u32(dataSize));
}

template <std::size_t NameSize, std::size_t DataSize>
constexpr auto block(std::uint32_t id, const char (&name)[NameSize], const Bytes<DataSize>& data) {
  return join(blockStart(id, name, DataSize), padded<2>(data));
}

constexpr std::uint32_t fixed(double value) {
  return static_cast<std::uint32_t>(truncateToInt32(value * 65536 + 0.5));
}

constexpr auto resolution() {
  constexpr std::uint32_t kDpi = 72U << 16;
  const auto one = join(u32(kDpi), u16(1), u16(1));  // per inch, sizes shown in inches
  return join(one, one);
}
static_assert(resolution().size() == 16);

constexpr auto japanesePrintFlags() {
  return join(u16(1), zeros<6>(), u16(2));
}
static_assert(japanesePrintFlags().size() == 10);

/// Cyan, magenta, yellow and black.
constexpr auto halftone() {
  const auto screen = [](double linesPerInch, double angle) {
    return join(u32(fixed(linesPerInch)), u16(1), u32(fixed(angle)),
                u16(6),         // shape: diamond
                u32(0),         // reserved
                u8(0), u8(1));  // not accurate, the printer's default
  };
  return join(screen(47.4, 108.4), screen(47.4, 161.6), screen(50, 90), screen(53, 45));
}
static_assert(halftone().size() == 72);

constexpr auto transfer() {
  // 13 points of the curve in tenths of a percent: 0 at its start, 1000 at its end, -1 for none in between.
  Bytes<22> noPoints{};
  noPoints.fill(0xFF);
  const auto curve = join(u16(0), noPoints, u16(1000), u16(0));  // does not override the printer's
  return join(curve, curve, curve, curve);
}
static_assert(transfer().size() == 112);

constexpr auto guides() {
  return join(u32(1), u32(0x240), u32(0x240), u32(0));  // version, grid of 18 pixels, no guides
}
static_assert(guides().size() == 16);

constexpr auto slices() {
  const auto bounds = join(u32(0), u32(0), u32(2), u32(2));  // top, left, bottom, right
  const auto slice = join(u32(0), u32(0), u32(0),            // id, group, origin
                          unicodeText(""), u32(1), bounds,   // name, type: image
                          unicodeText(""), unicodeText(""),  // URL, target
                          unicodeText(""), unicodeText(""),  // message, alternate text
                          u8(1), unicodeText(""),            // cell text, HTML
                          u32(0), u32(0), u32(0));           // alignment; colour
  return join(u32(6), bounds, unicodeText("Copy of TempLaunchEditorExport"), u32(1), slice);
}
static_assert(slices().size() == 157);

constexpr auto thumbnail() {
  constexpr auto kJpeg = jpegThumbnail();
  return join(u32(1), u32(2), u32(2),  // format JPEG, width, height
              u32(8), u32(16),         // bytes of a row and of all rows, uncompressed
              u32(static_cast<std::uint32_t>(kJpeg.size())), u16(24), u16(1),  // bits of a pixel, planes
              kJpeg);
}
static_assert(thumbnail().size() == 567);

constexpr auto version() {
  return join(u32(1), u8(1), unicodeText("Adobe Photoshop"), unicodeText("Adobe Photoshop 6.0"), u32(1));
}
static_assert(version().size() == 85);

constexpr auto upToLayerState() {
  return join(block(1005, "Resolution", resolution()),                     //
              block(1037, "FX Global Lighting Angle", u32(120)),           //
              block(1049, "FX Global Altitude", u32(30)),                  //
              block(1011, "Print Flags", join(zeros<8>(), u8(1))),         //
              block(1034, "Copyright Flag", u8(0)),                        //
              block(10000, "Japanese Print Flags", japanesePrintFlags()),  //
              block(1013, "Color Halftone Settings", halftone()),          //
              block(1016, "Color Transfer Settings", transfer()),          //
              block(1024, "Layer State", u16(0)));
}

constexpr auto fromGuides(std::uint32_t layerIdBase) {
  return join(block(1032, "Guides", guides()),                           //
              block(1054, "URL overrides", u32(0)),                      //
              block(1050, "Slices", slices()),                           //
              block(1041, "ICC Untagged Flag", u8(1)),                   //
              block(1044, "Layer ID Generator Base", u32(layerIdBase)),  //
              block(1036, "New Windows Thumbnail", thumbnail()),         //
              block(1057, "Version compatibility info", version()));
}

constexpr auto documentResources() {
  return join(upToLayerState(), block(1026, "Layer Groups", u32(0)), fromGuides(2));
}
static_assert(documentResources().size() == kDocumentSize);

constexpr auto recordResources() {
  return join(upToLayerState(), fromGuides(1), blockStart(1026, "Layer Groups", 0));
}
static_assert(recordResources().size() == kRecordSize);

constexpr auto kDocument = documentResources();
constinit auto gRecord = recordResources();

/// Where the data of block `id` begin in `kRecordResources`.
constexpr std::size_t recordDataAt(std::uint32_t id) {
  constexpr auto kBlocks = recordResources();
  std::size_t at = 0;
  for (;;) {
    const std::size_t nameAt = at + 6;
    const std::size_t sizeAt = nameAt + (std::size_t{kBlocks[nameAt]} + 2) / 2 * 2;
    const std::size_t dataAt = sizeAt + 4;
    if ((std::uint32_t{kBlocks[at + 4]} << 8 | kBlocks[at + 5]) == id) return dataAt;
    const std::size_t dataSize = std::size_t{kBlocks[sizeAt + 2]} << 8 | kBlocks[sizeAt + 3];
    at = dataAt + (dataSize + 1) / 2 * 2;
  }
}
static_assert(recordDataAt(1026) == kRecordSize);

}  // namespace

constinit const std::span<const unsigned char> kDocumentResources(kDocument);
constinit const std::span<unsigned char> kRecordResources(gRecord);
constinit const std::size_t kHorizontalResolutionAt = recordDataAt(1005);
constinit const std::size_t kVerticalResolutionAt = recordDataAt(1005) + 8;
constinit const std::size_t kTargetLayerLowByteAt = recordDataAt(1024) + 1;
constinit const std::size_t kLayerIdBaseLowByteAt = recordDataAt(1044) + 3;

}  // namespace psd
