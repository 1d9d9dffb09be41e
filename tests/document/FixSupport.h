#pragma once

#include <algorithm>
#include <map>
#include <utility>

#include "TestSupport.h"
#include "document/Fix.h"

inline WavefrontOBJ::OBJDocument documentOf(const std::string& text, const std::string& name = "model.obj") {
  WavefrontOBJ::OBJDocument document;
  EXPECT_TRUE(document.readBytes(text, name)) << text;
  return document;
}

struct Fixed {
  std::string text;
  WavefrontOBJ::FixReport report;
};

inline Fixed fixed(const WavefrontOBJ::OBJDocument& document, const WavefrontOBJ::FixOptions& options = {}) {
  Fixed result;
  WavefrontOBJ::StringSink sink;
  const WavefrontOBJ::Result done = fix(document, options, sink, result.report);
  EXPECT_TRUE(done) << done.text;
  result.text = sink.text;
  return result;
}

inline WavefrontOBJ::FixOptions with(bool objects, bool oneName) {
  WavefrontOBJ::FixOptions options;
  options.objects = objects;
  options.oneName = oneName;
  return options;
}

/// The codes of what was reported, each with its count where that is not 1.
inline std::string codesOf(const WavefrontOBJ::FixReport& report) {
  std::string codes;
  for (const WavefrontOBJ::FixRow& row : WavefrontOBJ::kFixKinds) {
    const std::uint64_t count = report.count(row.kind);
    if (count == 0) continue;
    codes +=
        (codes.empty() ? "" : " ") + std::string(row.code) + (count > 1 ? "*" + std::to_string(count) : "");
  }
  return codes;
}

using Chain = std::map<std::pair<std::int64_t, std::int64_t>, int>;

/// Adds a closed walk: each edge counts once in its direction and is taken back in the other. Pieces of a
/// face make up the face's own chain, whichever way it was cut.
template <class Corners>
void addWalk(Chain& chain, const Corners& corners) {
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const auto a = static_cast<std::int64_t>(corners[i]);
    const auto b = static_cast<std::int64_t>(corners[(i + 1) % corners.size()]);
    if (a == b) continue;
    int& sum = chain[std::minmax(a, b)];
    sum += a < b ? 1 : -1;
    if (sum == 0) chain.erase(std::minmax(a, b));
  }
}
