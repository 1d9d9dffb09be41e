#include "smthgrp/common/LastResort.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include "document/Output.h"
#include "smthgrp/common/Failure.h"

namespace smthgrp {
namespace {

void tellNoMemory() {
  std::fputs("smthgrp: not enough memory\n", stderr);
}

/// That of a JSON value is such a destructor.
[[noreturn]] void endForWantOfMemory() {
  try {
    if (const std::exception_ptr failure = std::current_exception()) std::rethrow_exception(failure);
  } catch (const std::bad_alloc&) {
    WavefrontOBJ::Output::removeTemporaries();
    tellNoMemory();
    std::_Exit(kDataError);
  } catch (...) {
    std::abort();
  }
  std::abort();
}

}  // namespace

int exitStatusOf(const std::function<int()>& program) {
  std::set_terminate(endForWantOfMemory);
  try {
    return program();
  } catch (const std::bad_alloc&) {
    tellNoMemory();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "smthgrp: %s\n", error.what());
  }
  return kDataError;
}

}  // namespace smthgrp
