#include "smthgrp/model/FindingsLine.h"

#include <algorithm>
#include <utility>

#include "smthgrp/common/TerminalText.h"

namespace smthgrp {
namespace {

using WavefrontOBJ::Finding;
using WavefrontOBJ::FindingKind;
using WavefrontOBJ::Severity;

}  // namespace

std::string findingsLine(const WavefrontOBJ::Findings& findings) {
  const std::uint64_t missing =
      findings.count(FindingKind::libraryUnreadable) + findings.count(FindingKind::materialMissing);
  const std::pair<std::uint64_t, const char*> counts[] = {
      {findings.count(Severity::error, false) - missing, " left out, "},
      {findings.count(Severity::warning, false), " doubted, "},
      {missing, " with something missing, "}};
  const auto first = std::find_if(findings.kept().begin(), findings.kept().end(), [](const Finding& finding) {
    const WavefrontOBJ::FindingRow& row = rowOf(finding.kind);
    return row.severity != Severity::note && !row.hostOnly;
  });
  if (first == findings.kept().end()) return "";
  std::string text;
  std::uint64_t all = 0;
  for (const auto& [count, what] : counts) {
    if (count > 0) text += (all == 0 ? counted(count, "place") : std::to_string(count)) + what;
    all += count;
  }
  // A file that has gone meanwhile does not tell the line any more.
  const std::string line = first->line > 0 ? " in line " + std::to_string(first->line) : "";
  if (all > 1) {
    text += "the first" + line;
  } else {
    text.erase(text.size() - (line.empty() ? 2 : 1));
    text += line;
  }
  return text + ": " + std::string(rowOf(first->kind).text);
}

}  // namespace smthgrp
