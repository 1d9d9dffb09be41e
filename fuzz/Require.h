#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

/// Ends the process where something that always holds does not: the fuzzer keeps the input.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

}  // namespace fuzz
