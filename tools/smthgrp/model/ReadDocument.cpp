#include "smthgrp/model/ReadDocument.h"

#include <unistd.h>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"

namespace smthgrp {

std::string inputName(const std::string& path) {
  return path == kStandardInput ? "standard input" : path;
}

WavefrontOBJ::Result tryReadDocument(const std::string& path, WavefrontOBJ::OBJDocument& document) {
  ProgressBar bar("reading " + inputName(path));
  WavefrontOBJ::DocumentReadOptions options;
  options.progress = bar.progress();
  return path == kStandardInput ? document.readDescriptor(STDIN_FILENO, inputName(path), options)
                                : document.read(path, options);
}

void readDocument(const std::string& path, WavefrontOBJ::OBJDocument& document) {
  require(tryReadDocument(path, document));
}

void require(const WavefrontOBJ::Result& result) {
  if (!result) throw Failure(result.text);
}

}  // namespace smthgrp
