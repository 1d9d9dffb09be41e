// Photoshop documents as arrays.
#include "Psd.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <mutex>

#include "Target.h"
#include "document/Source.h"
#include "image/PSDFile.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/psd/PsdPixels.h"

namespace ksmthgrp {

using WavefrontOBJ::Result;
using WavefrontOBJ::Source;
using WavefrontOBJ::Status;

namespace {

constexpr std::uint8_t kHidden = 2;  ///< of a layer's flags
constexpr std::int32_t kMostSide = 30000;
constexpr std::size_t kMostBytes = std::numeric_limits<std::int32_t>::max();
/// The bytes of a 32-bit pixel that red, green, blue and alpha are in.
constexpr std::array<std::size_t, 4> kColour = {1, 2, 3, 0};
/// Those that grey and alpha are in where a merged image has been read.
constexpr std::array<std::size_t, 2> kGrey = {1, 2};

using Pixels = py::array_t<std::uint8_t, py::array::c_style>;

// ---- reading

struct ReadLayer {
  const smthgrp::PsdDocument::Layer* layer;
  std::vector<std::uint8_t> pixels;
  std::size_t width = 0, height = 0;
};

struct ReadImage {
  smthgrp::PsdDocument document;
  std::vector<std::uint8_t> pixels;
  std::size_t channels = 0;
  std::vector<ReadLayer> layers;
};

std::vector<std::uint8_t> interleaved(const ABitMap& map, std::span<const std::size_t> bytes) {
  const auto pixels = static_cast<std::size_t>(map.BufferBytes()) / 4;
  std::vector<std::uint8_t> values(pixels * bytes.size());
  auto* to = values.data();
  for (std::size_t i = 0; i < pixels; ++i) {
    for (const std::size_t byte : bytes) *to++ = map.buffer[4 * i + byte];
  }
  return values;
}

/// Throws a smthgrp::Failure.
ReadImage readImage(const std::string& path, std::vector<unsigned char> bytes) {
  ReadImage image;
  image.document = smthgrp::parsePsd(path, std::move(bytes));
  const smthgrp::PsdDocument& document = image.document;
  smthgrp::requireReadablePixels(path, document);
  smthgrp::OwnedBitMap merged;
  {
    // The library's loaders tell the header that they saw last to the whole process.
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    smthgrp::readMerged(path, document, merged);
  }
  const bool grey = smthgrp::isGrey(document);
  const bool alpha = smthgrp::mergedHasAlpha(document);
  const std::span<const std::size_t> places = grey ? std::span<const std::size_t>(kGrey) : kColour;
  image.channels = places.size() - (alpha ? 0 : 1);
  image.pixels = interleaved(merged, places.first(image.channels));
  for (const smthgrp::PsdDocument::Layer& layer : document.layers) {
    ReadLayer read{&layer, {}};
    if (smthgrp::hasPixels(path, document, layer)) {
      smthgrp::OwnedBitMap map;
      const bool withAlpha = smthgrp::readLayer(path, document, layer, map);
      read.pixels = interleaved(map, kColour);
      for (std::size_t i = 3; !withAlpha && i < read.pixels.size(); i += 4) read.pixels[i] = 255;
      read.width = static_cast<std::size_t>(map.width);
      read.height = static_cast<std::size_t>(map.height);
    }
    image.layers.push_back(std::move(read));
  }
  return image;
}

Result readSource(Source& source, std::vector<unsigned char>& bytes) {
  if (source.size() > kMostBytes) return {Status::tooLarge, source.name() + ": is longer than 2 GiB"};
  bytes.resize(static_cast<std::size_t>(source.size()));
  if (bytes.empty()) return {};
  return source.read(0, reinterpret_cast<char*>(bytes.data()), bytes.size());
}

py::array pixelArray(std::vector<std::uint8_t> pixels, std::size_t height, std::size_t width,
                     std::size_t channels) {
  const auto kept = std::make_shared<std::vector<std::uint8_t>>(std::move(pixels));
  const auto size = [](std::size_t n) { return static_cast<py::ssize_t>(n); };
  return arrayOf(py::dtype::of<std::uint8_t>(), {size(height), size(width), size(channels)}, kept->data(),
                 kept);
}

py::object read(const py::object& source) {
  Source bytes;
  std::string path = "bytes";
  if (isPath(source)) {
    path = pathBytes(source);
    require(unlocked([&] { return bytes.open(path); }), path);
  } else {
    bytes.hold(contentOf(source), path);
  }
  ReadImage image;
  std::string problem;
  const Result result = unlocked([&]() -> Result {
    std::vector<unsigned char> data;
    Result got = readSource(bytes, data);
    try {
      if (got) image = readImage(path, std::move(data));
    } catch (const smthgrp::Failure& failure) {
      problem = failure.what();
    }
    return got;
  });
  require(result, path);
  if (!problem.empty()) raise("FormatError", problem, path);
  py::list layers;
  for (ReadLayer& read : image.layers) {
    const PSDLayerRecord& record = read.layer->record;
    layers.append(typeOf("Layer")(nameText(read.layer->name),
                                  pixelArray(std::move(read.pixels), read.height, read.width, 4), record.left,
                                  record.top, record.opacity, (record.flags & kHidden) == 0,
                                  nameText(std::string(record.blendKey, sizeof record.blendKey))));
  }
  const PSDHeader& header = image.document.header;
  return typeOf("Image")(pixelArray(std::move(image.pixels), header.rows, header.columns, image.channels),
                         layers);
}

// ---- writing

struct WrittenLayer {
  std::string name;
  Pixels pixels;
  std::int32_t left, top;
  std::uint8_t opacity;
  bool visible;
  std::string blend;
};

/// Pixels of `least` to 4 channels; a grey image may have two dimensions.
Pixels pixelsOf(const py::object& given, const std::string& what, py::ssize_t least) {
  const py::array array = py::array::ensure(given);
  if (!array || array.dtype().kind() != 'u' || array.itemsize() != 1) {
    throw py::type_error(what + ": a uint8 array is wanted");
  }
  py::array shaped = array;
  if (array.ndim() == 2 && least == 1) shaped = array.attr("reshape")(array.shape(0), array.shape(1), 1);
  if (shaped.ndim() != 3 || shaped.shape(2) < least || shaped.shape(2) > 4) {
    throw py::value_error(what + ": shape (height, width, channels) is wanted, with " +
                          std::to_string(least) + " to 4 channels");
  }
  if (shaped.shape(0) > kMostSide || shaped.shape(1) > kMostSide) {
    throw py::value_error(what + ": the format has at most 30,000 pixels a side");
  }
  Pixels plain(shaped);
  return plain;
}

WrittenLayer layerOf(const py::handle& given, std::size_t index) {
  // A tuple may end early.
  const py::object layer = typeOf("Layer")(*py::tuple(py::reinterpret_borrow<py::object>(given)));
  const std::string what = "layers[" + std::to_string(index) + "]";
  WrittenLayer written{nameBytes(layer.attr("name")),
                       pixelsOf(layer.attr("pixels"), what, 3),
                       layer.attr("left").cast<std::int32_t>(),
                       layer.attr("top").cast<std::int32_t>(),
                       layer.attr("opacity").cast<std::uint8_t>(),
                       layer.attr("visible").cast<bool>(),
                       nameBytes(layer.attr("blend"))};
  if (written.name.size() > 255) throw py::value_error(what + ": the name has more than 255 bytes");
  if (written.blend.size() != 4) throw py::value_error(what + ": blend is a key of four letters");
  if (std::abs(std::int64_t{written.left}) > kMostSide || std::abs(std::int64_t{written.top}) > kMostSide) {
    throw py::value_error(what + ": lies too far from the image");
  }
  return written;
}

/// The layer's pixels as the library's writer takes them.
void fill(const WrittenLayer& layer, std::int32_t width, std::int32_t height, ABitMap& map) {
  const auto rows = static_cast<std::int32_t>(layer.pixels.shape(0));
  const auto columns = static_cast<std::int32_t>(layer.pixels.shape(1));
  if (rows == 0 || columns == 0) return;
  if (map.AllocateCropped(width, height, layer.top, layer.left, layer.top + rows, layer.left + columns, 32) ==
      nullptr) {
    throw std::bad_alloc();
  }
  const auto channels = static_cast<std::size_t>(layer.pixels.shape(2));
  const std::uint8_t* from = layer.pixels.data();
  for (std::size_t i = 0; i < static_cast<std::size_t>(layer.pixels.size()) / channels;
       ++i, from += channels) {
    unsigned char* const to = map.buffer + 4 * i;
    to[0] = 255;
    for (std::size_t c = 0; c < channels; ++c) to[kColour[c]] = from[c];
  }
}

/// Throws std::bad_alloc, and std::length_error for what no file can hold.
std::string fileOf(const Pixels& pixels, const std::vector<WrittenLayer>& layers) {
  const auto height = static_cast<std::int32_t>(pixels.shape(0));
  const auto width = static_cast<std::int32_t>(pixels.shape(1));
  const auto channels = static_cast<std::size_t>(pixels.shape(2));
  const bool alpha = channels % 2 == 0;
  std::vector<smthgrp::OwnedBitMap> maps(layers.size());
  PSDLayerMaskInfo info(static_cast<std::uint16_t>(layers.size()));
  for (std::size_t i = 0; i < layers.size(); ++i) {
    const WrittenLayer& layer = layers[i];
    fill(layer, width, height, maps[i]);
    const bool empty = maps[i].buffer == nullptr;
    info.InitLayerInfo(static_cast<std::int32_t>(i), static_cast<std::int32_t>(i) + 1, empty ? 0 : 4, 8,
                       empty ? nullptr : &maps[i], nullptr, layer.name.c_str());
    PSDLayerRecord& record = info.layers[i];
    record.opacity = layer.opacity;
    record.flags = layer.visible ? 0 : kHidden;
    std::memcpy(record.blendKey, layer.blend.data(), sizeof record.blendKey);
  }
  constexpr std::size_t kHeader = 30;
  constexpr std::size_t kResources = 4;
  constexpr std::size_t kCompression = 2;
  const std::int64_t section = layers.empty() ? 4 : info.ComputeSectionSize();
  const auto size = kHeader + kResources + static_cast<std::uint64_t>(section) + kCompression +
                    static_cast<std::uint64_t>(pixels.size());
  if (size > kMostBytes) throw std::length_error("a document of more than 2 GiB cannot be written");
  std::string file(static_cast<std::size_t>(size), '\0');
  PSDHeader header;
  PSDHeaderInit(&header, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), 8,
                static_cast<std::uint16_t>(channels),
                channels < 3 ? PSDFileMode::grayscale : PSDFileMode::rgb);
  auto* to = reinterpret_cast<unsigned char*>(file.data());
  to = PSDBufferWriteHeader(to, header) + kResources;
  if (!layers.empty()) {
    info.WriteSectionToBuffer(to);
    // A negative count of layers tells that the merged image has transparency.
    const auto count = static_cast<std::uint16_t>(alpha ? -info.layerCount() : info.layerCount());
    to[8] = static_cast<unsigned char>(count >> 8);
    to[9] = static_cast<unsigned char>(count & 0xFF);
  }
  to += section + static_cast<std::int64_t>(kCompression);
  const std::size_t plane = static_cast<std::size_t>(pixels.size()) / channels;
  for (std::size_t c = 0; c < channels; ++c) {
    for (std::size_t i = 0; i < plane; ++i) *to++ = pixels.data()[i * channels + c];
  }
  return file;
}

void write(const py::object& target, const py::object& pixels, const py::object& layers) {
  const Pixels merged = pixelsOf(pixels, "pixels", 1);
  if (merged.size() == 0) throw py::value_error("pixels: an image of no pixels cannot be written");
  std::vector<WrittenLayer> list;
  for (const py::handle& layer : layers) list.push_back(layerOf(layer, list.size()));
  if (!list.empty() && merged.shape(2) < 3)
    throw py::value_error("pixels: grey documents cannot have layers");
  if (list.size() > 32767) throw py::value_error("layers: the format has at most 32,767");
  Target file(target);
  std::string bytes;
  const Result result = unlocked([&] {
    bytes = fileOf(merged, list);
    return file.sink().write(bytes);
  });
  require(result, file.path());
  file.commit();
}

}  // namespace

