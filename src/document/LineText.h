#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "KSmthExport.h"
#include "document/BlockCache.h"
#include "document/Result.h"
#include "document/Source.h"

namespace WavefrontOBJ {

/// Fetches lines of a source by where they begin: reads ahead in large pieces where lines follow one another,
/// and keeps what it read where they lie scattered, up to 64 MiB.
class KSMTH_API LineText {
 public:
  /// `source` must outlive it. `mostBytes`: the largest piece read ahead.
  explicit LineText(const Source& source, std::size_t mostBytes = 256U * 1024);

  /// The line that begins at `offset`, with the lines that continue it, without its line end. `line` stays
  /// valid until the next call. Fails when the source does.
  Result fetch(std::uint64_t offset, std::string_view& line);
  /// The bytes from `offset` on that are at hand, or in a block where lines lie scattered; none where `fetch`
  /// would read ahead, or fail. They stay valid as long as a line.
  std::string_view at(std::uint64_t offset);
  /// Tells that the line at `offset` is fetched soon.
  void prefetch(std::uint64_t offset) const { blocks_.prefetch(offset); }

 private:
  Result loadBlock(std::uint64_t offset);
  Result loadPiece(std::uint64_t offset, std::size_t bytes);
  bool follows(std::uint64_t offset) const;
  std::size_t lineLength(std::size_t at) const;

  const Source& source_;
  std::size_t mostBytes_;
  std::size_t pieceBytes_;
  std::vector<char> piece_;
  BlockCache blocks_;
  std::string_view text_;    ///< of the piece, or of a block
  std::uint64_t begin_ = 0;  ///< where `text_` begins
};

}  // namespace WavefrontOBJ
