// The fast path of the OBJ reader: plain lines straight from the file's bytes, no copy, no allocation.
#include <algorithm>
#include <cstring>

#include "obj/OBJReader.h"
#include "obj/text/FastNumber.h"

namespace WavefrontOBJ {
namespace {

const char* skipBlanks(const char* text) {
  while (*text == ' ') ++text;
  return text;
}

bool atLineEnd(const char* text) {
  return *text == '\n' || (*text == '\r' && text[1] == '\n');
}

}  // namespace

/// The line feed that ends the line which begins at `line`, looked for from `text` on; null when the line is
/// longer than a line may be. At the end of the file the byte behind the last stands for it.
const char* OBJReader::fastLineEnd(const char* line, const char* text) {
  if (*text != '\n') {
    const auto left = line + kMaxLineCharacters + 1 - text;
    if (left <= 0) return nullptr;
    text = static_cast<const char*>(std::memchr(text, '\n', static_cast<std::size_t>(left)));
    if (text == nullptr) return nullptr;
  }
  return text - line <= static_cast<std::ptrdiff_t>(kMaxLineCharacters) ? text : nullptr;
}

void OBJReader::takeThrough(const char* lineFeed) {
  source_.take(lineFeed == source_.end() ? lineFeed : lineFeed + 1);
  ++nextLineNumber_;
}

bool OBJReader::takeFastLine() {
  const char* const line = source_.begin();
  switch (line[0]) {
    case 'v':
      if (line[1] == ' ') return takeFastVector(line, line + 2, *model_._vertices, false);
      if (line[1] == 'n' && line[2] == ' ') return takeFastVector(line, line + 3, *model_._normals, false);
      if (line[1] == 't' && line[2] == ' ')
        return takeFastVector(line, line + 3, *model_._textureCoords, true);
      return false;
    case 'f':
      return line[1] == ' ' && takeFastFace(line);
    case '#': {
      const char* end = fastLineEnd(line, line);
      if (end != nullptr) takeThrough(end);
      return end != nullptr;
    }
    default:
      return false;
  }
}

bool OBJReader::takeFastVector(const char* line, const char* text, OBJVectorArray& target, bool twoSuffice) {
  float values[3] = {0.0F, 0.0F, 0.0F};
  for (int i = 0; i < 3; ++i) {
    text = skipBlanks(text);
    const char* next = fastFloat(text, values[i]);
    if (next == nullptr) {
      if (i == 2 && twoSuffice && atLineEnd(text)) break;
      return false;
    }
    text = next;
  }
  // Whatever stands behind three numbers is passed over.
  const char* end = fastLineEnd(line, text);
  if (end == nullptr) return false;
  addVector(target, values);
  std::copy_n(values, 3, scratch_);
  takeThrough(end);
  return true;
}

bool OBJReader::takeFastFace(const char* line) {
  const char* const first = skipBlanks(line + 2);
  std::uint32_t ignored = 0;
  const char* text = fastUnsigned(first, ignored);
  if (text == nullptr) return false;
  if (*text != '/') return takeFastCorners<false, false>(line, first);
  if (text[1] == '/') return takeFastCorners<false, true>(line, first);
  text = fastUnsigned(text + 1, ignored);
  if (text == nullptr) return false;
  return *text == '/' ? takeFastCorners<true, true>(line, first) : takeFastCorners<true, false>(line, first);
}

template <bool kTexture, bool kNormal>
bool OBJReader::takeFastCorners(const char* line, const char* text) {
  std::uint32_t vertices[OBJFace::kMaxVertexCount];
  std::uint32_t textures[OBJFace::kMaxVertexCount];
  std::uint32_t normals[OBJFace::kMaxVertexCount];
  const std::uint32_t vertexLimit = model_._vertices->count;
  const std::uint32_t textureLimit = model_._textureCoords->count;
  const std::uint32_t normalLimit = model_._normals->count;
  std::uint32_t count = 0;
  const char* corner = text;
  const char* cornerEnd = text;
  // Blanks and a carriage return at the end make the exact path read the last corner twice, to no effect.
  for (; !atLineEnd(text); text = skipBlanks(text)) {
    corner = text;
    std::uint32_t vertex = 0;
    std::uint32_t texture = 1;
    std::uint32_t normal = 1;
    text = fastUnsigned(text, vertex);
    if (text == nullptr) return false;
    if constexpr (kTexture) {
      if (*text != '/') return false;
      text = fastUnsigned(text + 1, texture);
      if (text == nullptr) return false;
    }
    if constexpr (kNormal) {
      if (*text != '/') return false;
      if constexpr (!kTexture) ++text;
      if (*text != '/') return false;
      text = fastUnsigned(text + 1, normal);
      if (text == nullptr) return false;
    }
    cornerEnd = text;
    if (*text != ' ' && !atLineEnd(text)) return false;
    // An index of 0 wraps round and is past every limit.
    if (vertex - 1 >= vertexLimit) return false;
    if (kTexture && texture - 1 >= textureLimit) return false;
    if (kNormal && normal - 1 >= normalLimit) return false;
    const std::uint32_t* const known = vertices + count;
    if (std::find(static_cast<const std::uint32_t*>(vertices), known, vertex - 1) != known) continue;
    if (count == OBJFace::kMaxVertexCount) return false;
    vertices[count] = vertex - 1;
    textures[count] = texture - 1;
    normals[count] = normal - 1;
    ++count;
  }
  const char* end = fastLineEnd(line, text);
  if (count == 0 || end == nullptr) return false;

  OBJFaceView face;
  face.vertexIndex = vertices;
  face.textureIndex = kTexture ? textures : nullptr;
  face.normalIndex = kNormal ? normals : nullptr;
  face.vertexCount = count;
  face.hasTexture = kTexture;
  face.hasNormal = kNormal;
  addFace(face);
  fastToken_ = std::string_view(corner, static_cast<std::size_t>(cornerEnd - corner));
  takeThrough(end);
  return true;
}

}  // namespace WavefrontOBJ
