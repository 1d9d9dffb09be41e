#include "obj/OBJAssert.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

#if defined(__GLIBC__)
// <cassert> declares it only in builds with assertions; this contract holds in every build.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" [[noreturn]] void __assert_fail(const char* expression, const char* file, unsigned line,
                                           const char* function) noexcept;
#elif defined(__APPLE__)
extern "C" [[noreturn]] void __assert_rtn(const char* function, const char* file, int line,
                                          const char* expression);
#endif

namespace {

std::atomic<OBJAssertionHandler> sAssertionHandler = nullptr;

[[noreturn]] void platformAssertionFailed(const char* function, const char* file, int line,
                                          const char* expression) {
#if defined(__GLIBC__)
  __assert_fail(expression, file, static_cast<unsigned>(line), function);
#elif defined(__APPLE__)
  __assert_rtn(function, file, line, expression);
#else
  std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, function, expression);
  std::abort();
#endif
}

}  // namespace

OBJAssertionHandler OBJSetAssertionHandler(OBJAssertionHandler handler) {
  return sAssertionHandler.exchange(handler);
}

void WavefrontOBJ::OBJAssertionFailed(const char* function, const char* file, int line,
                                      const char* expression) {
  const OBJAssertionHandler handler = sAssertionHandler;
  if (handler == nullptr) platformAssertionFailed(function, file, line, expression);
  handler(function, file, line, expression);
  std::abort();
}
