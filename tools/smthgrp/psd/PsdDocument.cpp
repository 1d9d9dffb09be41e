#include "smthgrp/psd/PsdDocument.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "image/psd/Cursor.h"
#include "image/psd/Sections.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/FileDescriptor.h"

namespace smthgrp {
namespace {

using psd::Reader;

/// The whole file, which may be a pipe. Nothing but its beginning where that is no PSD file's.
std::vector<unsigned char> readBytes(const std::string& path) {
  constexpr std::size_t kSignature = 4;
  constexpr std::size_t kMostBytes = INT32_MAX;
  constexpr std::size_t kChunk = std::size_t{1} << 20;
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (file < 0 || fstat(file, &status) != 0) throw systemFailure(path);
  if (S_ISDIR(status.st_mode)) throw systemFailure(path, EISDIR);
  const auto expected = S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0;
  std::vector<unsigned char> bytes(kSignature);
  std::size_t size = 0;
  for (;;) {
    const ssize_t got = read(file, bytes.data() + size, bytes.size() - size);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw systemFailure(path);
    if (got == 0) break;
    size += static_cast<std::size_t>(got);
    if (size < bytes.size()) continue;
    if (size == kSignature) {
      if (std::memcmp(bytes.data(), "8BPS", kSignature) != 0) break;
      // One byte more, to see the end.
      if (expected <= kMostBytes) bytes.reserve(static_cast<std::size_t>(expected) + 1);
    }
    if (expected > kMostBytes || size > kMostBytes) throw Failure(path + ": is longer than 2 GiB");
    bytes.resize(std::max(bytes.capacity(), size + kChunk));
  }
  bytes.resize(size);
  return bytes;
}

void appendUtf8(std::string& text, std::uint32_t c) {
  const auto put = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | c >> 6);
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | c >> 12);
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | c >> 18);
    put(0x80 | (c >> 12 & 0x3F));
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

/// A count of UTF-16 units and the units; NULs at the end are no part of the name.
std::string unicodeText(Reader data) {
  std::u16string units;
  for (std::uint32_t left = data.u32(); left > 0 && data.holds(2); --left) units += char16_t{data.u16()};
  while (!units.empty() && units.back() == u'\0') units.pop_back();
  const auto isLow = [](std::uint32_t unit) { return unit >= 0xDC00 && unit < 0xE000; };
  std::string text;
  for (std::size_t i = 0; i < units.size(); ++i) {
    std::uint32_t c = units[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < units.size() && isLow(units[i + 1])) {
      c = 0x10000 + ((c - 0xD800) << 10 | (units[++i] - 0xDC00));
    }
    appendUtf8(text, c >= 0xD800 && c < 0xE000 ? 0xFFFD : c);
  }
  return text;
}

std::vector<PsdDocument::Resource> readResources(Reader in) {
  std::vector<PsdDocument::Resource> resources;
  while (in.left() > 0) {
    in.skip(4);
    PsdDocument::Resource resource;
    resource.id = in.u16();
    const std::uint8_t length = in.u8();
    resource.name.resize(length);
    in.text(resource.name.data(), length);
    if (length % 2 == 0) in.skip(1);
    resource.size = in.u32();
    in.skip(resource.size);
    if (!in.ok()) break;
    if (resource.size % 2 != 0 && in.left() > 0) in.skip(1);
    resources.push_back(resource);
  }
  return resources;
}

void readLayerInfo(const PsdDocument& document, const PSDExtent& extent, PsdDocument::Layer& layer) {
  Reader in(document.bytes.data() + extent.position, static_cast<std::size_t>(extent.size));
  while (in.left() > 0) {
    in.skip(4);
    std::string key(4, ' ');
    in.text(key.data(), key.size());
    const std::uint32_t length = in.u32();
    const Reader block = in.section(length);
    if (!in.ok()) return;
    layer.info.push_back(key);
    if (key == "luni") layer.name = unicodeText(block);
  }
}

