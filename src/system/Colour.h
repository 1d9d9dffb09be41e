#pragma once

#include <cstdint>

#include "KSmthExport.h"

// Colours as three floats, 0 to 1 each, and packed into one integer. Nothing is clamped. All arithmetic is in
// single precision, so that colours agree on every platform.

/// Hue (0 to 1: red, yellow, green, cyan, blue, magenta and back to red), saturation and lightness of a
/// colour. Hue and saturation are 0 for a grey and for any colour of lightness 0 or less, black among them.
/// A null pointer asks for nothing.
KSMTH_API void RGB_to_HSL(float r, float g, float b, float* h, float* s, float* l);

/// The colour of a hue, saturation and lightness; hue 1 is hue 0. A null pointer asks for nothing.
///
/// The sixth of the wheel that a hue falls into is truncated towards zero. A hue of -1/6 or below, or of 7/6
/// and more, and one that is no number, falls into none and leaves the outputs as they are, except where the
/// lightness makes it black: fixed by the host's contract.
KSMTH_API void HSL_to_RGB(float h, float s, float l, float* r, float* g, float* b);

/// A colour as an integer, red in bits 16 to 23, green in bits 8 to 15 and blue in bits 0 to 7. Each
/// component is the integer part of component * 255 + 0.5, rounded once (a fused multiply-add). A component
/// outside 0 to 1 spills into the bits of the others, fixed by the host's contract; one out of the range of
/// an integer is held there, as `truncateToInt32` tells.
KSMTH_API std::uint32_t PackRGB(float r, float g, float b);

/// The palette of `GetGroupColor`: 512 entries of `MY_MEM_MALLOC`, never freed; null before the first call.
KSMTH_API extern std::uint32_t* gGroupIDColors;

/// The colour that shows group `id`: blue in bits 16 to 23, green in bits 8 to 15, red in bits 0 to 7, each
/// 127 to 254. Neighbouring numbers are 9 degrees of hue apart, and each turn of 40 is a little paler. Only
/// the low nine bits of `id` count. Group 1 (and 513, ...) is nearly white with a full top byte, 0xFFFEFEFE;
/// so is every group while there is no memory for the palette.
KSMTH_API std::uint32_t GetGroupColor(std::int32_t id);
