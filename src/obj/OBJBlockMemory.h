#pragma once

#include <cstddef>

#include "KSmthExport.h"

namespace WavefrontOBJ {

/// Memory for the packed faces of one array. It comes from the system allocator in pieces that grow with the
/// array, so that the system can give it in large pages: touching memory for the first time is a good part of
/// the time that a file takes to be read in a fresh process. All of it goes at once, with this.
class KSMTH_API OBJBlockMemory {
 public:
  OBJBlockMemory() = default;
  OBJBlockMemory(const OBJBlockMemory&) = delete;
  OBJBlockMemory& operator=(const OBJBlockMemory&) = delete;
  ~OBJBlockMemory();

  /// `count` x `size` bytes, aligned for everything, in a place of their own. Null, with nothing changed,
  /// when there is no memory for them.
  void* take(std::size_t count, std::size_t size);

 private:
  struct Piece;

  bool addPiece(std::size_t bytes);

  Piece* pieces_ = nullptr;        ///< the newest first
  unsigned char* next_ = nullptr;  ///< what comes next from the newest piece
  std::size_t total_ = 0;          ///< bytes of all pieces
};

/// Tells the system allocator that one of many blocks, each smaller than a large page, will be asked of it
/// next, so that they come to lie in large pages as well.
KSMTH_API void expectBlock(std::size_t bytes);

}  // namespace WavefrontOBJ
