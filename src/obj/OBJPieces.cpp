#include "obj/internal/OBJPieces.h"

#if defined(__GLIBCXX__)
#include <cxxabi.h>
#endif

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
      take(lock);
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

/// Takes the text of one piece, while others have the lock. False at the end of the file. What a source
/// throws comes behind the text before it, which may end the read.
bool OBJPieces::take(Lock& lock) {
  Slot& slot = slots_[taken_ % slots_.size()];
  slot.isReady = false;
  isTaking_ = true;
  lock.unlock();
  bool any = false;
  try {
    any = slot.piece.take(source_);
#if defined(__GLIBCXX__)
  } catch (const abi::__forced_unwind&) {
    throw;  // the thread's end, which nobody may keep
#endif
  } catch (...) {
    thrown_ = std::current_exception();
  }
  lock.lock();
  isTaking_ = false;
  atEnd_ = !any;
  if (any) ++taken_;
  changed_.notify_all();
  return any;
}

/// Reads one piece while others have the lock, corners into `memory`, or finds the end of the file. False
/// where there was nothing to do: then nobody else had the lock, and there is something to wait for.
bool OBJPieces::readOne(Lock& lock, OBJFaceMemory& memory) {
  if (begun_ == taken_) {
    if (source_.isCallers() || !canTake()) return false;
    if (!take(lock)) return true;
  }
  Slot& slot = slots_[begun_++ % slots_.size()];
  lock.unlock();
  slot.piece.read(memory);
  lock.lock();
  slot.isReady = true;
  changed_.notify_all();
  return true;
}

}  // namespace WavefrontOBJ
