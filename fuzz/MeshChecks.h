#pragma once

namespace fuzz {

/// Applies the current model's groups and smoothing groups to a host mesh that fits it, and to some that do
/// not, and requires what nested loops over plain vectors come to.
void requireMarksAsReference();

}  // namespace fuzz
