#pragma once

#include <compare>
#include <cstdint>

#include "KSmthExport.h"
#include "geometry/Fixed.h"

/// A 16.16 scalar (see geometry/Fixed.h). A plain integer beside it counts in whole units. Results wrap
/// round. Its arithmetic does not count itself as immediate: who wants it tracked calls
/// `AVar_TrackImmidiateMath`.
class KSMTH_API AVar {
 public:
  constexpr AVar() = default;
  static constexpr AVar FromRaw(std::int32_t raw) {
    AVar var;
    var.raw = raw;
    return var;
  }
  static constexpr AVar FromWhole(std::int32_t n) { return FromRaw(fixed::fromWhole(n)); }

  /// Up to the next multiple of `step` whole units, this value where it is one already. A `step` below 1
  /// breaks to the debugger and gives the value itself.
  AVar SnapGrow(std::int32_t step) const;
  /// Down to the multiple of `step` whole units before it, otherwise as `SnapGrow`.
  AVar SnapShrink(std::int32_t step) const;

  /// `n` whole units more or less.
  friend constexpr AVar operator+(AVar a, std::int32_t n) {
    return FromRaw(fixed::add(a.raw, fixed::fromWhole(n)));
  }
  friend constexpr AVar operator-(AVar a, std::int32_t n) {
    return FromRaw(fixed::sub(a.raw, fixed::fromWhole(n)));
  }
  friend constexpr AVar operator+(AVar a, AVar b) { return FromRaw(fixed::add(a.raw, b.raw)); }
  friend constexpr AVar operator-(AVar a, AVar b) { return FromRaw(fixed::sub(a.raw, b.raw)); }
  /// The fixed product, rounded towards minus infinity.
  friend constexpr AVar operator*(AVar a, AVar b) { return FromRaw(fixed::mul(a.raw, b.raw)); }
  /// The 16.16 quotient, truncated towards zero. A divisor of 0 breaks to the debugger and gives 0.
  KSMTH_API friend AVar operator/(AVar a, AVar b);
  friend constexpr auto operator<=>(const AVar&, const AVar&) = default;

  std::int32_t raw = 0;
};

static_assert(sizeof(AVar) == 4);

/// How often arithmetic with plain numbers was reported for `AVar` and `FVar` values since the last reset or
/// the last time the count passed 10000. Nothing in the library counts by itself.
KSMTH_API extern std::int32_t gAVarTrackCount;
KSMTH_API extern std::int32_t gFVarTrackCount;
/// Calls of `AVar_Initialize` not yet matched by `AVar_Destroy`; negative where there were more of those.
KSMTH_API extern std::int32_t _AVar_Initialization_counter;  // NOLINT(bugprone-reserved-identifier)

/// Sets both track counts to 0.
KSMTH_API void AVar_ResetTracking();
/// Adds 1 to `gAVarTrackCount`; past 10000 it starts again at 0. The name's spelling is fixed by
/// the host's contract.
KSMTH_API void AVar_TrackImmidiateMath();
/// The same for `gFVarTrackCount`.
KSMTH_API void FVar_TrackImmidiateMath();

/// Adds 1 to `_AVar_Initialization_counter`; answers 0.
KSMTH_API std::int32_t AVar_Initialize();
/// Takes 1 off `_AVar_Initialization_counter`, after a break to the debugger where it is below 1.
KSMTH_API void AVar_Destroy();

/// Reverses the byte order of each 32-bit word of `buffer`, which need not be aligned. `bytes` is rounded
/// down to whole words: 1 to 3 bytes at the end stay as they are. Nothing for a size below 4 and for null.
KSMTH_API void AVar_EndianSwapBuffer(void* buffer, std::int32_t bytes);
