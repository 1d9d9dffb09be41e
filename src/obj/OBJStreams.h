#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace WavefrontOBJ {

/// Where a text comes from that is no file: writes its next bytes, at most `bytes`, to `buffer` and answers
/// how many. Fewer than asked for are the last. It is called on the thread that reads, however many work for
/// that, and then before what stands ahead has been read. What it throws leaves the read, but for
/// std::bad_alloc; a last line's length of what came before may not have been read then.
using OBJByteSource = std::function<std::size_t(char* buffer, std::size_t bytes)>;

/// Where a text goes that becomes no file: takes the next piece of it, or answers false, which ends the
/// write. What it throws leaves the write.
using OBJByteSink = std::function<bool(std::string_view piece)>;

}  // namespace WavefrontOBJ
