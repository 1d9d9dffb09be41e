#include <cstdio>
#include <memory>
#include <string>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/LowerCase.h"
#include "smthgrp/common/OutputFile.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/psd/PngFile.h"
#include "smthgrp/psd/PsdCommands.h"
#include "smthgrp/psd/PsdDocument.h"
#include "smthgrp/psd/PsdPixels.h"

namespace smthgrp {
namespace {

struct Request {
  std::string file;
  std::string output;
};

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
  const bool png = lowerCase(request.output).ends_with(".png");
  if (!png && !lowerCase(request.output).ends_with(".psd")) {
    throw Failure(
        (request.output.empty() ? "\"\"" : request.output) + ": the output must end in .png or .psd",
        kUsageError);
  }
  requireOtherFile(request.output, request.file);
  const PsdDocument document = readPsd(request.file);
  requireReadablePixels(request.file, document);
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

}  // namespace

void addPsdFlatten(CommandLine& line, CLI::App& psd) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("flatten", "Write the merged image", "", &psd);
  addInput(command, "FILE", request->file, "PSD file to read");
  addOutput(command, request->output, "PNG or PSD file to write, by its ending");
  line.setWork(command, [request] { flatten(*request); });
}

}  // namespace smthgrp
