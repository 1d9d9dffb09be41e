#pragma once

#include <string>

#include "c/Arguments.h"
#include "document/Findings.h"

namespace ksmth {

/// Tells the caller of each place that is kept.
void logFindings(const WavefrontOBJ::Findings& findings, const Listener& listener);

/// What stands for bytes in memory in messages; libraries are looked for in its folder. Null for the current
/// one, and for "memory".
std::string nameInFolder(const char* folder, const char* name);

}  // namespace ksmth
