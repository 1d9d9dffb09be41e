#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image/PSDFile.h"

namespace smthgrp {

/// A PSD file in memory and where its parts lie. Positions and sizes are bytes of the file.
struct PsdDocument {
  struct Section {
    const char* name;
    std::size_t position;  ///< behind its length
    std::size_t size;
  };
  struct Resource {
    std::uint16_t id;
    std::string name;
    std::uint32_t size;
  };
  struct Channel {
    std::int16_t id;  ///< 0 up colours, -1 transparency, -2 and -3 masks
    std::size_t position;
    std::uint32_t size;
    std::uint16_t compression;
  };
  struct Layer {
    std::string name;  ///< UTF-8
    PSDLayerRecord record;
    std::vector<Channel> channels;
    std::vector<std::string> info;  ///< keys of its additional layer information

    std::int64_t width() const { return std::int64_t{record.right} - record.left; }
    std::int64_t height() const { return std::int64_t{record.bottom} - record.top; }
  };

  std::vector<unsigned char> bytes;
  PSDHeader header = {};
  std::vector<Section> sections;
  std::vector<Resource> resources;
  std::vector<Layer> layers;  ///< the lowest first
  std::size_t merged = 0;     ///< position of the merged image behind its compression code
  std::optional<std::uint16_t> mergedCompression;  ///< none where the file ends before the merged image
  bool mergedAlpha = false;  ///< the first extra channel is the merged image's transparency
};

/// Reads the file at `path`. Throws a Failure where it is no PSD file of version 1 or a part of it is cut
/// off.
PsdDocument readPsd(const std::string& path);
/// The same for a file's bytes, 2^31 - 1 at most; `path` stands for it in what is thrown.
PsdDocument parsePsd(const std::string& path, std::vector<unsigned char> bytes);

/// "RGB", "grayscale", or "mode" and a number.
std::string modeName(PSDFileMode mode);
/// "raw", "run-length", "ZIP", "ZIP with prediction", or the number.
std::string compressionName(std::uint16_t compression);

}  // namespace smthgrp
