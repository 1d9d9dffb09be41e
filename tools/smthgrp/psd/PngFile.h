#pragma once

#include <string>

#include "image/BitMap.h"

namespace smthgrp {

enum class PngColours { kGrey, kGreyAlpha, kRgb, kRgba };

/// Writes the pixels of an uncropped 32-bit bitmap as an 8-bit PNG file. Grey is the red byte, alpha that of
/// `kGreyAlpha` the green one: how files of one and two channels are loaded. Throws a Failure where the file
/// cannot be written; a file that was not there before is then removed again.
void writePng(const std::string& path, const ABitMap& map, PngColours colours);

}  // namespace smthgrp
