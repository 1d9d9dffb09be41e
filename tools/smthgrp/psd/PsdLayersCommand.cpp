#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/SafeFileNames.h"
#include "smthgrp/common/SafeOutput.h"
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
  std::vector<const PsdDocument::Layer*> layers;
  std::unique_ptr<const WavefrontOBJ::NewFolder> folder;
  std::vector<std::unique_ptr<WavefrontOBJ::Output>> outputs;
  for (const PsdDocument::Layer& layer : document.layers) {
    if (!hasPixels(request.file, document, layer)) continue;
    const std::string name = names.take(layer.name.empty() ? "layer" : layer.name, ".png");
    layers.push_back(&layer);
    outputs.push_back(
        std::make_unique<WavefrontOBJ::Output>((std::filesystem::path(request.folder) / name).string()));
  }
  folder = makeFolder(request.folder);
  std::vector<std::string> lines;
  ProgressBar bar("writing " + request.folder);
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    bar.advanceTo(static_cast<double>(i) / static_cast<double>(outputs.size()));
    openOutput(*outputs[i], request.file);
    OwnedBitMap map;
    const bool withAlpha = readLayer(request.file, document, *layers[i], map);
    writePng(*outputs[i], map, withAlpha ? PngColours::kRgba : PngColours::kRgb);
    require(outputs[i]->finish());
    lines.push_back(outputs[i]->path() + ": " + std::to_string(map.width) + " x " +
                    std::to_string(map.height) + " at " + std::to_string(layers[i]->record.left) + ", " +
                    std::to_string(layers[i]->record.top));
  }
  commitOutputs(outputs, [&lines](std::size_t i) { std::printf("%s\n", printable(lines[i]).c_str()); });
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
