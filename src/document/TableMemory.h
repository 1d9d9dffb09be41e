#pragma once

#include <cstddef>

#include "KSmthExport.h"

namespace WavefrontOBJ {

/// The memory of a growing table. Small ones come from the allocator. Large ones are pages of their own,
/// large pages where the system has them, which it moves without copying them: so a table of millions of rows
/// is never twice in memory, and grows as fast in a process that has freed much as in a fresh one.
///
/// A block of `bytes`, null and 0 for none, becomes one of `newBytes`, not 0, with what both have room for.
/// Null, with the block as it was, without memory.
KSMTH_API void* resizeTable(void* block, std::size_t bytes, std::size_t newBytes);
/// The room that a table which grows to `bytes` had best ask for: as much, or a little more. Room that it
/// turns out not to need is given back by another `resizeTable`.
KSMTH_API std::size_t growingTableRoom(std::size_t bytes);
KSMTH_API void freeTable(void* block, std::size_t bytes);

}  // namespace WavefrontOBJ
