#pragma once

#include <string>
#include <vector>

#include "document/OBJDocument.h"
#include "smthgrp/plugin/PluginOptions.h"

namespace smthgrp {

/// The groups of a document as the host has them.
struct HostGroups {
  std::vector<std::string> names;  ///< in the order of the host's indices
  std::string error;               ///< why the host cannot read the file; empty when it can
};

/// Loads the document's file through the plug-in, unless its findings tell that the groups are the document's
/// anyway. The load is a process of its own, since the library ends the process at some limits.
HostGroups hostGroups(const PluginOptions& plugin, const WavefrontOBJ::OBJDocument& document);

}  // namespace smthgrp
