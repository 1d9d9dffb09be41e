#include "smthgrp/plugin/CurrentModel.h"

#include <string_view>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/InputFile.h"
#include "smthgrp/common/TerminalText.h"

namespace smthgrp {
namespace {

constexpr std::size_t kReasonWidth = 160;

struct Reason {
  std::string_view text;     ///< how the library begins the message; the OBJ line follows
  std::string_view english;  ///< what to say instead; empty: the library's words will do
};
constexpr Reason kReasons[] = {
    {"Vertex 0 invalid at (", "a face names vertex 0"},
    {"Vertex not found at (", "a face names a vertex that the file has not given"},
    {"Coordinate of texture 0 invalid at (", "a face names texture coordinate 0"},
    {"Coordinate of texture invalid at (", "a face names a texture coordinate that the file has not given"},
    {"Normal of vertex 0 invalid at ", "a face names normal 0"},
    {"Usage of non valid normal for vertex at (", "a face names a normal that the file has not given"},
    {"OBJ file not found: ", ""},
    {"Not enough memory.", ""}};

/// The reason that ended a read. The library's text holds the messages of all lines passed over before it,
/// in part without a separator.
std::string lastReason(std::string_view text, const std::string& path) {
  while (text.ends_with('\n')) text.remove_suffix(1);
  text.remove_prefix(text.rfind('\n') + 1);
  const Reason* reason = nullptr;
  std::size_t start = 0;
  for (const Reason& candidate : kReasons) {
    const std::size_t found = text.rfind(candidate.text);
    if (found == std::string_view::npos || (reason != nullptr && found < start)) continue;
    reason = &candidate;
    start = found;
  }
  text.remove_prefix(start);
  if (reason == nullptr || reason->english.empty()) return std::string(text);
  text.remove_prefix(reason->text.size());
  const std::string where = ") in " + path;
  if (text.ends_with(where)) text.remove_suffix(where.size());
  return std::string(reason->english) + ": " + std::string(text);
}

std::uint32_t count(PluginLibrary& library, const char* key, std::uint32_t field) {
  return PluginLibrary::exactCount(library.call("GetOBJInfo", key).value, field);
}

}  // namespace

const WavefrontOBJ::OBJModel& loadModel(PluginLibrary& library, const std::string& path) {
  requireReadable(path);
  PluginLibrary::workOn(path);
  const PluginLibrary::Answer answer = library.call("LoadOBJFile", path.c_str());
  if (answer.value < 0) throw Failure(path + ": " + printable(lastReason(answer.text, path), kReasonWidth));
  if (library.model() == nullptr) throw Failure(path + ": not enough memory");
  return *library.model();
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
