#pragma once

#include "obj/OBJReadNotes.h"

namespace smthgrp {

/// What a person and a script call a kind of note.
struct NoteText {
  const char* key;
  const char* reason;
};
NoteText noteText(WavefrontOBJ::OBJReadNote::Kind kind);

}  // namespace smthgrp
