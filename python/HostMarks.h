#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "document/OBJDocument.h"
#include "obj/OBJModel.h"
#include "plugin/ModelMarks.h"

namespace ksmthgrp {

/// The host's model of a document's file, and what the plug-in's calls would write to a host's mesh. Any
/// number of threads may use one.
class HostMarks {
 public:
  /// A group by its name, or a smoothing group by its number.
  struct Group {
    std::string name;
    std::optional<std::uint64_t> smoothing;
  };

  /// Reads the document's file as the host does. Fails with `Status::notText` where the host's reader ends
  /// Reads the document's file as the host does. Fails with `Status::notText` where the host's reader ends
  /// before the file does, or the host with it.
  static WavefrontOBJ::Result read(const WavefrontOBJ::OBJDocument& document,
                                   const WavefrontOBJ::Progress& progress, std::unique_ptr<HostMarks>& marks);

  /// The mask byte of each vertex of a mesh without masks; nothing for a group that the host does not have.
  std::optional<std::vector<std::uint8_t>> mask(const Group& group, std::uint8_t value);
  /// The crease byte of each face of a mesh without creases. Throws std::bad_alloc.
  std::optional<std::vector<std::uint8_t>> creases(const Group& group);

 private:
  std::optional<MarkedGroup> find(const Group& group) const;

  WavefrontOBJ::OBJModel model_{true};
  std::mutex mutex_;  ///< creasing adds to the model
};

}  // namespace ksmthgrp
