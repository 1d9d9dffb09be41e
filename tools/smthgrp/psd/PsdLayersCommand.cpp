#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/OutputFile.h"
#include "smthgrp/common/SafeFileNames.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/psd/PngFile.h"
#include "smthgrp/psd/PsdCommands.h"
#include "smthgrp/psd/PsdDocument.h"
#include "smthgrp/psd/PsdPixels.h"

namespace smthgrp {
namespace {

struct Request {
  std::string file;
  std::string folder;
};

void extractLayers(const Request& request) {
  const PsdDocument document = readPsd(request.file);
  requireReadablePixels(request.file, document);
  if (document.layers.empty())
    throw Failure(request.file + ": has no layers; smthgrp psd flatten writes its image");
  // All that can be refused beforehand is, so that it leaves no folder and no files.
  SafeFileNames names;
  std::vector<std::pair<const PsdDocument::Layer*, std::string>> outputs;
  for (const PsdDocument::Layer& layer : document.layers) {
    if (!hasPixels(request.file, document, layer)) continue;
    const std::string name = names.take(layer.name.empty() ? "layer" : layer.name, ".png");
    outputs.emplace_back(&layer, (std::filesystem::path(request.folder) / name).string());
    requireOtherFile(outputs.back().second, request.file);
  }
  std::error_code error;
  std::filesystem::create_directories(request.folder, error);
  if (error) throw systemFailure(request.folder, error.value());
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

}  // namespace

void addPsdLayers(CommandLine& line, CLI::App& psd) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("layers", "Write every layer as a PNG file", "", &psd);
  addInput(command, "FILE", request->file, "PSD file to read");
  addOutput(command, request->folder, "Folder to write to, made if missing", "DIR");
  line.setWork(command, [request] { extractLayers(*request); });
}

}  // namespace smthgrp
