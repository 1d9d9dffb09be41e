#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <vector>

#include "Helpers.h"
#include "obj/OBJFaceArray.h"
#include "obj/internal/OBJPiece.h"

// For this folder alone: not part of the library's interface.

namespace WavefrontOBJ {

/// The rest of an OBJ file in pieces, which several threads read and the calling one takes in their order.
class OBJPieces {
 public:
  /// On `threads` threads, the calling one included, or as many as there are. Corners go to memory of
  /// `faces`. Throws std::bad_alloc.
  OBJPieces(OBJTextSource source, OBJFaceArray& faces, unsigned threads);
  OBJPieces(const OBJPieces&) = delete;
  OBJPieces& operator=(const OBJPieces&) = delete;
  ~OBJPieces();

  /// The next piece, read; it holds until the next call. Null at the end of the file. Throws what a source of
  /// the caller's does, which is called here alone.
  const OBJPiece* next();
  /// Behind the last piece: the file could not be read to its end.
  bool isCutShort() const { return source_.isCutShort(); }

 private:
  struct Slot {
    OBJPiece piece;
    bool isReady = false;
  };
  using Lock = std::unique_lock<std::mutex>;

  void work();
  bool canTake() const { return !atEnd_ && !isTaking_ && taken_ - done_ < slots_.size(); }
  bool take(Lock& lock);
  bool readOne(Lock& lock, OBJFaceMemory& memory);

  OBJTextSource source_;  ///< of who takes
  std::mutex mutex_;      ///< of all below
  std::condition_variable changed_;
  std::vector<OBJFaceMemory*> memories_;  ///< for threads that have begun to work, the calling one's first
  std::size_t memoriesTaken_ = 1;
  std::vector<Slot> slots_;    ///< piece i is in slot i modulo their number
  std::size_t taken_ = 0;      ///< pieces of which the text was taken
  std::size_t begun_ = 0;      ///< pieces that somebody reads or has read
  std::size_t done_ = 0;       ///< pieces that were given out and given back
  bool isOut_ = false;         ///< one more was given out
  bool isTaking_ = false;      ///< somebody takes the next piece's text
  bool atEnd_ = false;         ///< there is no more text
  bool stops_ = false;         ///< nothing is to be begun any more
  std::exception_ptr thrown_;  ///< by a source of the caller's, which ended there
  Helpers helpers_;            ///< last, so that they end first
};

}  // namespace WavefrontOBJ
