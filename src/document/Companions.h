#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "KSmthExport.h"
#include "document/OBJDocument.h"
#include "document/Output.h"
#include "document/Result.h"
#include "document/Sink.h"

namespace WavefrontOBJ {

/// A file that comes along.
struct CompanionCopy {
  std::string from;
  std::string to;
};

/// What becomes of a document's material libraries, and of the textures that these name, in a file in another
/// folder.
struct Companions {
  std::vector<std::string> libraries;  ///< for `WriteOptions::libraries`; empty where names can stay
  std::vector<CompanionCopy> copies;   ///< without those that are there already
  std::vector<std::string> warnings;   ///< a line of text for people each
};

/// Looks for the libraries of `document` beside it. Without `copy` their names are made relative to `folder`,
/// where the new file is to lie; with `copy` they and their textures are to be copied there, under the names
/// that they have relative to the document, or by their own name where those lead elsewhere. A library that
/// is not there keeps its name, with a warning. Fails with `Status::writeFailed` when a copy would replace a
/// file of other content, one that is there or one of those to come, otherwise as sources do.
///
/// `folder` is a path, "" for the current folder; `others` are copies planned for other documents, to be made
/// together with these, which has none of them twice.
KSMTH_API Result planCompanions(const OBJDocument& document, const std::string& folder, bool copy,
                                Companions& companions, std::span<const CompanionCopy> others = {});

/// Makes the copies that are planned, as finished outputs behind those that `outputs` has, to be committed
/// with them, and the folders that they lie in.
KSMTH_API Result makeCopies(const Companions& companions, std::vector<std::unique_ptr<Output>>& outputs);

/// Copies the bytes of a regular file.
KSMTH_API Result copyFile(const std::string& from, Sink& to);

}  // namespace WavefrontOBJ
