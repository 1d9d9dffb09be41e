#pragma once

#include <cstddef>
#include <cstdint>

/// Writes `count` pixels of 32 bits of one value.
void fillPixels(unsigned char* to, std::uint32_t value, std::size_t count);
