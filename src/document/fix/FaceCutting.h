#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace WavefrontOBJ {

/// Some vertex comes more than once.
bool hasRepeats(std::span<const std::int32_t> vertices);

/// Cuts faces into pieces that come to no vertex twice and have few corners. Pieces are positions of corners
/// (0 is the first) in the face's order, so that they face the same way, each ended by
/// `Rewriter::kPieceEnd`; all corners of the face are in them, but for those of spikes.
///
/// Chords lie inside the face where it is simple, whether it is convex or not; a face that runs along an edge
/// twice, to go around a hole, is cut so that the hole stays. Where no such chord is found soon (the work
/// stays linear in the corners), or the face is not flat or simple, it is cut anyhow.
class FaceCutter {
 public:
  using Point = std::array<float, 3>;

  /// The corners of one face without those that stand at the vertex before them, the last being before the
  /// first; answers their positions.
  static void corners(std::span<const std::int32_t> vertices, std::vector<std::uint32_t>& positions);
  /// No piece would have three corners.
  bool isFlat(std::span<const std::int32_t> vertices);
  /// Cuts into pieces of at most `most` corners, 3 or more. `points` are the places of the face's corners;
  /// without any the face is taken for convex.
  void cut(std::span<const std::int32_t> vertices, std::span<const Point> points, std::size_t most,
           std::vector<std::uint32_t>& pieces);

 private:
  struct Flat {
    double x;
    double y;
  };
  using Loop = std::vector<std::uint32_t>;

  bool project(std::span<const Point> points);
  void partAtRepeats(const Loop& loop);
  bool anyTurnsBack() const;
  bool cutByChords(Loop& loop, bool distinct, std::size_t most, std::vector<std::uint32_t>& pieces);
  bool findChord(const Loop& loop, bool distinct, std::size_t most, std::size_t longest, std::size_t& first,
                 std::size_t& length);
  bool isInside(const Loop& loop, std::size_t a, std::size_t b) const;
  bool isDistinct(const Loop& loop, std::size_t first, std::size_t length);
  static void cutPlainly(const Loop& loop, std::size_t most, std::vector<std::uint32_t>& pieces);

  std::span<const std::int32_t> vertices_;
  std::vector<Flat> flat_;  ///< the corners in the face's plane, counterclockwise
  std::vector<Loop> cycles_;
  std::vector<std::int32_t> sorted_;
  std::uint64_t budget_ = 0;  ///< looks at an edge that are left
};

}  // namespace WavefrontOBJ
