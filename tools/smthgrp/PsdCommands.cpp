#include "smthgrp/PsdCommands.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "smthgrp/Failure.h"
#include "smthgrp/PngFile.h"
#include "smthgrp/PsdDocument.h"
#include "smthgrp/PsdInfo.h"
#include "smthgrp/SafeFileNames.h"
#include "smthgrp/TerminalText.h"

namespace smthgrp {
namespace {

struct Request {
  std::string file;
  std::string output;
  bool json = false;
};

class OwnedBitMap : public ABitMap {
 public:
  OwnedBitMap() = default;
  OwnedBitMap(const OwnedBitMap&) = delete;
  OwnedBitMap& operator=(const OwnedBitMap&) = delete;
  ~OwnedBitMap() { Free(); }
};

/// Two colours at most: grey. What the channels of other modes mean the library does not know.
void requireReadable(const std::string& path, const PsdDocument& document) {
  const PSDHeader& header = document.header;
  if (header.depth != 8) {
    throw Failure(path + ": has " + std::to_string(header.depth) + " bits per channel, 8 can be read");
  }
  switch (header.mode) {
    case PSDFileMode::grayscale:
    case PSDFileMode::rgb:
    case PSDFileMode::multichannel:
    case PSDFileMode::duotone:
      return;
    default:
      throw Failure(path + ": is in colour mode " + modeName(header.mode) + ", which cannot be read");
  }
}

bool isGrey(const PsdDocument& document) {
  const PSDFileMode mode = document.header.mode;
  return mode == PSDFileMode::grayscale || mode == PSDFileMode::duotone ||
         (mode == PSDFileMode::multichannel && document.header.channels < 3);
}

bool endsIn(const std::string& path, const std::string& ending) {
  std::string last = path.size() < ending.size() ? "" : path.substr(path.size() - ending.size());
  for (char& c : last) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return last == ending;
}

void saveFlat(const std::string& path, ABitMap& map, bool grey, bool withAlpha) {
  for (std::int32_t i = 0; grey && i < map.BufferBytes(); i += 4) {
    unsigned char* const pixel = map.buffer + i;
    if (withAlpha) pixel[0] = pixel[2];
    pixel[2] = pixel[3] = pixel[1];
  }
  // Absolute: the library takes some beginnings of paths for prefixes.
  if (map.SavePSD(std::filesystem::absolute(path).c_str(), withAlpha) != 0) {
    throw Failure(path + ": cannot be written");
  }
}

void flatten(const Request& request) {
  const bool png = endsIn(request.output, ".png");
  if (!png && !endsIn(request.output, ".psd")) {
    throw Failure(request.output + ": the output must end in .png or .psd", kUsageError);
  }
  const PsdDocument document = readPsd(request.file);
  requireReadable(request.file, document);
  if (document.mergedCompression > 1) {
    throw Failure(request.file + ": the merged image is compressed in a way that cannot be read: " +
                  compressionName(document.mergedCompression));
  }
  OwnedBitMap map;
  const auto size = static_cast<std::int32_t>(document.bytes.size());
  if (map.LoadPSD(nullptr, true, document.bytes.data(), size) != 0) {
    throw Failure(request.file + ": the merged image cannot be read, it is cut off or too large");
  }
  if (map.width == 0 || map.height == 0) throw Failure(request.file + ": has no pixels");
  const bool grey = isGrey(document);
  const bool withAlpha = document.header.channels >= (grey ? 2 : 4);
  if (png) {
    const PngColours colours = grey ? (withAlpha ? PngColours::kGreyAlpha : PngColours::kGrey)
                                    : (withAlpha ? PngColours::kRgba : PngColours::kRgb);
    writePng(request.output, map, colours);
  } else {
    saveFlat(request.output, map, grey, withAlpha);
  }
  std::printf("%s: %d x %d\n", printable(request.output).c_str(), map.width, map.height);
}

/// The pixels of a layer's own rectangle; false for a layer without any, such as a folder of layers.
bool readLayer(const std::string& path, const PsdDocument& document, const PsdDocument::Layer& layer,
               ABitMap& map, bool& withAlpha) {
  if (layer.width() < 1 || layer.height() < 1) return false;
  const Failure broken(path + ": the pixels of layer \"" + printable(layer.name) + "\" cannot be read");
  std::uint64_t stored = 0;
  for (const PsdDocument::Channel& channel : layer.channels) stored += channel.size;
  // Run-length data unpack to 65 times their size at most; no memory for what cannot be there.
  const std::uint64_t pixels =
      static_cast<std::uint64_t>(layer.width()) * static_cast<std::uint64_t>(layer.height());
  if (layer.width() > INT32_MAX || layer.height() > INT32_MAX || pixels > 65 * stored) throw broken;
  if (map.Allocate(static_cast<std::int32_t>(layer.width()), static_cast<std::int32_t>(layer.height()), 32) ==
      nullptr) {
    throw broken;
  }
  map.ClearBuffer();
  withAlpha = false;
  for (const PsdDocument::Channel& channel : layer.channels) {
    const std::int32_t number = channel.id == -1 ? 3 : channel.id;
    if (number < 0 || number > 3) continue;
    if (channel.compression > 1) {
      throw Failure(path + ": layer \"" + printable(layer.name) +
                    "\" is compressed in a way that cannot be read: " + compressionName(channel.compression));
    }
    withAlpha = withAlpha || number == 3;
    const unsigned char* const data = document.bytes.data() + channel.position;
    if (map.ReadRGBAChannelFromBuffer(data, static_cast<std::int32_t>(channel.size), number) != 0)
      throw broken;
  }
  return true;
}

void extractLayers(const Request& request) {
  const PsdDocument document = readPsd(request.file);
  requireReadable(request.file, document);
  std::error_code error;
  std::filesystem::create_directories(request.output, error);
  if (error) throw systemFailure(request.output, error.value());
  SafeFileNames names;
  std::size_t written = 0;
  for (const PsdDocument::Layer& layer : document.layers) {
    OwnedBitMap map;
    bool withAlpha = false;
    if (!readLayer(request.file, document, layer, map, withAlpha)) continue;
    if (isGrey(document)) {
      for (std::int32_t i = 0; i < map.BufferBytes(); i += 4)
        map.buffer[i + 2] = map.buffer[i + 3] = map.buffer[i + 1];
    }
    const std::string path =
        (std::filesystem::path(request.output) / names.take(layer.name, ".png")).string();
    writePng(path, map, withAlpha ? PngColours::kRgba : PngColours::kRgb);
    std::printf("%s: %d x %d at %d, %d\n", printable(path).c_str(), map.width, map.height, layer.record.left,
                layer.record.top);
    ++written;
  }
  const std::size_t empty = document.layers.size() - written;
  if (document.layers.empty())
    throw Failure(request.file + ": has no layers; smthgrp psd flatten writes its image");
  if (empty > 0) std::printf("%s without pixels\n", counted(empty, "layer").c_str());
}

constexpr const char* kFooter = R"(Examples:
  smthgrp psd info picture.psd
  smthgrp psd info --json picture.psd | jq '.layers[].name'
  smthgrp psd flatten picture.psd -o picture.png
  smthgrp psd layers picture.psd -o layers

Reads 8-bit grayscale, RGB, multichannel and duotone (as grey) documents, raw or run-length compressed. flatten
writes the merged image that the file holds; layers writes each layer in its own size, without blending.)";

}  // namespace

