#pragma once

#include <string>

#include "obj/OBJReadNotes.h"

namespace smthgrp {

/// "3 lines passed over, the first is line 7: unknown line"; empty when there are none.
std::string passedOverLine(const WavefrontOBJ::OBJReadNotes& notes);

}  // namespace smthgrp
