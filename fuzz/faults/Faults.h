#pragma once

// Stands in front of the C library, as the first library of a program or preloaded, and has one of its calls
// fail.

extern "C" {

enum FaultKind {
  kMemory,
  kOpen,
  kRead,
  kWrite,
  kSync,
  kRename,
  kClose,
  kStat,
  kMap,
  kFolder,
  kThread,
  kFaultKinds
};

/// Not an error number: the transfer moves half of its bytes, one at least.
inline constexpr int kShort = -1;

/// Has the `nth` call of the kind from now on, counted from 0, fail with `error` as errno, and with `forGood`
/// all later ones. Calls of all kinds are counted.
void faults_arm(FaultKind kind, long nth, int error, int forGood);
/// No call fails any more. Answers how many calls of the kind there were.
long faults_disarm();
/// Blocks of memory that were not freed so far.
long faults_blocks();
}
