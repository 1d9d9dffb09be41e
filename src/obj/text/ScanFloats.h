#pragma once

#include <string_view>

namespace WavefrontOBJ {

/// Converts up to three numbers as `sscanf(text, "%f %f %f")` does in the C locale: decimal and hexadecimal,
/// "inf", "infinity", "nan", with signs, exponents and the same partial matches. `text` ends at its end or at
/// a NUL. Answers the number of values converted; the others stay as they were. Details that the C standard
/// forbids but C libraries agree on follow them: "1e+" converts to 1 and is used up whole.
int scanThreeFloats(std::string_view text, float values[3]);

}  // namespace WavefrontOBJ
