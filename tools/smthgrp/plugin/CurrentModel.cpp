#include "smthgrp/plugin/CurrentModel.h"

#include <algorithm>
#include <filesystem>
#include <new>
#include <string_view>
#include <system_error>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/InputFile.h"
#include "smthgrp/common/ReadingNote.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/plugin/ReadNotes.h"

namespace smthgrp {
namespace {

constexpr std::size_t kReasonWidth = 160;

/// Why the library could not read the file, in a person's words where the reader kept a note. The library has
/// freed the model with the notes, so that a file is read again; of a pipe there is only what the library
/// said.
std::string reasonOf(const std::string& path, std::string_view said) {
  std::error_code ignored;
  if (std::filesystem::is_regular_file(path, ignored)) {
    WavefrontOBJ::OBJModel model(true);
    try {
      model.read(path, false);
    } catch (const std::bad_alloc&) {
      return "not enough memory";
    }
    if (const auto& end = model._readNotes.end) {
      return "line " + std::to_string(end->lineNumber) + ": " + noteText(end->kind).reason + ": " + end->text;
    }
  }
  // The messages of the lines passed over come first, and some end without a line feed.
  while (said.ends_with('\n')) said.remove_suffix(1);
  said.remove_prefix(said.rfind('\n') + 1);
  return std::string(said.substr(said.size() - std::min(said.size(), kReasonWidth)));
}

std::uint32_t count(PluginLibrary& library, const char* key, std::uint32_t field) {
  return PluginLibrary::exactCount(library.call("GetOBJInfo", key).value, field);
}

}  // namespace

const WavefrontOBJ::OBJModel& loadModel(PluginLibrary& library, const std::string& path) {
  requireReadable(path);
  const std::string name = inputName(path);
  const std::string file = inputPath(path);
  PluginLibrary::workOn(name);
  const PluginLibrary::Answer answer = library.call("LoadOBJFile", file.c_str());
  if (answer.value < 0) throw Failure(name + ": " + printable(reasonOf(file, answer.text), kReasonWidth));
  if (library.model() == nullptr) throw Failure(name + ": not enough memory");
  if (isCutShort(library)) throw Failure(name + ": cannot be read to its end");
  return *library.model();
}

bool isCutShort(PluginLibrary& library) {
  return library.model() != nullptr && library.model()->_readNotes.isCutShort;
}

const WavefrontOBJ::OBJModel& loadModelAndTell(PluginLibrary& library, const std::string& path) {
  const WavefrontOBJ::OBJModel& model = loadModel(library, path);
  tellReading(inputName(path), passedOverLine(model._readNotes));
  return model;
}

std::uint32_t vertexCount(PluginLibrary& library) {
  return count(library, "vertexCount", library.model()->_vertices->count);
}

std::uint32_t faceCount(PluginLibrary& library) {
  return count(library, "faceCount", library.model()->_faces->count);
}

std::size_t groupCount(PluginLibrary& library) {
  return count(library, "groupCount", static_cast<std::uint32_t>(library.model()->_groupNames.size()));
}

std::vector<std::string> groupNames(PluginLibrary& library) {
  std::vector<std::string> names(groupCount(library));
  for (std::size_t i = 0; i < names.size(); ++i) {
    names[i] = library.call("GetOBJGroupInfo", "name", static_cast<double>(i + 1)).text;
  }
  return names;
}

std::vector<std::uint32_t> smoothingGroups(PluginLibrary& library) {
  std::vector<std::uint32_t> numbers(
      static_cast<std::size_t>(library.call("GetOBJSmoothGroupInfo", "count").value));
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const float number = library.call("GetOBJSmoothGroupInfo", "value", static_cast<double>(i + 1)).value;
    numbers[i] = PluginLibrary::exactCount(number, library.model()->_smoothingGroups[i]);
  }
  return numbers;
}

}  // namespace smthgrp
