#include "document/Replace.h"

#include <array>
#include <charconv>
#include <new>
#include <span>
#include <string>
#include <string_view>

#include "document/LineText.h"
#include "document/LogicalLine.h"

namespace WavefrontOBJ {
namespace {

/// Puts other numbers in front of what else stands in the vertex lines.
class PositionRewriter : public Rewriter {
 public:
  bool vectorText(VectorKind kind, std::uint32_t index, std::string& text) override {
    std::string changed;
    if (kind != VectorKind::position || !numbersOf(index, changed)) return false;
    LineWords ours(text);
    for (int i = 0; i < kNumbers; ++i) ours.nextValue();
    if (const std::string_view rest = ours.rest(); !rest.empty()) changed.append(" ").append(rest);
    text = changed;
    return true;
  }

  const Result& result() const { return result_; }

 protected:
  static constexpr int kNumbers = 3;

  /// Three numbers for vertex `index`; false to leave what it has.
  virtual bool numbersOf(std::uint32_t index, std::string& numbers) = 0;

  Result result_;
};

/// Those of another document.
class DocumentPositions : public PositionRewriter {
 public:
  explicit DocumentPositions(const OBJDocument& positions)
      : offsets_(positions.vectorOffsets(VectorKind::position)), lines_(positions.source()) {}

 private:
  bool numbersOf(std::uint32_t index, std::string& numbers) override {
    if (index >= offsets_.size() || !result_) return false;
    std::string_view line;
    result_ = lines_.fetch(offsets_[index], line);
    if (!result_) return false;
    LineWords theirs(line);
    theirs.next();
    for (int i = 0; i < kNumbers; ++i) {
      const std::string_view word = theirs.nextValue();
      if (i > 0) numbers += ' ';
      // As the reader takes a missing one.
      numbers += word.empty() ? "0" : word;
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
  explicit ArrayPositions(std::span<const Float> xyz) : xyz_(xyz) {}

 private:
  bool numbersOf(std::uint32_t index, std::string& numbers) override {
    constexpr std::size_t kLongest = 32;
    if (index >= xyz_.size() / kNumbers) return false;
    for (const Float number : xyz_.subspan(std::size_t{kNumbers} * index, kNumbers)) {
      std::array<char, kLongest> digits{};
      const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
      if (!numbers.empty()) numbers += ' ';
      numbers.append(digits.data(), static_cast<std::size_t>(end - digits.data()));
    }
    return true;
  }

  std::span<const Float> xyz_;
};

template <class Positions, class From>
Result writeWith(const OBJDocument& model, const From& positions, WriteOptions& options, Sink& sink,
                 WriteCounts* counts) {
  try {
    Positions rewriter(positions);
    options.rewriter = &rewriter;
    Result result = DocumentWriter(model).write(ElementLists::all(), options, sink, counts);
    return result ? rewriter.result() : result;
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, model.source().name() + ": out of memory"};
  }
}

}  // namespace

Result writeWithPositions(const OBJDocument& model, const OBJDocument& positions, WriteOptions options,
                          Sink& sink, WriteCounts* counts) {
  return writeWith<DocumentPositions>(model, positions, options, sink, counts);
}

Result writeWithPositions(const OBJDocument& model, std::span<const double> xyz, WriteOptions options,
                          Sink& sink, WriteCounts* counts) {
  return writeWith<ArrayPositions<double>>(model, xyz, options, sink, counts);
}

Result writeWithPositions(const OBJDocument& model, std::span<const float> xyz, WriteOptions options,
                          Sink& sink, WriteCounts* counts) {
  return writeWith<ArrayPositions<float>>(model, xyz, options, sink, counts);
}

}  // namespace WavefrontOBJ
