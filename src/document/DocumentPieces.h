#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>

#include "document/DocumentPiece.h"
#include "document/Helpers.h"

namespace WavefrontOBJ {

/// The pieces of a source in their order, read ahead by threads of its own and by the one that asks.
class DocumentPieces {
 public:
  /// Pieces of about `bytes` bytes, from `first` on, read by `threads` threads with the calling one. `source`
  /// must outlive it. May throw std::bad_alloc.
  DocumentPieces(const Source& source, std::uint64_t first, std::size_t bytes, std::size_t placesKept,
                 unsigned threads);
  ~DocumentPieces();

  /// There are threads: else nothing is gained by pieces.
  bool anyHelpers() const { return helpers_.any(); }
  std::uint64_t count() const { return count_; }
  /// The next piece; valid until it is asked for another.
  const DocumentPiece& next();

 private:
  struct Place {
    Place(const Source& source, std::size_t bytes, std::size_t placesKept)
        : piece(source, bytes, placesKept) {}
    DocumentPiece piece;
    bool ready = false;
  };

  bool mayBegin() const { return begun_ < count_ && begun_ < joined_ + places_.size(); }
  void readOne(std::unique_lock<std::mutex>& lock);
  void help();

  std::uint64_t first_;
  std::uint64_t count_;
  std::deque<Place> places_;  ///< piece i has the place i modulo their number
  std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t begun_ = 0;   ///< pieces that somebody reads or has read
  std::uint64_t given_ = 0;   ///< pieces that `next` has answered
  std::uint64_t joined_ = 0;  ///< pieces whose places are free again
  bool stops_ = false;
  Helpers helpers_;  ///< last, so that all else is there as long as they run
};

}  // namespace WavefrontOBJ
