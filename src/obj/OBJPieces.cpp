#include "obj/internal/OBJPieces.h"

#include <utility>

namespace WavefrontOBJ {

OBJPieces::OBJPieces(OBJTextSource source, OBJFaceArray& faces, unsigned threads)
    : source_(std::move(source)), slots_(std::size_t{2} * threads) {
  while (memories_.size() < threads) memories_.push_back(&faces.addMemory());
  for (Slot& slot : slots_) slot.piece.makeRoom(source_);
  helpers_.start(threads - 1, [this] { work(); });
}

OBJPieces::~OBJPieces() {
  const Lock lock(mutex_);
  atEnd_ = true;
  changed_.notify_all();
}

const OBJPiece* OBJPieces::next() {
  Lock lock(mutex_);
  if (std::exchange(isOut_, false)) {
    ++done_;
    changed_.notify_all();
  }
  for (;;) {
    Slot& slot = slots_[done_ % slots_.size()];
    if (done_ < begun_ && slot.isReady) {
      isOut_ = true;
      return &slot.piece;
    }
    if (canBegin()) {
      readOne(lock, *memories_.front());
    } else if (done_ == begun_) {
      return nullptr;
    } else {
      changed_.wait(lock);
    }
  }
}

/// What a helper does.
void OBJPieces::work() {
  Lock lock(mutex_);
  OBJFaceMemory& memory = *memories_[memoriesTaken_++];
  while (!atEnd_) {
    if (canBegin()) {
      readOne(lock, memory);
    } else {
      changed_.wait(lock);
    }
  }
}

/// Takes the text of one piece and, while others have the lock, reads it, corners into `memory`.
void OBJPieces::readOne(Lock& lock, OBJFaceMemory& memory) {
  Slot& slot = slots_[begun_ % slots_.size()];
  slot.isReady = false;
  if (!slot.piece.take(source_)) {
    atEnd_ = true;
    changed_.notify_all();
    return;
  }
  ++begun_;
  lock.unlock();
  slot.piece.read(memory);
  lock.lock();
  slot.isReady = true;
  changed_.notify_all();
}

}  // namespace WavefrontOBJ
