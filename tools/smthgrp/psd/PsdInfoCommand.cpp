#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "smthgrp/common/TerminalText.h"
#include "smthgrp/psd/PsdCommands.h"
#include "smthgrp/psd/PsdDocument.h"

namespace smthgrp {
namespace {

std::string blendName(const char (&key)[4]) {
  static constexpr struct {
    const char* key;
    const char* name;
  } kModes[] = {
      {"norm", "normal"},       {"diss", "dissolve"},     {"dark", "darken"},       {"mul ", "multiply"},
      {"idiv", "colour burn"},  {"lbrn", "linear burn"},  {"lite", "lighten"},      {"scrn", "screen"},
      {"div ", "colour dodge"}, {"lddg", "linear dodge"}, {"over", "overlay"},      {"sLit", "soft light"},
      {"hLit", "hard light"},   {"vLit", "vivid light"},  {"lLit", "linear light"}, {"pLit", "pin light"},
      {"hMix", "hard mix"},     {"diff", "difference"},   {"smud", "exclusion"},    {"hue ", "hue"},
      {"sat ", "saturation"},   {"colr", "colour"},       {"lum ", "luminosity"},   {"pass", "pass through"}};
  std::string text(key, sizeof key);
  for (const auto& mode : kModes) {
    if (text == mode.key) return mode.name;
  }
  return text;
}

std::vector<std::string> flagNames(std::uint8_t flags) {
  std::vector<std::string> names;
  if ((flags & 1) != 0) names.emplace_back("transparency protected");
  if ((flags & 2) != 0) names.emplace_back("hidden");
  // Bit 4 means something where bit 3 is set.
  if ((flags & 0x18) == 0x18) names.emplace_back("pixels irrelevant");
  return names;
}

std::string joined(const std::vector<std::string>& words, const char* between, const char* none) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text.empty() ? none : text;
}

void printJson(const std::string& path, const PsdDocument& document) {
  using Json = nlohmann::ordered_json;
  const PSDHeader& header = document.header;
  Json out = {{"file", path},           {"width", header.columns},
              {"height", header.rows},  {"channels", header.channels},
              {"depth", header.depth},  {"mode", modeName(header.mode)},
              {"compression", nullptr}, {"mergedTransparency", document.mergedAlpha}};
  if (document.mergedCompression) out["compression"] = compressionName(*document.mergedCompression);
  Json& sections = out["sections"] = Json::array();
  for (const PsdDocument::Section& section : document.sections) {
    sections.push_back({{"name", section.name}, {"position", section.position}, {"size", section.size}});
  }
  Json& layers = out["layers"] = Json::array();
  for (const PsdDocument::Layer& layer : document.layers) {
    const PSDLayerRecord& record = layer.record;
    Json channels = Json::array();
    for (const PsdDocument::Channel& channel : layer.channels) {
      channels.push_back({{"id", channel.id},
                          {"size", channel.size},
                          {"compression", compressionName(channel.compression)}});
    }
    layers.push_back({{"name", layer.name},
                      {"left", record.left},
                      {"top", record.top},
                      {"width", layer.width()},
                      {"height", layer.height()},
                      {"blendKey", std::string(record.blendKey, sizeof record.blendKey)},
                      {"blendMode", blendName(record.blendKey)},
                      {"opacity", record.opacity},
                      {"clipping", record.clipping != 0},
                      {"flags", record.flags},
                      {"flagNames", flagNames(record.flags)},
                      {"channels", channels},
                      {"info", layer.info}});
  }
  Json& resources = out["resources"] = Json::array();
  for (const PsdDocument::Resource& resource : document.resources) {
    resources.push_back({{"id", resource.id}, {"name", resource.name}, {"size", resource.size}});
  }
  // Names of resources and short names of layers are in whatever encoding.
  std::printf("%s\n", out.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

/// Channels by their ids: 0 up are colours, -1 is the transparency, -2 and -3 are masks.
void printLayers(const PsdDocument& document) {
  if (document.layers.empty()) return;
  std::printf("\nLayers, the lowest first\n");
  std::printf("  index  %11s  %11s  %-12s  opacity  %-22s  %-10s  name\n", "size", "left, top", "blend mode",
              "flags", "channels");
  for (std::size_t i = 0; i < document.layers.size(); ++i) {
    const PsdDocument::Layer& layer = document.layers[i];
    const PSDLayerRecord& record = layer.record;
    std::vector<std::string> channels;
    for (const PsdDocument::Channel& channel : layer.channels) channels.push_back(std::to_string(channel.id));
    const std::string size = std::to_string(layer.width()) + "x" + std::to_string(layer.height());
    const std::string place = std::to_string(record.left) + ", " + std::to_string(record.top);
    std::printf("  %5zu  %11s  %11s  %-12s  %6.0f%%  %-22s  %-10s  %s\n", i + 1, size.c_str(), place.c_str(),
                printable(blendName(record.blendKey)).c_str(), record.opacity / 2.55,
                joined(flagNames(record.flags), ", ", "-").c_str(), joined(channels, " ", "-").c_str(),
                printable(layer.name).c_str());
  }
}

void printText(const std::string& path, const PsdDocument& document) {
  const PSDHeader& header = document.header;
  std::printf("%s\n", printable(path).c_str());
  std::printf("  size          %u x %u\n", header.columns, header.rows);
  std::printf("  colour mode   %s, %u bits\n", modeName(header.mode).c_str(), header.depth);
  std::printf("  channels      %u\n", header.channels);
  std::printf("  merged image  %s%s\n",
              document.mergedCompression ? compressionName(*document.mergedCompression).c_str() : "missing",
              document.mergedAlpha ? ", with transparency" : "");
  std::printf("  layers        %zu\n", document.layers.size());
  std::printf("\nSections\n  %10s  %10s  name\n", "position", "size");
  for (const PsdDocument::Section& section : document.sections) {
    std::printf("  %10zu  %10zu  %s\n", section.position, section.size, section.name);
  }
  printLayers(document);
  if (document.resources.empty()) return;
  std::printf("\nImage resources\n     id        size  name\n");
  for (const PsdDocument::Resource& resource : document.resources) {
    std::printf("  %5u  %10u  %s\n", resource.id, resource.size, printable(resource.name).c_str());
  }
}

}  // namespace

void addPsdInfo(CommandLine& line, CLI::App& psd) {
  const auto file = std::make_shared<std::string>();
  const auto json = std::make_shared<bool>(false);
  CLI::App& command = line.add("info", "Print sections, layers and image resources", "", &psd);
  addInput(command, "FILE", *file, "PSD file to read");
  command.add_flag("--json", *json, "Print JSON");
  line.setWork(command, [file, json] {
    const PsdDocument document = readPsd(*file);
    *json ? printJson(*file, document) : printText(*file, document);
  });
}

}  // namespace smthgrp
