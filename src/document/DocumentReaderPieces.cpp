// A read of pieces that several threads have read ahead.
#include <algorithm>
#include <exception>
#include <limits>
#include <new>

#include "Helpers.h"
#include "document/DocumentPiece.h"
#include "document/DocumentReader.h"
#include "document/Turns.h"

namespace WavefrontOBJ {
namespace {

constexpr std::size_t kMostPieceBytes = std::size_t{16} << 20;

}  // namespace

/// Reads from `offset` on, and moves it on to what is left to one thread, for want of others or of places to
/// cut at: to the file's end as a rule. Threads read pieces side by side and take them in one by one.
Result DocumentReader::readPieces(std::uint64_t& offset) {
  const Source& source = document_.source_;
  const std::size_t bytes = std::clamp<std::size_t>(options_.windowBytes, 1, kMostPieceBytes);
  const std::uint64_t first = offset;
  const std::uint64_t count = (source.size() + bytes - 1) / bytes;
  if (count == 0) return {};
  Turns turns(count);
  Result result;
  std::exception_ptr thrown;
  // False when the pieces end here. Called in turns.
  const auto take = [&](const DocumentPiece& piece, bool callingThread) {
    result = piece.failure();
    if (piece.outcome() == DocumentPiece::Outcome::outOfMemory) throw std::bad_alloc();
    isWhole_ = piece.outcome() == DocumentPiece::Outcome::read;
    if (!isWhole_) return false;
    base_ = begin_ = piece.begin();
    end_ = piece.end();
    windowOffset_ = piece.offset();
    result = beginWindow(callingThread);
    if (!result) return false;
    join(piece);
    offset = offsetOf(end_);
    return true;
  };
  const auto work = [&](bool callingThread) {
    DocumentPiece piece(source, bytes, options_.placesPerKind);
    std::uint64_t number = 0;
    for (bool any = callingThread || turns.begin(number); any; any = turns.begin(number)) {
      piece.read(number, first);
      if (!turns.await(number)) return;
      bool goesOn = false;
      try {
        goesOn = take(piece, callingThread);
      } catch (...) {
        thrown = std::current_exception();
      }
      if (!goesOn) return turns.stop();
      turns.end();
    }
  };
  {
    Helpers helpers;
    helpers.start(static_cast<unsigned>(std::min<std::uint64_t>(document_.threads_, count)) - 1,
                  [&] { work(false); });
    if (!helpers.any()) return {};
    work(true);
  }
  if (thrown) std::rethrow_exception(thrown);
  begin_ = end_ = nullptr;
  return result;
}

/// Takes in a piece, which is the window.
void DocumentReader::join(const DocumentPiece& piece) {
  for (std::size_t kind = 0; kind < PlainLines::kKinds; ++kind) {
    // Faces that name what is not there yet, or never: one by one.
    if (piece.plain().needs()[kind] > document_.vectors_[kind].size()) return takeLines();
  }
  const std::uint64_t firstLine = lineNumber_;
  ElementTable& faces = document_.elements_[static_cast<std::size_t>(ElementKind::face)];
  DocumentPiece::Counts done;
  std::uint32_t entered = 0;
  // Group lines can be many: what lies between them is taken in at once, their states beforehand.
  const auto enterUpTo = [&](std::uint32_t end) {
    if (end > entered) enterState(faces, faces.size() + (entered - done.faces));
    entered = end;
  };
  std::size_t nextReturn = 0;
  for (const DocumentPiece::LeftLine& left : piece.leftLines()) {
    enterUpTo(left.before.faces);
    addReturns(piece.plain(), firstLine, offsetOf(left.begin), nextReturn);
    lineNumber_ = firstLine + left.line;
    if (left.isGroup) {
      takePlainGroup(left.begin, left.end);
    } else {
      joinTables(piece, done, left.before);
      takeLine(left.begin, left.end, left.next);
    }
  }
  const DocumentPiece::Counts all = piece.counts();
  enterUpTo(all.faces);
  joinTables(piece, done, all);
  addReturns(piece.plain(), firstLine, std::numeric_limits<std::uint64_t>::max(), nextReturn);
  lineNumber_ = firstLine + piece.lineCount();
}

/// Takes in the plain lines of a piece from `done` up to `end`, which `done` becomes; faces without their
/// states.
void DocumentReader::joinTables(const DocumentPiece& piece, DocumentPiece::Counts& done,
                                const DocumentPiece::Counts& end) {
  for (std::size_t kind = 0; kind < PlainLines::kKinds; ++kind) {
    const std::size_t count = end.vectors[kind] - done.vectors[kind];
    document_.vectors_[kind].append(piece.vectors()[kind].data() + done.vectors[kind], count);
    anyStatement_ |= count > 0;
  }
  document_.elements_[static_cast<std::size_t>(ElementKind::face)].append(piece.faces(), done.faces,
                                                                          end.faces);
  anyStatement_ |= end.faces > done.faces;
  done = end;
}

/// Finds the carriage returns of plain lines before the place `end`; `next` counts those that were.
/// `firstLine` is the number of the line that has number 0 there.
void DocumentReader::addReturns(const PlainLines& lines, std::uint64_t firstLine, std::uint64_t end,
                                std::size_t& next) {
  const auto& places = lines.returns();
  for (; next < places.size() && places[next].offset < end; ++next) {
    document_.findings_.add(FindingKind::carriageReturn, firstLine + places[next].line, 0,
                            places[next].offset, {});
  }
  if (next == places.size() && lines.returnCount() > next && end == std::numeric_limits<std::uint64_t>::max())
    document_.findings_.addUncounted(FindingKind::carriageReturn, lines.returnCount() - next);
}

}  // namespace WavefrontOBJ
