#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// Row loops for 32-bit pixels for which compilers do not find the processor's instructions by themselves: a
/// plain version for every machine, and others for processors with AVX2 or AVX-512. All come to the same
/// bytes.
namespace rowkernels {

/// How far to the right `firstAlone` looks.
inline constexpr std::size_t kReach = 11;

/// Rows that are written: `count` of them, `bytes` bytes each, `stride` bytes apart.
struct Rows {
  unsigned char* at;
  std::size_t bytes;
  std::size_t count;
  std::size_t stride;

  /// Whether they are more than caches keep until somebody reads them: better written past them, which saves
  /// reading from memory what is written over. For 32 MiB it was slower.
  bool pastCaches() const { return count > 0 && bytes >= (std::size_t{64} << 20) / count; }
};

struct Kernels {
  /// Reduces three rows of pixels to `count` pixels: each the sum of its nine neighbours, weighted 1, 2, 1
  /// either way, over 16, in every byte but the first, which is 0. The rows begin with the left neighbour of
  /// the first centre and have 2 * `count` + 1 pixels; with `atEdge`, the first centre has none, counts in
  /// its place as well and begins the rows, which have one pixel less. With `pastCaches`, here and below,
  /// what is written may go past the caches, which is for the caller to `settle`.
  void (*halve)(unsigned char* to, const unsigned char* above, const unsigned char* centre,
                const unsigned char* below, std::size_t count, bool atEdge, bool pastCaches);
  /// The first of `count` pixels that differs between `a` and `b` as do the kReach to the right of it;
  /// `count` for none. Both have `count` + kReach pixels.
  std::size_t (*firstAlone)(const unsigned char* a, const unsigned char* b, std::size_t count);
  /// Repeats the eight bytes of `pattern`, as they lie in memory, over each row; the last may be a part of
  /// it.
  void (*fill)(const Rows& to, std::uint64_t pattern, bool pastCaches);
  /// Copies rows, `stride` bytes apart, that are not among those written.
  void (*copy)(const Rows& to, const unsigned char* from, std::size_t stride, bool pastCaches);
  /// Byte k of each of `count` pixels goes to to[k], unless that is null.
  void (*split)(unsigned char* const (&to)[4], const unsigned char* pixels, std::size_t count);
};

/// Has all that was written past the caches come before what is stored from now on, for other threads too.
inline void settle() {
#if defined(__x86_64__) && defined(__GNUC__)
  __builtin_ia32_sfence();
#endif
}

extern const Kernels kPlain;
#if defined(__x86_64__) && defined(__GNUC__)
#define KSMTH_X86_KERNELS
extern const Kernels kAvx2;
extern const Kernels kAvx512;
#endif

/// Those that this processor has, the quickest last.
std::span<const Kernels* const> available();
inline const Kernels& best() {
  return *available().back();
}

}  // namespace rowkernels
