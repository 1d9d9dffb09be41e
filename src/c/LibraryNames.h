#pragma once

#include <string>
#include <vector>

#include "c/Arguments.h"
#include "document/OBJDocument.h"

namespace ksmth {

/// The names of a document's libraries in a file in another folder; empty where they stay.
std::vector<std::string> libraryNames(const WavefrontOBJ::OBJDocument& document,
                                      const KSmthWriteOptions& options, const Target& target,
                                      const Listener& listener);

}  // namespace ksmth
