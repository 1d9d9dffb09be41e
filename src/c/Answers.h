#pragma once

#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "c/KSmthGrp.h"
#include "document/Result.h"
#include "obj/OBJAssert.h"

namespace ksmth {

/// Ends the work of a call.
struct Failure {
  KSmthStatus status;
  std::string text;
};

/// Keeps the reason for `ksmth_error_text` and answers `status`.
KSmthStatus failed(KSmthStatus status, std::string_view text) noexcept;
KSmthStatus failed(const WavefrontOBJ::OBJFailedAssertion& assertion) noexcept;

/// Throws a `Failure` unless all went well.
void require(WavefrontOBJ::Result result);
inline void requireArgument(bool holds, const char* reason) {
  if (!holds) throw Failure{KSMTH_BAD_ARGUMENT, reason};
}

/// The work of a call, from which no exception leaves. Assertions that fail meanwhile are answered.
template <class Work>
KSmthStatus answering(Work work) noexcept {
  try {
    const WavefrontOBJ::OBJAnsweredAssertions assertions;
    work();
    return KSMTH_OK;
  } catch (const Failure& failure) {
    return failed(failure.status, failure.text);
  } catch (const WavefrontOBJ::OBJFailedAssertion& assertion) {
    return failed(assertion);
  } catch (const std::bad_alloc&) {
    return failed(KSMTH_OUT_OF_MEMORY, ksmth_status_text(KSMTH_OUT_OF_MEMORY));
  } catch (const std::exception& error) {
    return failed(KSMTH_FAILED, error.what());
  } catch (...) {
    return failed(KSMTH_FAILED, ksmth_status_text(KSMTH_FAILED));
  }
}

/// Turns all of an open or list function's failures into a null result. `result` may be null.
template <class T, class Work>
KSmthStatus answeringWith(T* result, Work work) noexcept {
  if (result == nullptr) return failed(KSMTH_BAD_ARGUMENT, "no place for the result");
  *result = nullptr;
  return answering([&] { *result = work(); });
}

}  // namespace ksmth
