#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "c/Answers.h"
#include "document/Output.h"
#include "document/Result.h"
#include "document/Sink.h"

namespace ksmth {

/// The struct of a caller, as this version has it: fields that the caller's lacks are 0. Refuses one of a
/// later version that says something there.
template <class T>
T taken(const T* given) {
  T result{};
  if (given == nullptr) return result;
  requireArgument(given->size >= sizeof given->size, "a struct's size is not set");
  const char* const bytes = reinterpret_cast<const char*>(given);
  if (given->size > sizeof(T)) {
    requireArgument(std::all_of(bytes + sizeof(T), bytes + given->size, [](char byte) { return byte == 0; }),
                    "options of a later version");
  }
  std::memcpy(&result, bytes, std::min(given->size, sizeof(T)));
  return result;
}

/// A copy of the caller's bytes.
inline std::string textOf(const void* bytes, std::size_t size) {
  requireArgument(bytes != nullptr || size == 0, "no bytes");
  return {static_cast<const char*>(bytes), size};
}

/// Fills in a caller's struct, as far as it goes; null for none.
template <class T>
void fill(T* given, T values) {
  if (given == nullptr) return;
  values.size = given->size;
  std::memcpy(static_cast<void*>(given), &values, std::min(given->size, sizeof(T)));
}
/// To be asked before the work is done.
template <class T>
void requireRoom(const T* given) {
  requireArgument(given == nullptr || given->size >= sizeof given->size, "a struct's size is not set");
}

/// What the caller is told.
class Listener {
 public:
  explicit Listener(const KSmthCallbacks* callbacks) : callbacks_(taken(callbacks)) {}

  /// False where the caller stops the work.
  bool goesOn(double done) const {
    return callbacks_.progress == nullptr || callbacks_.progress(done, callbacks_.user) == 0;
  }
  /// Throws where the caller stops the work.
  void requireGoesOn(double done) const;
  /// Empty where nobody listens.
  WavefrontOBJ::Progress progress() const;
  void log(KSmthSeverity severity, const char* code, std::uint64_t line, const std::string& text) const {
    if (callbacks_.log != nullptr) callbacks_.log(severity, code, line, text.c_str(), callbacks_.user);
  }

 private:
  KSmthCallbacks callbacks_;
};

/// Where a call writes: the caller's function, or a file that is there once all is done.
class Target : public WavefrontOBJ::Sink {
 public:
  explicit Target(const KSmthTarget* target);

  WavefrontOBJ::Result write(std::string_view text) override;
  /// Puts a file in its place.
  void commit();
  /// A file, no function, pipe or device.
  bool isFile() const { return output_ && !output_->isDirect(); }
  const char* path() const { return target_.path; }

 private:
  KSmthTarget target_;
  std::optional<WavefrontOBJ::Output> output_;
};

}  // namespace ksmth
