#include "geometry/Var.h"

#include "geometry/ByteSwap.h"
#include "system/Host.h"

std::int32_t gAVarTrackCount = 0;
std::int32_t gFVarTrackCount = 0;
std::int32_t _AVar_Initialization_counter = 0;  // NOLINT(bugprone-reserved-identifier)

namespace {

/// How far `value` lies above the multiple of `step` units before it; breaks and answers 0 for a step
/// below 1.
std::int64_t aboveGrid(std::int32_t value, std::int32_t step) {
  if (step < 1) {
    Sys_BreakToDebugger();
    return 0;
  }
  const std::int64_t rawStep = std::int64_t{step} * fixed::kOne;
  const std::int64_t rest = value % rawStep;
  return rest < 0 ? rest + rawStep : rest;
}

void track(std::int32_t& count) {
  count = count >= 10000 ? 0 : count + 1;
}

}  // namespace

AVar AVar::SnapGrow(std::int32_t step) const {
  const std::int64_t above = aboveGrid(raw, step);
  return above == 0 ? *this : FromRaw(fixed::wrap(raw - above + std::int64_t{step} * fixed::kOne));
}

AVar AVar::SnapShrink(std::int32_t step) const {
  return FromRaw(fixed::wrap(raw - aboveGrid(raw, step)));
}

AVar operator/(AVar a, AVar b) {
  if (b.raw == 0) Sys_BreakToDebugger();
  return AVar::FromRaw(fixed::div(a.raw, b.raw));
}

void AVar_ResetTracking() {
  gAVarTrackCount = 0;
  gFVarTrackCount = 0;
}

void AVar_TrackImmidiateMath() {
  track(gAVarTrackCount);
}

void FVar_TrackImmidiateMath() {
  track(gFVarTrackCount);
}

std::int32_t AVar_Initialize() {
  _AVar_Initialization_counter = fixed::add(_AVar_Initialization_counter, 1);
  return 0;
}

void AVar_Destroy() {
  if (_AVar_Initialization_counter < 1) Sys_BreakToDebugger();
  _AVar_Initialization_counter = fixed::sub(_AVar_Initialization_counter, 1);
}

void AVar_EndianSwapBuffer(void* buffer, std::int32_t bytes) {
  byteSwapWords(buffer, bytes / 4);
}
