#pragma once

#include "document/Output.h"
#include "image/BitMap.h"

namespace smthgrp {

enum class PngColours { kGrey, kGreyAlpha, kRgb, kRgba };

/// Writes the pixels of an uncropped 32-bit bitmap as an 8-bit PNG file. Grey is the red byte, alpha that of
/// `kGreyAlpha` the green one: how files of one and two channels are loaded. The output is not committed.
/// Throws a Failure where it cannot be written.
void writePng(WavefrontOBJ::Output& output, const ABitMap& map, PngColours colours);

}  // namespace smthgrp
