#include "smthgrp/psd/PngFile.h"

#include <png.h>

#include <memory>
#include <vector>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/OutputFile.h"

namespace smthgrp {
namespace {

struct Layout {
  png_uint_32 format;
  std::vector<std::size_t> bytes;  ///< of a pixel in memory, in the order of the file
};

Layout layoutOf(PngColours colours) {
  switch (colours) {
    case PngColours::kGrey:
      return {PNG_FORMAT_GRAY, {1}};
    case PngColours::kGreyAlpha:
      return {PNG_FORMAT_GA, {1, 2}};
    case PngColours::kRgb:
      return {PNG_FORMAT_RGB, {1, 2, 3}};
    case PngColours::kRgba:
      break;
  }
  return {PNG_FORMAT_RGBA, {1, 2, 3, 0}};
}

}  // namespace

void writePng(const std::string& path, const ABitMap& map, PngColours colours) {
  const auto [format, order] = layoutOf(colours);
  const auto pixels = static_cast<std::size_t>(map.BufferBytes()) / 4;
  std::vector<unsigned char> samples;
  samples.reserve(pixels * order.size());
  for (std::size_t i = 0; i < pixels; ++i) {
    for (const std::size_t byte : order) samples.push_back(map.buffer[4 * i + byte]);
  }
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(map.width);
  image.height = static_cast<png_uint_32>(map.height);
  image.format = format;
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
  const auto file = std::make_unique_for_overwrite<char[]>(size);
  if (png_image_write_to_memory(&image, file.get(), &size, 0, samples.data(), 0, nullptr) == 0) {
    throw Failure(path + ": cannot be written as PNG: " + image.message);
  }
  writeFile(path, {file.get(), size});
}

}  // namespace smthgrp