void addPsd(py::module_& module) {
  module.def("psd_read", &read, py::arg("source"), R"(read(source)
--

Reads a Photoshop document (PSD, version 1) and answers an Image: the merged image and its layers.

source is a path (str or os.PathLike), the file's bytes, or a file object. Grayscale, RGB, multichannel and
duotone documents of 8 bits can be read, raw or run-length compressed. Raises NotFoundError or FileError when the
file cannot be read, FormatError for what is damaged or cannot be read.)");
  module.def("psd_write", &write, py::arg("target"), py::arg("pixels"), py::arg("layers") = py::tuple(),
             R"(write(target, pixels, layers=())
--

Writes a Photoshop document of 8 bits.

target is a path or a binary file object. pixels is the merged image: uint8 of shape (height, width, channels), 1
channel for grey, 2 for grey and alpha, 3 for red, green and blue, 4 with alpha; (height, width) is grey. layers,
the lowest first, are Layer or tuples that begin as one does, (name, pixels, left, top, ...), with pixels of 3 or
4 channels; documents with layers need 3 or 4 channels. Names have up to 255 bytes of UTF-8. What programs show
is up to the layers; the merged image is not made from them.

Raises TypeError or ValueError for what does not fit, FileError when the file cannot be written.)");
}

}  // namespace ksmthgrp
