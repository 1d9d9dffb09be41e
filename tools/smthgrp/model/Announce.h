#pragma once

#include <cstdint>
#include <cstdio>

#include "document/DocumentWriter.h"
#include "document/Output.h"
#include "smthgrp/common/TerminalText.h"

namespace smthgrp {

/// Prints what an output got, unless it went to a device, a pipe or standard output.
inline void announce(const WavefrontOBJ::Output& output, std::uint64_t vertices, std::uint64_t faces) {
  if (output.isDirect()) return;
  std::printf("%s: %s, %s\n", printable(output.path()).c_str(),
              counted(vertices, "vertex", "vertices").c_str(), counted(faces, "face").c_str());
}

inline void announce(const WavefrontOBJ::Output& output, const WavefrontOBJ::WriteCounts& counts) {
  announce(output, counts.vectors[0], counts.elements[0]);
}

}  // namespace smthgrp
