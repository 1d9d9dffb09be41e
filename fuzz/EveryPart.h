#pragma once

namespace fuzz {

/// Set: the target does everything that it can do with each input. By default it does a part that the input
/// chooses, which is several times faster.
extern bool gEveryPart;

}  // namespace fuzz
