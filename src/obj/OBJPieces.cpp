#include "obj/internal/OBJPieces.h"

#include <exception>
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
  stops_ = true;
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
    if (source_.isCallers() && canTake()) {
      // The others wait for it. What it throws comes behind the text before it, which may end the read.
      try {
        take();
      } catch (...) {
        thrown_ = std::current_exception();
        atEnd_ = true;
        changed_.notify_all();
      }
    } else if (!readOne(lock, *memories_.front())) {
      if (atEnd_ && done_ == taken_) {
        if (thrown_) std::rethrow_exception(thrown_);
        return nullptr;
      }
      changed_.wait(lock);
    }
  }
}

/// What a helper does.
void OBJPieces::work() {
  Lock lock(mutex_);
  OBJFaceMemory& memory = *memories_[memoriesTaken_++];
  while (!stops_ && !(atEnd_ && begun_ == taken_)) {
    if (!readOne(lock, memory)) changed_.wait(lock);
  }
}

/// Takes the text of one piece. False at the end of the file.
bool OBJPieces::take() {
  Slot& slot = slots_[taken_ % slots_.size()];
  slot.isReady = false;
  atEnd_ = !slot.piece.take(source_);
  if (!atEnd_) ++taken_;
  changed_.notify_all();
  return !atEnd_;
}

/// Reads one piece while others have the lock, corners into `memory`. False where there is none to be begun.
bool OBJPieces::readOne(Lock& lock, OBJFaceMemory& memory) {
  if (begun_ == taken_ && (source_.isCallers() || !canTake() || !take())) return false;
  Slot& slot = slots_[begun_++ % slots_.size()];
  lock.unlock();
  slot.piece.read(memory);
  lock.lock();
  slot.isReady = true;
  changed_.notify_all();
  return true;
}

}  // namespace WavefrontOBJ
