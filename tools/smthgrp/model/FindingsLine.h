#pragma once

#include <string>

#include "document/Findings.h"

namespace smthgrp {

/// What a read left out or doubted, without notes and what concerns the host alone: "2 places left out, 1
/// doubted, the first in line 7: unknown statement". Empty when there is nothing to say.
std::string findingsLine(const WavefrontOBJ::Findings& findings);

}  // namespace smthgrp