void addPsd(CLI::App& app, std::function<void()>& run) {
  CLI::App* psd = app.add_subcommand("psd", "Look into Photoshop documents and take pictures out of them");
  psd->require_subcommand(1);
  psd->footer(kFooter);
  const auto request = std::make_shared<Request>();
  const auto add = [psd, request](const char* name, const char* description) {
    CLI::App* command = psd->add_subcommand(name, description);
    command->add_option("FILE", request->file, "PSD file to read")->required()->type_name("");
    return command;
  };
  CLI::App* info = add("info", "Print sections, layers and image resources");
  info->add_flag("--json", request->json, "Print JSON");
  info->callback([request, &run] { run = [request] { printPsdInfo(request->file, request->json); }; });
  CLI::App* flat = add("flatten", "Write the merged image");
  flat->add_option("-o,--output", request->output, "PNG or PSD file to write, by its ending")
      ->required()
      ->type_name("FILE");
  flat->callback([request, &run] { run = [request] { flatten(*request); }; });
  CLI::App* layers = add("layers", "Write every layer as a PNG file");
  layers->add_option("-o,--output", request->output, "Folder to write to, made if missing")
      ->required()
      ->type_name("DIR");
  layers->callback([request, &run] { run = [request] { extractLayers(*request); }; });
}

}  // namespace smthgrp
