// A read of pieces that several threads have read ahead.
#include <new>
#include <utility>

#include "obj/internal/OBJPieces.h"
#include "obj/internal/OBJReader.h"

namespace WavefrontOBJ {

/// Reads what the source has left.
bool OBJReader::readPieces() {
  token();
  OBJPieces pieces(std::move(source_), *model_._faces, options_.threads);
  while (const OBJPiece* const piece = pieces.next()) {
    if (!join(*piece)) return false;
    // Before the bytes go.
    token();
  }
  model_._readNotes.isCutShort = pieces.isCutShort();
  return true;
}

/// Takes in a piece: its plain lines, and between them those that were left, by the exact path.
bool OBJReader::join(const OBJPiece& piece) {
  const auto fit = [&piece](OBJPiece::Kind kind, const OBJVectorArray& array) {
    return piece.needs(kind) <= array.count;
  };
  if (!piece.isRead() || !fit(OBJPiece::position, positions()) || !fit(OBJPiece::texture, textures()) ||
      !fit(OBJPiece::normal, normals())) {
    // Faces may name what is not there, and end the read at their lines.
    source_.show(piece.begin(), piece.end());
    showText();
    return readShown();
  }
  const std::size_t firstNumber = nextLineNumber_;
  OBJPiece::Counts done;
  for (const OBJPiece::LeftLine& left : piece.leftLines()) {
    append(piece, done, left);
    nextLineNumber_ = firstNumber + left.number;
    if (left.begin[0] == 'g' && left.begin[1] == ' ' && readGroup(left.begin) != nullptr) continue;
    source_.show(left.begin, piece.end());
    copyLine();
    if (readLine() == Outcome::readFailed) return false;
  }
  append(piece, done, piece.rest());
  nextLineNumber_ = firstNumber + piece.rest().number;
  return true;
}

/// Takes in the plain lines of a piece from `done` up to where a line was left, which `done` becomes.
void OBJReader::append(const OBJPiece& piece, OBJPiece::Counts& done, const OBJPiece::LeftLine& end) {
  const auto appendVectors = [&](OBJPiece::Kind kind, OBJVectorArray& array) {
    const std::size_t from = std::exchange(done.vectors[kind], end.before.vectors[kind]);
    if (!array.push_back(piece.vectors(kind).data() + from, done.vectors[kind] - from))
      throw std::bad_alloc();
  };
  appendVectors(OBJPiece::position, positions());
  appendVectors(OBJPiece::texture, textures());
  appendVectors(OBJPiece::normal, normals());
  for (; done.faces != end.before.faces; ++done.faces) {
    const OBJPiece::Face& face = piece.face(done.faces);
    OBJFaceView view = face.view();
    enterState(view);
    if (!model_.appendFace(view, face.corners)) throw std::bad_alloc();
    enterGroups();
  }
  if (end.anyVector) plain_.lastVector = end.lastVector;
  if (!end.lastToken.empty()) plain_.lastToken = end.lastToken;
}

}  // namespace WavefrontOBJ
