#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "obj/OBJBasic.h"
#include "obj/internal/OBJPlainLines.h"
#include "obj/text/TextSource.h"

// For this folder alone: not part of the library's interface.

namespace WavefrontOBJ {

/// A piece of an OBJ file, of whole lines, with what its plain lines say and where the others stand. It is
/// read without knowing what stands before, so that several are read at a time.
class OBJPiece {
 public:
  using Vectors = std::vector<OBJVector>;
  enum Kind : std::uint8_t { position, texture, normal, kindCount };
  /// Plain lines before some place: vectors of each kind, and faces.
  struct Counts {
    std::array<std::size_t, kindCount> vectors{};
    std::size_t faces = 0;
  };
  /// A line that is left to who joins the pieces, and what plain lines between it and the one left before it
  /// have come to.
  struct LeftLine {
    const char* begin;
    std::size_t number;  ///< of line feeds before it, in the piece
    Counts before;
    bool anyVector;
    OBJVector lastVector;        ///< if any
    std::string_view lastToken;  ///< of a face, or empty
  };
  struct Face {
    OBJPlacedCorners corners;
    std::uint8_t vertexCount;
    bool hasTexture;
    bool hasNormal;

    OBJFaceView view() const {
      return OBJFaceView::ofCorners(corners.piece + corners.first, vertexCount, hasTexture, hasNormal);
    }
  };

  OBJPiece() = default;
  OBJPiece(const OBJPiece&) = delete;
  OBJPiece& operator=(const OBJPiece&) = delete;

  /// Makes room for the lines that `source` gives at a time.
  void makeRoom(const OBJTextSource& source) {
    buffer_.resize(OBJDigitMap::kUnderread + source.linesRoom() + 1 + OBJDigitMap::kOverread);
  }
  /// Takes the next lines. False at the end of the file.
  bool take(OBJTextSource& source);
  /// Reads them, corners into `memory`. No exception leaves it.
  void read(OBJFaceMemory& memory);

  /// False where there was no memory to read it, or no sense: then there is the text alone.
  bool isRead() const { return isRead_; }
  const char* begin() const { return buffer_.data() + OBJDigitMap::kUnderread; }
  const char* end() const { return end_; }
  const std::vector<LeftLine>& leftLines() const { return leftLines_; }
  /// What would be left at the piece's end.
  const LeftLine& rest() const { return rest_; }
  const Vectors& vectors(Kind kind) const { return vectors_[kind]; }
  /// Vectors of a kind that have to stand before the piece for the faces in it.
  std::size_t needs(Kind kind) const { return needs_[kind]; }
  const Face& face(std::size_t i) const { return faces_[i]; }

  // What `OBJPlainLines` adds lines to.
  Vectors& positions() { return vectors_[position]; }
  Vectors& textures() { return vectors_[texture]; }
  Vectors& normals() { return vectors_[normal]; }
  static void add(Vectors& vectors, const OBJVector& vector) { vectors.push_back(vector); }
  /// What stands before is not known. Past every index of up to eight digits.
  static std::uint32_t limitOf(const Vectors&) { return 100'000'000; }
  std::uint32_t* cornerRoom();
  void addFace(const OBJFaceView& face, bool inPlace);
  static const char* readGroup(const char*) { return nullptr; }

 private:
  bool readLines();
  void leave(const char* line, std::size_t number);
  void need(Kind kind, std::size_t index);

  std::vector<char> buffer_;
  const char* end_ = nullptr;
  bool isRead_ = false;
  std::array<Vectors, kindCount> vectors_;
  std::array<std::size_t, kindCount> needs_{};
  std::vector<Face> faces_;
  OBJFaceMemory* memory_ = nullptr;
  std::vector<LeftLine> leftLines_;
  LeftLine rest_{};
  OBJPlainLines<OBJPiece> plain_{*this};
};

}  // namespace WavefrontOBJ
