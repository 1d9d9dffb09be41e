// The input as a document, taken apart and put together again: that is the document as it was, and what a
// comparison of the two finds is nothing.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "EveryPart.h"
#include "Require.h"
#include "document/Diff.h"
#include "document/DocumentWriter.h"
#include "document/Merge.h"
#include "document/Split.h"
#include "document/TextKind.h"

// An input is small work: every part is always done.
bool fuzz::gEveryPart = true;

namespace {

using fuzz::require;
using namespace WavefrontOBJ;

std::string wholeOf(const OBJDocument& document) {
  StringSink sink;
  require(static_cast<bool>(DocumentWriter(document).write(ElementLists::all(), {}, sink)),
          "bytes in memory can be written");
  return sink.text;
}

/// All parts, last the rest where there is one.
std::vector<std::string> partsOf(const OBJDocument& document, Division by, const WriteOptions& options) {
  DocumentSplit split(document, by);
  std::vector<std::string> texts(split.partCount());
  for (std::size_t i = 0; i < texts.size(); ++i) {
    StringSink sink;
    require(static_cast<bool>(split.writePart(i, options, sink)), "a part can be written");
    texts[i] = sink.text;
  }
  if (split.hasRest()) {
    StringSink sink;
    require(static_cast<bool>(split.writeRest({}, sink)), "the rest can be written");
    texts.push_back(sink.text);
  }
  return texts;
}

void requireSameTogether(const OBJDocument& document, const std::string& whole, Division by, bool keepOrder) {
  WriteOptions options;
  options.keepOrder = keepOrder;
  const std::vector<std::string> parts = partsOf(document, by, options);
  // Every part costs a read; what few parts do not show many will not.
  constexpr std::size_t kMostParts = 64;
  if (parts.empty() || parts.size() > kMostParts) return;
  std::vector<OBJDocument> documents(parts.size());
  std::vector<const OBJDocument*> list;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    // Control characters of damaged lines may weigh more in what is left.
    if (!documents[i].readBytes(parts[i], "part")) {
      require(textKindOf(parts[i]) != TextKind::text, "a part can be read");
      return;
    }
    list.push_back(&documents[i]);
  }
  StringSink sink;
  MergeReport report;
  require(static_cast<bool>(merge(list, {}, sink, &report)), "parts can be put together");
  require(report.missing + report.differing + report.welded == 0, "parts have all of it");
  require(sink.text == whole, "parts are the document again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  OBJDocument document;
  if (!document.readBytes({reinterpret_cast<const char*>(data), size}, "input")) return 0;
  const std::string whole = wholeOf(document);
  OBJDocument again;
  if (!again.readBytes(whole, "written")) return 0;
  DocumentDifference difference;
  require(static_cast<bool>(diff(document, again, difference)), "documents in memory can be compared");
  // A group whose only faces were left out by the read is not written.
  const auto empty = [](const MembershipDifference& row) { return row.faces[0] + row.faces[1] == 0; };
  require(!difference.topology && std::ranges::all_of(difference.memberships, empty) && difference.moved == 0,
          "what was written is as what was read");
  for (const Division by : {Division::group, Division::smoothing, Division::material, Division::object}) {
    requireSameTogether(document, whole, by, size % 4 == 0);
  }
  return 0;
}
