#include "smthgrp/PsdCommands.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "smthgrp/Failure.h"
#include "smthgrp/OutputFile.h"
#include "smthgrp/PngFile.h"
#include "smthgrp/PsdDocument.h"
#include "smthgrp/PsdInfo.h"
#include "smthgrp/PsdPixels.h"
#include "smthgrp/SafeFileNames.h"
#include "smthgrp/TerminalText.h"

namespace smthgrp {
namespace {

struct Request {
  std::string file;
  std::string output;
  bool json = false;
};

/// What the channels of other modes mean the library does not know.
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

bool endsIn(const std::string& path, const std::string& ending) {
  std::string last = path.size() < ending.size() ? "" : path.substr(path.size() - ending.size());
  for (char& c : last) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return last == ending;
}

/// Through memory, so that nothing is half written where the library gives up: short of memory it says that
/// all went well.
void savePsd(const std::string& path, ABitMap& map, bool grey, bool withAlpha) {
  for (std::int32_t i = 0; grey && i < map.BufferBytes(); i += 4) {
    unsigned char* const pixel = map.buffer + i;
    if (withAlpha) pixel[0] = pixel[2];
    pixel[2] = pixel[3] = pixel[1];
  }
  const MemoryFile file(path);
  if (map.SavePSD(file.path().c_str(), withAlpha) != 0) throw Failure(path + ": cannot be written");
  constexpr std::size_t kFrameBytes = 40;
  const std::size_t planes = static_cast<std::size_t>(map.BufferBytes()) / 4 * (withAlpha ? 4 : 3);
  const std::string content = file.content(path);
  if (content.size() != kFrameBytes + planes) throw Failure(path + ": not enough memory to write it");
  writeFile(path, content);
}

void flatten(const Request& request) {
  const bool png = endsIn(request.output, ".png");
  if (!png && !endsIn(request.output, ".psd")) {
    throw Failure(
        (request.output.empty() ? "\"\"" : request.output) + ": the output must end in .png or .psd",
        kUsageError);
  }
  requireOtherFile(request.output, request.file);
  const PsdDocument document = readPsd(request.file);
  requireReadable(request.file, document);
  OwnedBitMap map;
  readMerged(request.file, document, map);
  const bool grey = isGrey(document);
  const bool withAlpha = mergedHasAlpha(document);
  if (png) {
    const PngColours colours = grey ? (withAlpha ? PngColours::kGreyAlpha : PngColours::kGrey)
                                    : (withAlpha ? PngColours::kRgba : PngColours::kRgb);
    writePng(request.output, map, colours);
  } else {
    savePsd(request.output, map, grey, withAlpha);
  }
  std::printf("%s: %d x %d\n", printable(request.output).c_str(), map.width, map.height);
}

void extractLayers(const Request& request) {
  const PsdDocument document = readPsd(request.file);
  requireReadable(request.file, document);
  if (document.layers.empty())
    throw Failure(request.file + ": has no layers; smthgrp psd flatten writes its image");
  // All that can be refused beforehand is, so that it leaves no folder and no files.
  SafeFileNames names;
  std::vector<std::pair<const PsdDocument::Layer*, std::string>> outputs;
  for (const PsdDocument::Layer& layer : document.layers) {
    if (!hasPixels(request.file, document, layer)) continue;
    const std::string name = names.take(layer.name.empty() ? "layer" : layer.name, ".png");
    outputs.emplace_back(&layer, (std::filesystem::path(request.output) / name).string());
    requireOtherFile(outputs.back().second, request.file);
  }
  std::error_code error;
  std::filesystem::create_directories(request.output, error);
  if (error) throw systemFailure(request.output, error.value());
  for (const auto& [layer, path] : outputs) {
    OwnedBitMap map;
    const bool withAlpha = readLayer(request.file, document, *layer, map);
    writePng(path, map, withAlpha ? PngColours::kRgba : PngColours::kRgb);
    std::printf("%s: %d x %d at %d, %d\n", printable(path).c_str(), map.width, map.height, layer->record.left,
                layer->record.top);
  }
  const std::size_t empty = document.layers.size() - outputs.size();
  if (empty > 0) std::printf("%s without pixels\n", counted(empty, "layer").c_str());
}

constexpr const char* kFooter = R"(Examples:
  smthgrp psd info picture.psd
  smthgrp psd info --json picture.psd | jq '.layers[].name'
  smthgrp psd flatten picture.psd -o picture.png
  smthgrp psd layers picture.psd -o layers

Reads 8-bit grayscale, RGB, multichannel and duotone (as grey) documents, raw or run-length compressed. flatten
writes the merged image that the file holds; layers writes each layer in its own size, without blending.
Files that are there are overwritten, but never the one that is read.)";

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
