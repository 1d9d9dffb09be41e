#pragma once

#include <cstddef>

#include "image/psd/Cursor.h"

/// Run-length channel data as PSD files have them.
namespace psd {

/// Most bytes that `size` bytes of run-length data stand for.
std::size_t mostUnpacked(std::size_t size);

/// Reads records until `count` bytes are made, to `to` and every fourth byte from there. A header byte n, as
/// a signed number: above 0 the next n + 1 bytes are copied; otherwise the next byte is repeated 1 - n times,
/// -128 included. Of a record that goes past `count` the rest is dropped, after a debugging stop: the next
/// channel begins behind it, as the host's own files need it. False where the data end before that.
bool unpackBits(Reader& data, unsigned char* to, std::size_t count);

}  // namespace psd
