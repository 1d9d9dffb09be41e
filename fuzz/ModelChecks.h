#pragma once

#include "obj/OBJModel.h"

namespace fuzz {

/// Requires that the two models, read from the same file in different ways, are equal in everything that a
/// read fills, to the bit.
void requireEqual(const WavefrontOBJ::OBJModel& a, const WavefrontOBJ::OBJModel& b);

/// Requires what holds for every model that has been read, however the read ended.
void requireSound(const WavefrontOBJ::OBJModel& model);

/// Requires that `ExtractGroup` answers the group's vertex range and faces.
void requireSoundExtract(const WavefrontOBJ::OBJModel& model, std::uint32_t group);

/// True if every index of every face names an element that the model has. Relative indices may name one past
/// the last.
bool indicesExist(const WavefrontOBJ::OBJModel& model);

}  // namespace fuzz
