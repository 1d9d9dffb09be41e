// The numbers of vertex lines.
#include <new>

#include "document/NumberText.h"
#include "document/OBJDocument.h"
#include "document/VectorLines.h"
#include "obj/text/FastNumber.h"

namespace WavefrontOBJ {
namespace {

template <class Work>
Result withMemory(const std::string& name, Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, name + ": out of memory"};
  }
}

float wordValue(std::string_view word, float) {
  float value = 0;
  // A line's words end at a blank, at a line end or at the fetched bytes' end, where blanks stand.
  const char* const end = fastFloat(word.data(), value);
  if (end == word.data() + word.size()) return value;
  return numberValue<float>(word);
}

double wordValue(std::string_view word, double) {
  return numberValue<double>(word);
}

template <class Float>
Result parseValues(const OBJDocument& document, VectorKind kind, std::size_t width,
                   std::vector<Float>& values, const Progress& progress) {
  values.clear();
  Result result = withMemory(document.source().name(), [&] {
    values.assign(width * document.vectorCount(kind), 0);
    return forEachVector(document, kind, ProgressRange(progress, 0, 1),
                         [&](std::uint32_t i, std::string_view, LineWords& words) {
                           Float* const row = values.data() + width * i;
                           for (std::size_t k = 0; k < width; ++k) {
                             const std::string_view word = words.next();
                             if (word.empty()) break;
                             row[k] = wordValue(word, Float());
                           }
                         });
  });
  if (!result) values.clear();
  return result;
}

/// Puts the numbers behind the position of each "v" line that has between `least` and `most` words into a row
/// of `width`.
Result parseExtras(const OBJDocument& document, std::size_t least, std::size_t most, std::size_t width,
                   std::vector<float>& values) {
  values.clear();
  bool any = false;
  Result result = withMemory(document.source().name(), [&] {
    values.assign(width * document.vectorCount(VectorKind::position), 1.0F);
    return forEachVector(document, VectorKind::position, ProgressRange({}, 0, 1),
                         [&](std::uint32_t i, std::string_view, LineWords& words) {
                           float row[3] = {1.0F, 1.0F, 1.0F};
                           std::size_t count = 0;
                           for (std::string_view word = words.next(); !word.empty();
                                word = words.next(), ++count) {
                             if (count >= 3 && count < 3 + width) row[count - 3] = wordValue(word, 0.0F);
                           }
                           if (count < least || count > most) return;
                           any = true;
                           for (std::size_t k = 0; k < width; ++k) values[width * i + k] = row[k];
                         });
  });
  if (!result || !any) values.clear();
  return result;
}

}  // namespace

Result OBJDocument::values(VectorKind kind, std::size_t width, std::vector<double>& values,
                           const Progress& progress) const {
  return parseValues(*this, kind, width, values, progress);
}

Result OBJDocument::values(VectorKind kind, std::size_t width, std::vector<float>& values,
                           const Progress& progress) const {
  return parseValues(*this, kind, width, values, progress);
}

Result OBJDocument::vertexColours(std::vector<float>& rgb) const {
  return parseExtras(*this, 6, static_cast<std::size_t>(-1), 3, rgb);
}

Result OBJDocument::vertexWeights(std::vector<float>& weights) const {
  return parseExtras(*this, 4, 5, 1, weights);
}

}  // namespace WavefrontOBJ
