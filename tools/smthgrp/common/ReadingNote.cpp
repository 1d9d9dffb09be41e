#include "smthgrp/common/ReadingNote.h"

#include <cstdio>

#include "smthgrp/common/TerminalText.h"

namespace smthgrp {
namespace {

/// One for the process, as standard error is.
bool quiet = false;

}  // namespace

void addQuiet(CommandLine& line) {
  line.app().add_flag("--quiet", quiet, "Do not tell what reading a model left out or doubted");
}

void tellReading(const std::string& file, const std::string& text) {
  if (quiet || text.empty()) return;
  std::fprintf(stderr, "smthgrp: note: %s: %s\n", printable(file).c_str(), printable(text).c_str());
}

}  // namespace smthgrp
