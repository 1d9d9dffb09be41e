#include "document/DocumentPieces.h"

#include <algorithm>

namespace WavefrontOBJ {
namespace {

/// Places beyond one for each thread, so that those that are ready can wait.
constexpr std::size_t kMorePlaces = 2;

}  // namespace

DocumentPieces::DocumentPieces(const Source& source, std::uint64_t first, std::size_t bytes,
                               std::size_t placesKept, unsigned threads)
    : first_(first), count_((source.size() + bytes - 1) / bytes) {
  threads = static_cast<unsigned>(std::clamp<std::uint64_t>(count_, 1, threads));
  for (std::size_t i = 0; i < threads + kMorePlaces; ++i) places_.emplace_back(source, bytes, placesKept);
  helpers_.start(threads - 1, [this] { help(); });
}

DocumentPieces::~DocumentPieces() {
  const std::lock_guard<std::mutex> lock(mutex_);
  stops_ = true;
  changed_.notify_all();
}

const DocumentPiece& DocumentPieces::next() {
  std::unique_lock<std::mutex> lock(mutex_);
  joined_ = given_++;
  Place& place = places_[static_cast<std::size_t>(joined_ % places_.size())];
  changed_.notify_all();
  while (!place.ready) {
    if (mayBegin()) {
      readOne(lock);
    } else {
      changed_.wait(lock);
    }
  }
  place.ready = false;
  return place.piece;
}

/// Reads the next piece that nobody has begun. Called, and left, with the lock.
void DocumentPieces::readOne(std::unique_lock<std::mutex>& lock) {
  const std::uint64_t number = begun_++;
  Place& place = places_[static_cast<std::size_t>(number % places_.size())];
  lock.unlock();
  place.piece.read(number, first_);
  lock.lock();
  place.ready = true;
  changed_.notify_all();
}

void DocumentPieces::help() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!stops_ && begun_ < count_) {
    if (mayBegin()) {
      readOne(lock);
    } else {
      changed_.wait(lock);
    }
  }
}

}  // namespace WavefrontOBJ
