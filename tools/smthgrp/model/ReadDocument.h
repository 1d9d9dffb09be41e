#pragma once

#include <string>

#include "document/OBJDocument.h"

namespace smthgrp {

/// The path that stands for standard input.
inline constexpr const char* kStandardInput = "-";

/// `path` as messages call it.
std::string inputName(const std::string& path);

/// Reads the OBJ file at `path`, `kStandardInput` for what comes in there, as its author wrote it; a bar on
/// the terminal shows how far. What the answer says begins with the file's name.
WavefrontOBJ::Result tryReadDocument(const std::string& path, WavefrontOBJ::OBJDocument& document);

/// The same for commands that cannot go on without the document: throws a Failure that says why.
void readDocument(const std::string& path, WavefrontOBJ::OBJDocument& document);

/// Throws a Failure that says what `result` says, unless all went well.
void require(const WavefrontOBJ::Result& result);

}  // namespace smthgrp
