#pragma once

#include "obj/OBJFaceView.h"

// For this folder alone: not part of the library's interface.

namespace WavefrontOBJ {

class OBJVectorArray;

/// Normal and centre of a face, computed as `OBJFace::getNormal` and `getCenter` say.
OBJFaceGeometry faceGeometry(const OBJFaceView& face, const OBJVectorArray& vertices);

}  // namespace WavefrontOBJ
