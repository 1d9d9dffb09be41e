#pragma once

#include <string>

#include "obj/OBJReadNotes.h"

namespace smthgrp {

/// What a person and a script call a kind of note.
struct NoteText {
  const char* key;
  const char* reason;
};
NoteText noteText(WavefrontOBJ::OBJReadNote::Kind kind);

/// "3 lines passed over, the first is line 7: unknown line"; empty when there are none.
std::string passedOverLine(const WavefrontOBJ::OBJReadNotes& notes);

}  // namespace smthgrp