/// Layers of the layer info at `position`, `size` bytes. The record keeps five channels; the file may have
/// more.
void readLayers(const std::string& path, PsdDocument& document, std::size_t position, std::size_t size) {
  const unsigned char* const data = document.bytes.data();
  Reader info(data + position, size);
  const std::int16_t count = info.i16();
  document.mergedAlpha = count < 0;
  auto at = static_cast<std::int32_t>(position + 2);
  const auto end = static_cast<std::int32_t>(position + size);
  for (int i = 0; i < std::abs(int{count}); ++i) {
    PsdDocument::Layer layer;
    const auto entries = static_cast<std::size_t>(at) + 18;
    PSDExtent extra = {};
    if (PSDLayerRecordParse(data, &at, &layer.record, end, &extra) == 0) {
      throw Failure(path + ": layer " + std::to_string(i + 1) + " is cut off");
    }
    Reader channels(data + entries, std::size_t{6} * layer.record.channelCount);
    while (channels.left() > 0) {
      const std::int16_t id = channels.i16();
      layer.channels.push_back({id, 0, channels.u32(), 0});
    }
    layer.name = layer.record.name;
    readLayerInfo(document, extra, layer);
    document.layers.push_back(layer);
  }
  auto next = static_cast<std::size_t>(at);
  for (PsdDocument::Layer& layer : document.layers) {
    for (PsdDocument::Channel& channel : layer.channels) {
      // Some writers end the layer info before the last byte; the file is what counts.
      if (channel.size > document.bytes.size() - next) {
        throw Failure(path + ": the pixels of layer \"" + layer.name + "\" are cut off");
      }
      channel.position = next;
      channel.compression = Reader(data + next, channel.size).u16();
      next += channel.size;
    }
  }
}

}  // namespace

PsdDocument readPsd(const std::string& path) {
  return parsePsd(path, readBytes(path));
}

PsdDocument parsePsd(const std::string& path, std::vector<unsigned char> bytes) {
  PsdDocument document;
  document.bytes = std::move(bytes);
  Reader file(document.bytes.data(), document.bytes.size());
  psd::readHeader(file, document.header);
  if (!file.ok() || std::memcmp(document.header.signature, "8BPS", 4) != 0) {
    throw Failure(path + ": is no PSD file");
  }
  if (document.header.version != 1) throw Failure(path + ": is of a version of the format that is not 1");
  const auto section = [&](const char* name) {
    const std::uint32_t size = file.u32();
    const std::size_t position = document.bytes.size() - file.left();
    const Reader content = file.section(size);
    if (!file.ok()) throw Failure(path + ": is cut off in the " + name);
    document.sections.push_back({name, position, size});
    return content;
  };
  section("colour mode data");
  document.resources = readResources(section("image resources"));
  Reader layers = section("layer and mask information");
  const std::size_t merged = document.bytes.size() - file.left();
  if (file.holds(2)) {
    document.sections.push_back({"merged image", merged, file.left()});
    document.mergedCompression = file.u16();
    document.merged = merged + 2;
  }
  const std::uint32_t infoSize = layers.left() == 0 ? 0 : layers.u32();
  if (infoSize > 0) {
    if (!layers.holds(infoSize)) throw Failure(path + ": is cut off in the layer info");
    readLayers(path, document, merged - layers.left(), infoSize);
  }
  return document;
}

std::string modeName(PSDFileMode mode) {
  switch (mode) {
    case PSDFileMode::bitmap:
      return "bitmap";
    case PSDFileMode::grayscale:
      return "grayscale";
    case PSDFileMode::indexed:
      return "indexed";
    case PSDFileMode::rgb:
      return "RGB";
    case PSDFileMode::cmyk:
      return "CMYK";
    case PSDFileMode::multichannel:
      return "multichannel";
    case PSDFileMode::duotone:
      return "duotone";
    case PSDFileMode::lab:
      return "Lab";
  }
  return "mode " + std::to_string(static_cast<unsigned>(mode));
}

std::string compressionName(std::uint16_t compression) {
  static constexpr const char* kNames[] = {"raw", "run-length", "ZIP", "ZIP with prediction"};
  return compression < std::size(kNames) ? kNames[compression] : std::to_string(compression);
}

}  // namespace smthgrp
