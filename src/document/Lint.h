#pragma once

#include "KSmthExport.h"
#include "document/Findings.h"
#include "document/OBJDocument.h"

namespace WavefrontOBJ {

struct LintOptions {
  bool numbers = true;    ///< look at every number of the vertex lines
  bool geometry = true;   ///< count duplicate faces, unused and coincident vertices
  bool materials = true;  ///< look for the libraries beside the file and for materials in them
  Progress progress;
};

/// Adds what the read did not look at to `findings`: numbers, geometry and material libraries. Those of the
/// read are in `document.findings()`. Fails when the source does, or is cancelled; time is linear. Libraries
/// are looked for in the folder of the document's name, see `Materials.h`.
KSMTH_API Result lint(const OBJDocument& document, const LintOptions& options, Findings& findings);

}  // namespace WavefrontOBJ
