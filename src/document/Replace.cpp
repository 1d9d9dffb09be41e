#include "document/Replace.h"

#include <charconv>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "document/LineText.h"
#include "document/LogicalLine.h"

namespace WavefrontOBJ {
namespace {

constexpr std::size_t kNumbers = 3;

/// Puts other positions into the vertex lines.
class PositionRewriter : public Rewriter {
 public:
  bool vectorText(VectorKind kind, std::uint32_t index, std::string& text) final {
    std::string changed;
    if (kind != VectorKind::position || !position(index, changed)) return false;
    LineWords ours(text);
    for (std::size_t i = 0; i < kNumbers; ++i) ours.next();
    if (const std::string_view rest = ours.rest(); !rest.empty()) changed.append(" ").append(rest);
    text = changed;
    return true;
  }

  const Result& result() const { return result_; }

 protected:
  /// The numbers of a vertex, parted by blanks; false to leave them.
  virtual bool position(std::uint32_t index, std::string& text) = 0;

  Result result_;
};

/// Those of another document.
class DocumentPositions : public PositionRewriter {
 public:
  explicit DocumentPositions(const OBJDocument& positions)
      : offsets_(positions.vectorOffsets(VectorKind::position)), lines_(positions.source()) {}

 private:
  bool position(std::uint32_t index, std::string& text) override {
    if (index >= offsets_.size() || !result_) return false;
    std::string_view line;
    result_ = lines_.fetch(offsets_[index], line);
    if (!result_) return false;
    LineWords theirs(line);
    theirs.next();
    for (std::size_t i = 0; i < kNumbers; ++i) {
      const std::string_view word = theirs.next();
      if (i > 0) text += ' ';
      // As the reader takes a missing one.
      text += word.empty() ? "0" : word;
    }
    return true;
  }

  std::span<const std::uint64_t> offsets_;
  LineText lines_;
};

/// Those of an array.
template <class Float>
class ArrayPositions : public PositionRewriter {
 public:
  explicit ArrayPositions(std::span<const Float> numbers) : numbers_(numbers) {}

 private:
  bool position(std::uint32_t index, std::string& text) override {
    if (index >= numbers_.size() / kNumbers) return false;
    for (const Float number : numbers_.subspan(index * kNumbers, kNumbers)) {
      if (!text.empty()) text += ' ';
      char digits[32];
      text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    }
    return true;
  }

  std::span<const Float> numbers_;
};

Result writeRewritten(const OBJDocument& model, PositionRewriter&& rewriter, WriteOptions options, Sink& sink,
                      WriteCounts* counts) {
  options.rewriter = &rewriter;
  Result result = DocumentWriter(model).write(ElementLists::all(), options, sink, counts);
  return result ? rewriter.result() : result;
}

}  // namespace

Result writeWithPositions(const OBJDocument& model, const OBJDocument& positions, WriteOptions options,
                          Sink& sink, WriteCounts* counts) {
  try {
    return writeRewritten(model, DocumentPositions(positions), std::move(options), sink, counts);
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, model.source().name() + ": out of memory"};
  }
}

Result writeWithPositions(const OBJDocument& model, std::span<const double> positions, WriteOptions options,
                          Sink& sink, WriteCounts* counts) {
  return writeRewritten(model, ArrayPositions(positions), std::move(options), sink, counts);
}

Result writeWithPositions(const OBJDocument& model, std::span<const float> positions, WriteOptions options,
                          Sink& sink, WriteCounts* counts) {
  return writeRewritten(model, ArrayPositions(positions), std::move(options), sink, counts);
}

}  // namespace WavefrontOBJ
