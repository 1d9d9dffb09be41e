#pragma once

#include "image/psd/Bytes.h"

namespace psd {

/// A JPEG picture of 2 x 2 grey pixels, baseline, as any decoder takes it; 539 bytes long, as fixed by the
/// host's contract.
constexpr auto jpegThumbnail() {
  // A segment is its marker, its length with the two bytes of the length itself, and the data.
  const auto segment = [](std::uint32_t marker, const auto& data) {
    return join(u16(marker), u16(static_cast<std::uint32_t>(data.size()) + 2), data);
  };
  const auto start = u16(0xFFD8);
  const auto jfif = segment(0xFFE0, join(text("JFIF"), u8(0), u16(0x0101),  // version 1.1
                                         u8(1), u16(72), u16(72),           // pixels per inch
                                         u8(0), u8(0)));                    // without a thumbnail of its own
  // The picture needs few bytes; a comment takes up the rest.
  const auto comment = segment(0xFFFE, join(text("Two by two grey pixels."), zeros<343>()));
  Bytes<64> divisors{};
  divisors.fill(16);
  const auto quantisation = segment(0xFFDB, join(u8(0), divisors));
  const auto component = [](std::uint32_t id) { return join(u8(id), u8(0x11), u8(0)); };  // not subsampled
  const auto frame = segment(
      0xFFC0, join(u8(8), u16(2), u16(2), u8(3), component(1), component(2), component(3)));  // 8 bits, 2 x 2
  // Codes that are one bit long: 1, one symbol; longer ones: none. The symbol 0 is "no difference to the
  // block before" among the DC codes and "nothing more in this block" among the AC codes: mid-grey.
  const auto oneSymbol = join(u8(1), zeros<15>(), u8(0));
  const auto dcCodes = segment(0xFFC4, join(u8(0x00), oneSymbol));
  const auto acCodes = segment(0xFFC4, join(u8(0x10), oneSymbol));
  const auto scan = segment(0xFFDA, join(u8(3), u8(1), u8(0), u8(2), u8(0), u8(3), u8(0),  // all tables 0
                                         u8(0), u8(63), u8(0)));
  const auto threeGreyBlocks = u8(0b00'00'00'11);  // filled up with ones
  const auto end = u16(0xFFD9);
  return join(start, jfif, comment, quantisation, frame, dcCodes, acCodes, scan, threeGreyBlocks, end);
}
static_assert(jpegThumbnail().size() == 539);

}  // namespace psd
