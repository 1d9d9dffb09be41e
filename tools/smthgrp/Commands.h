#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "smthgrp/PluginLibrary.h"

// The subcommands. Each prints to standard output and throws a Failure for what it cannot do.

namespace smthgrp {

struct InfoRequest {
  std::string model;
  bool json = false;
  bool all = false;  ///< list every line passed over that the library has kept
};
void runInfo(PluginLibrary& library, const InfoRequest& request);

struct ExportRequest {
  std::string model;
  std::string output;                           ///< "-" for standard output
  std::optional<std::string> group;             ///< name or index
  std::optional<std::uint32_t> smoothingGroup;  ///< number, not index
};
void runExport(PluginLibrary& library, const ExportRequest& request);

struct ReplaceRequest {
  std::string model;
  std::string positions;
  std::string output;  ///< "-" for standard output
};
void runReplace(PluginLibrary& library, const ReplaceRequest& request);

struct SplitRequest {
  std::string model;
  std::string folder;
};
void runSplit(PluginLibrary& library, const SplitRequest& request);

/// One mark for the host's mesh, or the value of the masks behind it.
struct MeshStep {
  enum class Kind { maskValue, mask, crease };
  enum class Of { group, smoothingGroup, everySmoothingGroup };

  Kind kind = Kind::mask;
  Of of = Of::group;
  std::string group{};       ///< name or index
  std::uint32_t number = 0;  ///< of the smoothing group, or the mask value
};

struct MeshRequest {
  std::string model;
  std::optional<std::string> output;  ///< "-" for standard output
  std::vector<MeshStep> steps;        ///< in the order of the command line
  bool json = false;
};
void runMesh(PluginLibrary& library, const MeshRequest& request);

struct CallRequest {
  std::optional<std::string> name;
  std::optional<std::string> text;
  std::optional<std::string> number;
  std::string script = "-";  ///< read where no name is given; "-" for standard input
};
void runCall(PluginLibrary& library, const CallRequest& request);

}  // namespace smthgrp
