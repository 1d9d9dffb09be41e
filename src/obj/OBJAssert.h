#pragma once

#include <array>
#include <string_view>

#include "KSmthExport.h"

extern "C" {
/// What a failed assertion of the OBJ model calls. It must not return: it ends the process, or leaves by an
/// exception (which a plug-in call turns into its failure result). If it returns, the process is aborted.
using OBJAssertionHandler = void (*)(const char* function, const char* file, int line,
                                     const char* expression);

/// Replaces the target of `OBJAssertionFailed` for a program that embeds the library.
/// Null restores the default, the platform's assertion routine. Answers the previous target, null for the
/// default. It holds for all threads.
KSMTH_API OBJAssertionHandler OBJSetAssertionHandler(OBJAssertionHandler handler);
}

namespace WavefrontOBJ {

/// What a failed assertion throws where it is answered. The texts stay valid.
struct KSMTH_API OBJFailedAssertion {
  const char* function;
  const char* file;
  int line;
  const char* expression;

  /// The whole in one line for people.
  std::string_view text(std::array<char, 256>& buffer) const noexcept;
};

/// While one lives, assertions that fail on its thread throw an `OBJFailedAssertion` and call no handler; of
/// a smoothing table that is full nothing is logged. The model that was being read is to be given up.
class KSMTH_API OBJAnsweredAssertions {
 public:
  OBJAnsweredAssertions() noexcept;
  OBJAnsweredAssertions(const OBJAnsweredAssertions&) = delete;
  OBJAnsweredAssertions& operator=(const OBJAnsweredAssertions&) = delete;
  ~OBJAnsweredAssertions();

  /// One lives on this thread.
  static bool areAnswered() noexcept;
};

/// Ends the process because an invariant of the OBJ model is broken: an index past the allocated blocks, an
/// 89th corner, a 257th smoothing group, an output file that cannot be opened.
/// `function`, `file`, `line` and `expression` are fixed by the host's contract; they do not follow this
/// source tree.
[[noreturn]] KSMTH_API void OBJAssertionFailed(const char* function, const char* file, int line,
                                               const char* expression);

}  // namespace WavefrontOBJ
