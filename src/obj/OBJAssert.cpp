#include "obj/OBJAssert.h"

#include <algorithm>
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
thread_local unsigned sAnswering = 0;  ///< `OBJAnsweredAssertions` of the thread

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

namespace WavefrontOBJ {

std::string_view OBJFailedAssertion::text(std::array<char, 256>& buffer) const noexcept {
  const int length =
      std::snprintf(buffer.data(), buffer.size(), "Assertion failed: %s, function %s, file %s, line %d.",
                    expression, function, file, line);
  return {buffer.data(), std::min(static_cast<std::size_t>(std::max(length, 0)), buffer.size() - 1)};
}

OBJAnsweredAssertions::OBJAnsweredAssertions() noexcept {
  ++sAnswering;
}

OBJAnsweredAssertions::~OBJAnsweredAssertions() {
  --sAnswering;
}

bool OBJAnsweredAssertions::areAnswered() noexcept {
  return sAnswering != 0;
}

void OBJAssertionFailed(const char* function, const char* file, int line, const char* expression) {
  if (sAnswering != 0) throw OBJFailedAssertion{function, file, line, expression};
  const OBJAssertionHandler handler = sAssertionHandler;
  if (handler == nullptr) platformAssertionFailed(function, file, line, expression);
  handler(function, file, line, expression);
  std::abort();
}

}  // namespace WavefrontOBJ
