#include "smthgrp/Commands.h"
#include "smthgrp/psd/PsdCommands.h"

namespace smthgrp {
namespace {

constexpr const char* kFooter = R"(Examples:
  smthgrp psd info picture.psd
  smthgrp psd info --json picture.psd | jq '.layers[].name'
  smthgrp psd flatten picture.psd -o picture.png
  smthgrp psd layers picture.psd -o layers

Reads 8-bit grayscale, RGB, multichannel and duotone (as grey) documents, raw or
run-length compressed. flatten writes the merged image that the file holds;
layers writes each layer in its own size, without blending. Files that are there
are overwritten, but never the one that is read.)";

}  // namespace

/// The commands work on files alone and need no plug-in.
void addPsd(CommandLine& line) {
  CLI::App& psd = line.add("psd", "Look into Photoshop documents and take pictures out of them", kFooter);
  psd.require_subcommand(1);
  addPsdInfo(line, psd);
  addPsdFlatten(line, psd);
  addPsdLayers(line, psd);
}

}  // namespace smthgrp
