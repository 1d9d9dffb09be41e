#pragma once

#include <string>

#include "plugin/KOBJRev01.h"

// The plug-in calls with the arguments that they do not read left out.

namespace fuzz {

inline float loadModel(const std::string& path, char* errorText) {
  return LoadOBJFile(path.c_str(), 0.0, errorText, 0, 0, 0, nullptr);
}
inline void freeModel() {
  FreeOBJModel(nullptr, 0.0, nullptr, 0, 0, 0, nullptr);
}
inline float replaceVertices(const std::string& path) {
  return ReplaceOBJVertices(path.c_str(), 0.0, nullptr, 0, 0, 0, nullptr);
}
inline float modelInfo(const char* key) {
  return GetOBJInfo(key, 0.0, nullptr, 0, 0, 0, nullptr);
}
inline float groupInfo(const char* key, double number, char* name) {
  return GetOBJGroupInfo(key, number, name, 0, 0, 0, nullptr);
}
inline float smoothGroupInfo(const char* key, double number) {
  return GetOBJSmoothGroupInfo(key, number, nullptr, 0, 0, 0, nullptr);
}
inline float exportGroup(const std::string& path, double number) {
  return ExportOBJGroup(path.c_str(), number, nullptr, 0, 0, 0, nullptr);
}
inline float exportSmoothGroup(const std::string& path, double number) {
  return ExportOBJSmoothGroup(path.c_str(), number, nullptr, 0, 0, 0, nullptr);
}

}  // namespace fuzz
