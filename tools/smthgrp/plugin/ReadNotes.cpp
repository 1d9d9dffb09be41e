#include "smthgrp/plugin/ReadNotes.h"

#include "smthgrp/common/TerminalText.h"

namespace smthgrp {

std::string passedOverLine(const WavefrontOBJ::OBJReadNotes& notes) {
  if (notes.kept.empty()) return "";
  const WavefrontOBJ::OBJReadNote& first = notes.kept[0];
  return counted(notes.total, "line") + " passed over, " + (notes.total > 1 ? "the first " : "") + "line " +
         std::to_string(first.lineNumber) + ": " + noteText(first.kind).reason;
}

}  // namespace smthgrp
