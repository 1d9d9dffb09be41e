#include "document/Replace.h"

#include <new>
#include <string>
#include <string_view>

#include "document/LineText.h"
#include "document/LogicalLine.h"

namespace WavefrontOBJ {
namespace {

/// Puts the positions of another document into the vertex lines.
class PositionRewriter : public Rewriter {
 public:
  explicit PositionRewriter(const OBJDocument& positions)
      : offsets_(positions.vectorOffsets(VectorKind::position)), lines_(positions.source()) {}

  bool vectorText(VectorKind kind, std::uint32_t index, std::string& text) override {
    if (kind != VectorKind::position || index >= offsets_.size() || !result_) return false;
    std::string_view line;
    result_ = lines_.fetch(offsets_[index], line);
    if (!result_) return false;
    constexpr int kNumbers = 3;
    LineWords theirs(line);
    theirs.next();
    LineWords ours(text);
    std::string changed;
    for (int i = 0; i < kNumbers; ++i) {
      const std::string_view word = theirs.next();
      ours.next();
      if (i > 0) changed += ' ';
      // As the reader takes a missing one.
      changed += word.empty() ? "0" : word;
    }
    if (const std::string_view rest = ours.rest(); !rest.empty()) changed.append(" ").append(rest);
    text = changed;
    return true;
  }

  const Result& result() const { return result_; }

 private:
  std::span<const std::uint64_t> offsets_;
  LineText lines_;
  Result result_;
};

}  // namespace

Result writeWithPositions(const OBJDocument& model, const OBJDocument& positions, WriteOptions options,
                          Sink& sink, WriteCounts* counts) {
  try {
    PositionRewriter rewriter(positions);
    options.rewriter = &rewriter;
    Result result = DocumentWriter(model).write(ElementLists::all(), options, sink, counts);
    return result ? rewriter.result() : result;
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, model.source().name() + ": out of memory"};
  }
}

}  // namespace WavefrontOBJ
