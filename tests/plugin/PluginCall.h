#pragma once

#include "host/HostMesh.h"
#include "plugin/KOBJRev01.h"

/// A plug-in call as the host makes it, with something in the arguments that nobody reads.
inline float call(decltype(&Version) function, const char* text, double number = 0, char* block1 = nullptr,
                  void* hostData = nullptr) {
  return function(text, number, block1, 1, 2, 3, hostData);
}
inline float call(decltype(&Version) function, host::HostMesh& mesh, const char* key, double number = 0,
                  char* block1 = nullptr) {
  return call(function, key, number, block1, mesh.hostData());
}
