#include "smthgrp/model/ReadDocument.h"

#include <unistd.h>

#include "document/Lint.h"
#include "plugin/CallLimits.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/ReadingNote.h"
#include "smthgrp/model/FindingsLine.h"

namespace smthgrp {

void addThreads(CommandLine& line) {
  line.app()
      .add_option_function<unsigned>(
          "--threads", [](unsigned threads) { KSmthGrpImpt_SetThreads(threads); },
          "Threads that read large models at most, 1 to 64; by default one for each processor, up to 8")
      ->type_name("COUNT")
      ->check(CLI::Range(1U, 64U).description(""));
}

WavefrontOBJ::Result tryReadDocument(const std::string& path, WavefrontOBJ::OBJDocument& document) {
  WavefrontOBJ::Result result = tryReadDocument(path, document, 1);
  if (!result) return result;
  WavefrontOBJ::Findings findings(1);
  WavefrontOBJ::LintOptions materials;
  materials.numbers = materials.geometry = false;
  result = lint(document, materials, findings);
  findings.add(document.findings());
  if (const std::string text = findingsLine(findings); !text.empty()) {
    tellReading(inputName(path), text + "; see smthgrp lint");
  }
  return result;
}

WavefrontOBJ::Result tryReadDocument(const std::string& path, WavefrontOBJ::OBJDocument& document,
                                     std::size_t places) {
  ProgressBar bar("reading " + inputName(path));
  WavefrontOBJ::DocumentReadOptions options;
  options.placesPerKind = places;
  options.progress = bar.progress();
  return path == kStandardInput ? document.readDescriptor(STDIN_FILENO, inputName(path), options)
                                : document.read(path, options);
}

void readDocument(const std::string& path, WavefrontOBJ::OBJDocument& document) {
  require(tryReadDocument(path, document));
}

bool holdsNothing(const WavefrontOBJ::OBJDocument& document) {
  for (const WavefrontOBJ::OBJStatement& statement : document.statements())
    if (statement.kind != WavefrontOBJ::OBJStatement::Kind::unknown) return false;
  for (std::size_t kind = 0; kind < WavefrontOBJ::kVectorKinds; ++kind)
    if (document.vectorCount(static_cast<WavefrontOBJ::VectorKind>(kind)) != 0) return false;
  return document.faces().size() == 0 && document.lines().size() == 0 && document.points().size() == 0;
}

void requireModel(const WavefrontOBJ::OBJDocument& document) {
  if (!document.statements().empty() && holdsNothing(document)) {
    throw Failure(document.source().name() + ": there is nothing of a model in it");
  }
}

}  // namespace smthgrp
