#include "smthgrp/model/FindingsLine.h"

#include <algorithm>

#include "smthgrp/common/TerminalText.h"

namespace smthgrp {
namespace {

using WavefrontOBJ::Finding;
using WavefrontOBJ::Severity;

}  // namespace

std::string findingsLine(const WavefrontOBJ::Findings& findings) {
  const std::uint64_t leftOut = findings.count(Severity::error, false);
  const std::uint64_t doubted = findings.count(Severity::warning, false);
  const auto first = std::find_if(findings.kept().begin(), findings.kept().end(), [](const Finding& finding) {
    const WavefrontOBJ::FindingRow& row = rowOf(finding.kind);
    return row.severity != Severity::note && !row.hostOnly;
  });
  if (first == findings.kept().end()) return "";
  std::string text;
  if (leftOut > 0) text = counted(leftOut, "place") + " left out, ";
  if (doubted > 0) text += (leftOut > 0 ? std::to_string(doubted) : counted(doubted, "place")) + " doubted, ";
  // A file that has gone meanwhile does not tell the line any more.
  const std::string line = first->line > 0 ? " in line " + std::to_string(first->line) : "";
  if (leftOut + doubted > 1) {
    text += "the first" + line;
  } else {
    text.erase(text.size() - (line.empty() ? 2 : 1));
    text += line;
  }
  return text + ": " + std::string(rowOf(first->kind).text);
}

}  // namespace smthgrp
