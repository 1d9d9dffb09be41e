#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "KSmthExport.h"
#include "document/Result.h"
#include "document/Source.h"

namespace WavefrontOBJ {

/// Fetches lines of a source by where they begin. Fast for places that ascend: it reads ahead in large pieces
/// where lines follow one another, and in small ones where they lie scattered.
class KSMTH_API LineText {
 public:
  /// `source` must outlive it. `mostBytes`: the largest piece read ahead.
  explicit LineText(const Source& source, std::size_t mostBytes = 256U * 1024);

  /// The line that begins at `offset`, with the lines that continue it, without its line end. `line` stays
  /// valid until the next call. Fails when the source does.
  Result fetch(std::uint64_t offset, std::string_view& line);

 private:
  Result load(std::uint64_t offset, std::size_t bytes);
  std::size_t lineLength(std::size_t at) const;

  const Source& source_;
  std::size_t mostBytes_;
  std::size_t pieceBytes_;
  std::vector<char> buffer_;
  std::uint64_t begin_ = 0;  ///< offset of the buffer's first byte
  std::size_t held_ = 0;
};

}  // namespace WavefrontOBJ
