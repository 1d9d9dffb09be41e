#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "KSmthExport.h"
#include "document/DocumentWriter.h"
#include "document/OBJDocument.h"
#include "document/Result.h"
#include "document/Sink.h"

namespace WavefrontOBJ {

struct MergeOptions {
  bool concatenate = false;  ///< pass over what files say of where they come from
  bool weld = false;         ///< make vertex lines of different files with the same words one
  /// Names for the libraries of each document, see `WriteOptions::libraries`; empty for those that they have.
  std::vector<std::vector<std::string>> libraries;
  Progress progress;
};

struct MergeReport {
  WriteCounts counts;
  std::uint32_t documents = 0;  ///< that were put together from parts
  std::uint64_t missing = 0;    ///< vertex lines, elements and statements of those that no part has
  std::uint64_t differing = 0;  ///< vertex lines that are not alike in all parts; the first file's holds
  std::string firstDiffering;   ///< where the first of them stands, for people
  std::uint64_t welded = 0;     ///< vertex lines left out for others with the same words
};

/// Writes several documents as one. Parts of one document, as `DocumentSplit` writes them, become that
/// document again: vertex lines and elements are in its order, those of several parts are written once.
/// Other documents follow one another in the order given, with their indices shifted; groups, materials and
/// objects of the same name become one.
///
/// Fails with `Status::changed` when a file says that it is a part but does not hold what it says, otherwise
/// as sources and sink do; the sink has got an incomplete file then.
KSMTH_API Result merge(std::span<const OBJDocument* const> documents, const MergeOptions& options, Sink& sink,
                       MergeReport* report = nullptr);

}  // namespace WavefrontOBJ
