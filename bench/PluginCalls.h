#pragma once

#include <string>

#include "plugin/KOBJRev01.h"

// The plug-in calls as a host makes them, with the arguments that they do not read left out.

namespace bench {

inline float loadModel(const std::string& path) {
  return LoadOBJFile(path.c_str(), 0.0, nullptr, 0, 0, 0, nullptr);
}
inline void freeModel() {
  FreeOBJModel(nullptr, 0.0, nullptr, 0, 0, 0, nullptr);
}
inline float modelInfo(const char* key) {
  return GetOBJInfo(key, 0.0, nullptr, 0, 0, 0, nullptr);
}
inline float groupVertexCount(double group) {
  return GetOBJGroupInfo("vertexCount", group, nullptr, 0, 0, 0, nullptr);
}
inline float exportGroup(const std::string& path, double group) {
  return ExportOBJGroup(path.c_str(), group, nullptr, 0, 0, 0, nullptr);
}
inline float exportSmoothingGroup(const std::string& path, double group) {
  return ExportOBJSmoothGroup(path.c_str(), group, nullptr, 0, 0, 0, nullptr);
}

inline float markGroup(const char* key, double group, void* hostData) {
  return SetMesh3DFromOBJGroup(key, group, nullptr, 0, 0, 0, hostData);
}

}  // namespace bench
