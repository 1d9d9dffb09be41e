#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "document/Companions.h"
#include "document/DocumentWriter.h"
#include "document/Output.h"
#include "document/Selection.h"
#include "document/SelectionPatterns.h"
#include "smthgrp/common/CommandLine.h"

namespace smthgrp {

/// What is to be written of a document, and how: the options that several commands have.
struct PartOptions {
  WavefrontOBJ::SelectionPatterns patterns;
  bool keepOrder = false;
  bool noSmoothing = false;
  bool noMaterials = false;
  bool copyMaterials = false;
  bool asHost = false;
};

/// What the help says about the words of the options.
inline constexpr const char* kPatternHelp =
    R"(Names may be patterns as in a shell ("arm_*"), indices of groups and numbers of
smoothing groups may be ranges ("2-5", "7-"). Several of one kind choose the
elements of all of them; of several kinds an element has to satisfy each.)";

/// --group, --smoothing-group, --object, --material, --keep-order, --no-smoothing.
void addSelection(CLI::App& command, PartOptions& options);
/// --no-materials, --copy-materials.
void addMaterials(CLI::App& command, PartOptions& options);
/// --as-host.
void addAsHost(CLI::App& command, PartOptions& options);
/// Throws a Failure where the command line has options with --as-host that do not go with it.
void requireAsHostAlone(const CLI::App& command, const std::vector<std::string>& goesWith);

/// Throws a Failure with similar names where one of the words means nothing in the document.
WavefrontOBJ::Selection selectionOf(const WavefrontOBJ::OBJDocument& document, const PartOptions& options);

WavefrontOBJ::WriteOptions writeOptions(const PartOptions& options);

/// The names for a document's libraries in `folder`. With --copy-materials the copies to be made of them and
/// their textures are added to those that `companions` has. Prints what cannot be done.
std::vector<std::string> planLibraries(const WavefrontOBJ::OBJDocument& document, const PartOptions& options,
                                       const std::string& folder, WavefrontOBJ::Companions& companions);

/// The same for the only document: the copies are added to `outputs`, written and finished.
std::vector<std::string> takeLibraries(const WavefrontOBJ::OBJDocument& document, const PartOptions& options,
                                       const std::string& folder,
                                       std::vector<std::unique_ptr<WavefrontOBJ::Output>>& outputs);

/// Has `write` write a document, or what is chosen of it, to an open output, with a bar on the terminal. Puts
/// it and the libraries that come along in their places and prints what was written.
void writeAndCommit(const WavefrontOBJ::OBJDocument& document, const PartOptions& options,
                    std::unique_ptr<WavefrontOBJ::Output> output,
                    const std::function<WavefrontOBJ::Result(const WavefrontOBJ::WriteOptions& options,
                                                             WavefrontOBJ::Sink& sink,
                                                             WavefrontOBJ::WriteCounts* counts)>& write);

}  // namespace smthgrp
