#pragma once

#include <cstddef>
#include <string>

#include "document/OBJDocument.h"
#include "smthgrp/common/CommandLine.h"
#include "smthgrp/common/InputFile.h"

namespace smthgrp {

/// The option --threads of all commands.
void addThreads(CommandLine& line);

/// Reads the OBJ file at `path`, `kStandardInput` for what comes in there, as its author wrote it; a bar on
/// the terminal shows how far. What the answer says begins with the file's name. What the read left out or
/// doubted, and libraries and materials that are not there, are told in one line on standard error.
WavefrontOBJ::Result tryReadDocument(const std::string& path, WavefrontOBJ::OBJDocument& document);

/// The same without that line, for commands that list what was doubted: `places` of each kind are kept.
WavefrontOBJ::Result tryReadDocument(const std::string& path, WavefrontOBJ::OBJDocument& document,
                                     std::size_t places);

/// The same for commands that cannot go on without the document: throws a Failure that says why.
void readDocument(const std::string& path, WavefrontOBJ::OBJDocument& document);

/// The document has no vector, no element and no statement that the format knows.
bool holdsNothing(const WavefrontOBJ::OBJDocument& document);
/// Throws a Failure for the document of a file that holds nothing, but statements of something else: what
/// would be written is empty.
void requireModel(const WavefrontOBJ::OBJDocument& document);

}  // namespace smthgrp
