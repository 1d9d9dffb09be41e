#pragma once

namespace WavefrontOBJ {

/// Tells the processor that the bytes at `address` are wanted soon.
inline void prefetch(const void* address) {
  __builtin_prefetch(address);
  // A function that does nothing else would be taken for one without effects, and calls of it left out.
  asm volatile("");
}

}  // namespace WavefrontOBJ
