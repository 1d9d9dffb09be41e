#pragma once

#include <string>
#include <vector>

#include "KSmthExport.h"
#include "document/DocumentWriter.h"
#include "document/FixReport.h"
#include "document/OBJDocument.h"
#include "document/Sink.h"

namespace WavefrontOBJ {

struct FixOptions {
  bool objects = false;  ///< puts faces of an object into a group of its name as well
  bool oneName = false;  ///< makes one name of the names on a "g" line: "left_ear" of "left ear"
  /// Names for `OBJDocument::libraries`, as in `WriteOptions`; null for the document's own.
  const std::vector<std::string>* libraries = nullptr;
  Progress progress;
};

/// Writes the same model in a form that every reader and the host (`OBJModel::read`) read alike: absolute
/// indices, vertex lines in front, LF, joined lines of at most 1,024 characters, finite numbers, faces of at
/// most 88 corners and no vertex twice, at most 255 smoothing numbers. `report` lists what was changed for
/// it, what had to be left out, and what stays that cannot be said to the host.
///
/// What it writes is not changed when it is fixed again with the same options. Time is linear, but for the
/// neighbourhood of smoothing groups where they are renumbered, which is sorted. Libraries are looked for in
/// the folder of the document's name. Fails as `DocumentWriter::write` does.
KSMTH_API Result fix(const OBJDocument& document, const FixOptions& options, Sink& sink, FixReport& report,
                     WriteCounts* counts = nullptr);

}  // namespace WavefrontOBJ
