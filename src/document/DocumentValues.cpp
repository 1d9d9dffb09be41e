// The numbers of vertex lines.
#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <utility>

#include "Helpers.h"
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

/// Lines that a thread takes at a time.
constexpr std::uint32_t kLinesAtATime = 4 * kProgressLines;

/// `forEachVector` on several threads, of which each visits other lines; `progress` on the calling one, which
/// has the first lines, so that it is asked once at least.
template <class Visit>
Result forEachVectorOnThreads(const OBJDocument& document, VectorKind kind, unsigned threads,
                              const Progress& progress, Visit visit) {
  const std::uint32_t count = document.vectorCount(kind);
  threads = std::min(threads, (count + kLinesAtATime - 1) / kLinesAtATime);
  if (threads <= 1) return forEachVector(document, kind, ProgressRange(progress, 0, 1), visit);
  std::atomic<std::uint32_t> next = kLinesAtATime;
  std::mutex mutex;
  std::uint32_t failedAt = count;
  Result failure;
  // Lines are begun in order: the first of those that fail is the same however many threads there are.
  const auto fail = [&](std::uint32_t first, Result result) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (first < failedAt) failure = std::move(result);
    failedAt = std::min(failedAt, first);
    next = count;
  };
  const auto work = [&](std::uint32_t first, const Progress& report) {
    for (; first < count; first = next.fetch_add(kLinesAtATime)) {
      const Result result = withMemory(document.source().name(), [&]() -> Result {
        if (report && !report(static_cast<double>(first) / count))
          return {Status::cancelled, document.source().name() + ": cancelled"};
        return forEachVector(document, kind, first, std::min(count, first + kLinesAtATime),
                             ProgressRange({}, 0, 1), visit);
      });
      if (!result) fail(first, result);
    }
  };
  {
    Helpers helpers;
    helpers.start(threads - 1, [&] { work(next.fetch_add(kLinesAtATime), {}); });
    work(0, progress);
  }
  return failure;
}

template <class Float>
Result parseValues(const OBJDocument& document, VectorKind kind, std::size_t width, unsigned threads,
                   std::vector<Float>& values, const Progress& progress) {
  values.clear();
  Result result = withMemory(document.source().name(), [&] {
    values.assign(width * document.vectorCount(kind), 0);
    return forEachVectorOnThreads(document, kind, threads, progress,
                                  [&](std::uint32_t i, std::string_view, LineWords& words) {
                                    Float* const row = values.data() + width * i;
                                    for (std::size_t k = 0; k < width; ++k) {
                                      const std::string_view word = words.nextValue();
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
                   unsigned threads, std::vector<float>& values) {
  values.clear();
  std::atomic<bool> any = false;
  Result result = withMemory(document.source().name(), [&] {
    values.assign(width * document.vectorCount(VectorKind::position), 1.0F);
    return forEachVectorOnThreads(document, VectorKind::position, threads, {},
                                  [&](std::uint32_t i, std::string_view, LineWords& words) {
                                    float row[3] = {1.0F, 1.0F, 1.0F};
                                    std::size_t count = 0;
                                    for (std::string_view word = words.nextValue(); !word.empty();
                                         word = words.nextValue(), ++count) {
                                      if (count >= 3 && count < 3 + width)
                                        row[count - 3] = wordValue(word, 0.0F);
                                    }
                                    if (count < least || count > most) return;
                                    any.store(true, std::memory_order_relaxed);
                                    for (std::size_t k = 0; k < width; ++k) values[width * i + k] = row[k];
                                  });
  });
  if (!result || !any) values.clear();
  return result;
}

}  // namespace

Result OBJDocument::values(VectorKind kind, std::size_t width, std::vector<double>& values,
                           const Progress& progress) const {
  return parseValues(*this, kind, width, threads_, values, progress);
}

Result OBJDocument::values(VectorKind kind, std::size_t width, std::vector<float>& values,
                           const Progress& progress) const {
  return parseValues(*this, kind, width, threads_, values, progress);
}

Result OBJDocument::vertexColours(std::vector<float>& rgb) const {
  return parseExtras(*this, 6, static_cast<std::size_t>(-1), 3, threads_, rgb);
}

Result OBJDocument::vertexWeights(std::vector<float>& weights) const {
  return parseExtras(*this, 4, 5, 1, threads_, weights);
}

}  // namespace WavefrontOBJ
