#include "obj/internal/OBJPiece.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>

namespace WavefrontOBJ {

bool OBJPiece::take(OBJTextSource& source) {
  char* const text = buffer_.data() + OBJDigitMap::kUnderread;
  const std::size_t size = source.takeLines(text);
  text[size] = '\n';
  end_ = text + size;
  return size != 0;
}

void OBJPiece::read(OBJFaceMemory& memory) {
  memory_ = &memory;
  try {
    isRead_ = readLines();
  } catch (const std::exception&) {
    isRead_ = false;
  }
}

/// False where so many lines are left that the piece is better read line by line.
bool OBJPiece::readLines() {
  constexpr std::size_t kLeast = 64;
  const std::size_t most = kLeast + static_cast<std::size_t>(end_ - begin()) / 32;
  for (Vectors& vectors : vectors_) vectors.clear();
  needs_ = {};
  faces_.clear();
  leftLines_.clear();
  rest_ = {};
  plain_.lastToken = {};
  plain_.setText(begin(), static_cast<std::size_t>(end_ - begin()));
  std::size_t number = 0;
  for (const char* line = begin(); line != end_;) {
    const char* lineFeed = plain_.read(line);
    if (lineFeed == nullptr) {
      leave(line, number);
      if (leftLines_.size() == most) return false;
      leftLines_.push_back(rest_);
      const auto longest = std::min<std::size_t>(static_cast<std::size_t>(end_ - line), kMaxLineCharacters);
      lineFeed = static_cast<const char*>(std::memchr(line, '\n', longest));
      if (lineFeed == nullptr) {
        line += longest;
        continue;
      }
    }
    if (lineFeed == end_) break;
    line = lineFeed + 1;
    ++number;
  }
  leave(end_, number);
  return true;
}

/// Makes `rest` what is to be said where `line` is left.
void OBJPiece::leave(const char* line, std::size_t number) {
  const Counts before = rest_.before;
  for (std::size_t kind = 0; kind < kindCount; ++kind) rest_.before.vectors[kind] = vectors_[kind].size();
  rest_.before.faces = faces_.size();
  rest_.begin = line;
  rest_.number = number;
  rest_.anyVector = rest_.before.vectors != before.vectors;
  rest_.lastVector = plain_.lastVector;
  rest_.lastToken = plain_.lastToken;
  plain_.lastToken = {};
}

std::uint32_t* OBJPiece::cornerRoom() {
  if (!memory_->reserveCorners(OBJFaceBlock::kCornerRoom)) throw std::bad_alloc();
  return memory_->corners + memory_->cornersUsed;
}

void OBJPiece::addFace(const OBJFaceView& face, bool) {
  const Face added{memory_->next(), static_cast<std::uint8_t>(face.vertexCount), face.hasTexture,
                   face.hasNormal};
  faces_.push_back(added);
  const std::uint32_t stride = OBJFaceView::strideOf(face.hasTexture, face.hasNormal);
  const std::uint32_t words = face.vertexCount * stride;
  memory_->keep(words);
  // Where the face has none of a kind, another's are looked at, in vain.
  const std::uint32_t* const corners = added.corners.piece + added.corners.first;
  const std::uint32_t second = stride > 1 ? 1 : 0;
  std::array<std::uint32_t, kindCount> greatest{};
  for (std::uint32_t i = 0; i < words; i += stride) {
    greatest[position] = std::max(greatest[position], corners[i]);
    greatest[texture] = std::max(greatest[texture], corners[i + second]);
    greatest[normal] = std::max(greatest[normal], corners[i + stride - 1]);
  }
  need(position, greatest[position]);
  if (face.hasTexture) need(texture, greatest[texture]);
  if (face.hasNormal) need(normal, greatest[normal]);
}

/// Notes that a face here names the vector `index`, counted from 0.
void OBJPiece::need(Kind kind, std::size_t index) {
  const std::size_t there = vectors_[kind].size();
  if (index >= there) needs_[kind] = std::max(needs_[kind], index + 1 - there);
}

}  // namespace WavefrontOBJ
